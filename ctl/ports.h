// The ports that an operator names: by number, by name, or several by a pattern.
//
// A number always means the port of that number, even if a port has it as its name.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ia::ctl {

struct PortName {
    std::uint32_t number;
    std::string name;
};

// A whole text that is a decimal number.
std::optional<std::uint32_t> parse_number(const std::string &text);

// The ports that match a name or a shell pattern, in which "/" has no special
// meaning. Throws Refused, with the most similar name, when there is none.
std::vector<PortName> find_ports(const std::vector<PortName> &ports, const std::string &given);

// Whether `given` is a pattern.
bool is_pattern(const std::string &given);

}  // namespace ia::ctl
