#include "ctl/command.h"

#include <algorithm>

namespace ia::ctl {

const std::vector<PortName> &Session::ports() {
    if (!ports_) {
        const rpcNodePortList &reply = agent().node(rpc_node_ports_1);
        Remote::expect(reply.result, "the ports");
        ports_.emplace();
        for (u_int i = 0; i < reply.list.list_len; ++i)
            ports_->push_back({reply.list.list_val[i].number, reply.list.list_val[i].name});
    }
    return *ports_;
}

bool Session::engine_is_away() try {
    return agent_ && !agent_->node(rpc_node_status_1).engine;
} catch (const Unreachable &) {
    return false;
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
    if (argument.kind == Kind::port || argument.kind == Kind::ports) {
        if (!chosen_ && is_pattern(given) && ports().size() != 1)
            throw Refused("'" + given + "' means several ports, and this is about one");
        return chosen_ ? chosen_->number : ports().front().number;
    }
    return parse_number(given).value_or(0);
}

std::vector<PortName> Call::ports() {
    const std::string given = text("port");
    if (const auto number = parse_number(given)) {
        // With several ports, the agent refuses each by itself.
        const bool one = argument("port").kind == Kind::port;
        if (one && std::ranges::find(session_.ports(), *number, &PortName::number) ==
                       session_.ports().end())
            throw Refused("there is no port " + given + "; 'pppoeiactl show ports' lists them");
        return {{*number, given}};
    }
    return find_ports(session_.ports(), given);
}

std::string Call::port_name() const {
    return chosen_ ? chosen_->name : text("port");
}

}  // namespace ia::ctl
