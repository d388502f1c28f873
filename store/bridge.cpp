#include "store/bridge.h"

#include "platform/ncfm.h"

#include <net/if.h>
#include <algorithm>
#include <cstring>
#include <string>

namespace {

// Copies what fits, terminated. `size` counts the terminator.
void copy_cut(char *to, std::size_t size, std::string_view text) {
    const std::size_t length = std::min(text.size(), size - 1);
    std::memcpy(to, text.data(), length);
    to[length] = '\0';
}

std::uint32_t this_board() {
    std::uint8_t position = 0;
    return ncfmGetMyBoardPos(&position) == 0 ? position : 0;
}

}  // namespace

pppoeia_bridge::pppoeia_bridge(std::string_view bridge_name, std::uint32_t num_ports)
    : board_pos(this_board()), port_limit(num_ports), ports(num_ports) {
    copy_cut(name, sizeof name, bridge_name);
    copy_cut(pseudo_dev, IFNAMSIZ, std::string(name) + "_pppoe");
}

pppoeia_port *pppoeia_bridge::port(std::uint32_t id) {
    if (id == 0 || id >= port_limit || !ports[id - 1].present()) return nullptr;
    return &ports[id - 1];
}

const pppoeia_port *pppoeia_bridge::port(std::uint32_t id) const {
    return const_cast<pppoeia_bridge *>(this)->port(id);
}
