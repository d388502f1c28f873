// Both IDs of a line, for an operator's query.
#include "fe/base/text.h"
#include "fe/base/trace.h"
#include "idgen/resolver.h"
#include "idgen/selection.h"
#include "pppoeia/node.h"
#include "store/bridge_list.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace ia {

namespace {

// Pretends, during its lifetime, that a frame with these values is being processed.
class AsIfInHand {
public:
    AsIfInHand(pppoeia_bridge &bridge, const FrameValues &values)
        : bridge_(bridge), in_hand_(std::exchange(bridge.frame, values)) {}
    AsIfInHand(const AsIfInHand &) = delete;
    AsIfInHand &operator=(const AsIfInHand &) = delete;
    ~AsIfInHand() { bridge_.frame = in_hand_; }

private:
    pppoeia_bridge &bridge_;
    const std::optional<FrameValues> in_hand_;
};

template <class Build>
void generate(Build build, pppoeia_bridge &bridge, std::uint32_t port, std::uint16_t vid,
              GeneratedId &out) {
    std::vector<std::uint8_t> binary;
    build(out.text, &bridge, bridge.port(port), vid, binary, ID_GEN_FRAME);
    const std::string_view text = out.text;
    out.binary = !binary.empty();
    out.size = static_cast<std::uint32_t>(out.binary ? binary.size() : text.size());
    if (out.binary)
        std::ranges::copy(binary, out.bytes);
    else
        std::ranges::copy(text, out.bytes);
}

}  // namespace

int fe_line_ids(const char *bridge, std::uint32_t port, std::uint16_t vid, std::uint16_t cvid,
                const pppoeia_mac *client, LineIdsBlock *out) try {
    trace_call(__func__, bridge, port);
    const LockedBridge found(bridge);
    if (!found) return refuse(__func__, -ENOENT);
    if (!found->port(port)) return refuse_port(__func__, port);
    *out = {};
    const AsIfInHand frame(*found,
                           {vid, is_vlan(cvid) ? std::optional(cvid) : std::nullopt, *client});
    generate(pppoeia_build_circuit_id, *found, port, vid, out->circuit_id);
    generate(pppoeia_build_remote_id, *found, port, vid, out->remote_id);
    return trace_result(__func__, 0);
} catch (const std::bad_alloc &) {
    return refuse("fe_line_ids", -ENOMEM);
}

}  // namespace ia
