#include "ctl/ports.h"

#include "ctl/near.h"
#include "ctl/remote.h"
#include "ctl/screen.h"

#include <fnmatch.h>
#include <algorithm>
#include <charconv>

namespace ia::ctl {

namespace {

[[noreturn]] void throw_unknown(const std::vector<PortName> &ports, const std::string &given) {
    std::vector<std::string> names;
    for (const PortName &port : ports) names.push_back(printable(port.name));
    const std::string near = did_you_mean(given, names);
    throw Refused("there is no port '" + given + '\'' +
                  (near.empty() ? "; 'pppoeiactl show ports' lists them" : near));
}

}  // namespace

std::optional<std::uint32_t> parse_number(const std::string &text) {
    std::int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stopped != end) return std::nullopt;
    if (number < INT32_MIN || number > UINT32_MAX) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

bool is_pattern(const std::string &given) {
    return given.find_first_of("*?[") != std::string::npos;
}

std::vector<PortName> find_ports(const std::vector<PortName> &ports, const std::string &given) {
    for (const PortName &port : ports)
        if (port.name == given) return {port};
    if (!is_pattern(given)) throw_unknown(ports, given);
    std::vector<PortName> found;
    std::ranges::copy_if(ports, std::back_inserter(found), [&](const PortName &port) {
        return fnmatch(given.c_str(), port.name.c_str(), 0) == 0;
    });
    if (found.empty()) throw Refused("no port has a name like '" + given + "'");
    return found;
}

}  // namespace ia::ctl
