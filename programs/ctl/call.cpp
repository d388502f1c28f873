#include "programs/ctl/command.h"

#include <charconv>
#include <cstring>

namespace ia::ctl {

namespace {

std::optional<std::uint32_t> parse_number(const std::string &text) {
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stopped != end) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

}  // namespace

Remote &Call::agent() {
    if (!agent_) agent_.emplace();
    return *agent_;
}

std::string Call::text(const std::string &name) const {
    const auto found = given_.find(name);
    return found == given_.end() ? "" : found->second;
}

const Argument &Call::argument(const std::string &name) const {
    for (const Argument &argument : arguments_)
        if (argument.name && name == argument.name) return argument;
    throw std::logic_error("no such argument: " + name);
}

std::optional<std::uint32_t> Call::maybe(const std::string &name) {
    if (!has(name)) return std::nullopt;
    return number(name);
}

std::uint32_t Call::number(const Argument &argument) {
    const std::string given = text(argument.name);
    if (argument.kind == Kind::word)
        return static_cast<std::uint32_t>(number_for(argument.words, given));
    if (argument.kind == Kind::port) return port_number(given);
    return parse_number(given).value_or(0);
}

// Names are the node's; a number needs nobody to be asked.
std::uint32_t Call::port_number(const std::string &given) {
    if (const auto number = parse_number(given)) return *number;
    const rpcNodePortList &ports = agent().node(rpc_node_ports_1);
    Remote::expect(ports.result, "the ports");
    for (u_int i = 0; i < ports.list.list_len; ++i)
        if (given == ports.list.list_val[i].name) return ports.list.list_val[i].number;
    throw Refused("there is no port '" + given + "'; 'pppoeiactl show ports' lists them");
}

}  // namespace ia::ctl
