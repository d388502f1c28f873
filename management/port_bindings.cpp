#include "management/port_bindings.h"

#include "pppoeia/node.h"

namespace ia {

void PortBindings::forget() {
    board_.reset();
    bridges_.clear();
    ports_.clear();
}

bool PortBindings::tell(const node::Description &description, bool bridges_are_held) {
    bool told = true;
    if (const Board board{description.board, description.management_device}; board_ != board) {
        told = describe_board(board.first, board.second.c_str()) == 0;
        if (told) board_ = board;
    }
    for (const node::Bridge &bridge : description.bridges) {
        const Bridge wanted{bridge.device, bridge.stag_ethertype, bridge.max_pdu};
        if (const auto known = bridges_.find(bridge.name);
            known != bridges_.end() && known->second == wanted)
            continue;
        if (describe_bridge(bridge.name.c_str(), bridge.device.c_str(), bridge.stag_ethertype,
                            bridge.max_pdu) == 0)
            bridges_[bridge.name] = wanted;
        else
            told = false;
    }

    std::map<Port, Binding> wanted;
    for (const node::Interface &port : description.interfaces)
        if (!port.device.empty() && node::facts_of(port.type).stands_in_bridge)
            wanted[{port.bridge, port.id}] = {port.device, node::facts_of(port.type).faces_network
                                                               ? side_network
                                                               : side_subscriber};
    // Two ports that exchange devices are both unbound before either is bound.
    for (const auto &[port, binding] : wanted)
        if (const auto known = ports_.find(port);
            !bridges_are_held && (known == ports_.end() || known->second != binding))
            told = hold_frames(port.first.c_str(), port.second) == 0 && told;
    std::erase_if(ports_, [&](const auto &known) {
        const auto stays = wanted.find(known.first);
        if (stays != wanted.end() && stays->second == known.second) return false;
        const bool ended = unbind_port(known.first.first.c_str(), known.first.second) == 0;
        told = told && ended;
        return ended;
    });
    for (const auto &[port, binding] : wanted) {
        if (ports_.contains(port)) continue;
        if (bind_port(port.first.c_str(), port.second, binding.first.c_str(), binding.second) == 0)
            ports_[port] = binding;
        else
            told = false;
    }
    return told;
}

bool PortBindings::end_others(const node::Description &description) {
    bool told = true;
    std::erase_if(bridges_, [&](const auto &known) {
        for (const node::Bridge &bridge : description.bridges)
            if (bridge.name == known.first) return false;
        const bool ended = describe_bridge(known.first.c_str(), "", 0, 0) == 0;
        told = told && ended;
        return ended;
    });
    return told;
}

}  // namespace ia
