#include "idgen/resolver.h"

#include "diag/test_data.h"
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/debug.h"

#include <array>

namespace ia {

subscriber subscriber_of(const pppoeia_bridge &bridge, std::uint32_t port, std::uint16_t vid,
                         std::uint16_t cvid, idGenType gen_type) {
    if (gen_type == ID_GEN_FRAME)
        return {bridge, port, vid, cvid,
                bridge.frame ? std::optional(bridge.frame->client) : std::nullopt};
    const customFormatTestData_t made_up = test_data();
    if (gen_type == ID_GEN_TEST)
        return {bridge, made_up.intfId, made_up.vlan, made_up.cvid, made_up.clntMac};
    return {bridge, port, vid, made_up.cvid, made_up.clntMac};
}

}  // namespace ia

bool getMacroStringValue(const pppoeia_bridge *bridge, customIdFormat type, std::string &value,
                         unsigned intf_id, idGenType gen_type, unsigned short vid,
                         unsigned short cvid) {
    value.clear();
    ia::MacroSource *source = ia::macro_rule_of(type).source;
    if (!source) {
        IA_TRACE("<%s> >> Unknown macro: %d.\n", bridge->name, type);
        return false;
    }
    std::array<char, ia::macro_value_max> room;
    ia::TextWriter text(room);
    source(ia::subscriber_of(*bridge, intf_id, vid, cvid, gen_type), text);
    value = text.view();
    IA_ID_DEBUG("macro %s is '%s'", macroFormatTypeToString(type).c_str(), value.c_str());
    return true;
}
