// The value of one macro, for an operator who tries a format.
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/resolver.h"
#include "pppoeia/node.h"
#include "store/bridge_list.h"

#include <array>
#include <cerrno>

namespace ia {

int fe_macro_value(const char *bridge, std::uint32_t macro, std::uint32_t port, std::uint16_t vid,
                   std::uint16_t cvid, const pppoeia_mac *client, MacroValueBlock *out) {
    trace_call(__func__, bridge, port);
    const LockedBridge found(bridge);
    if (!found) return refuse(__func__, -ENOENT);
    if (!found->port(port)) return refuse_port(__func__, port);
    if (macro >= macro_count) return refuse(__func__, -EINVAL);
    *out = {};
    if (MacroSource *source = macro_rule_of(customIdFormat(macro)).source) {
        std::array<char, macro_value_max> room;
        TextWriter value(room);
        source({*found, port, vid, cvid, *client}, value);
        out->known = 1;
        copy_text(out->text, value.view());
    }
    return trace_result(__func__, 0);
}

}  // namespace ia
