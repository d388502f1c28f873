// Ports as operators name them: by number, by name, or several by a pattern.
//
// A number means that port, whatever the names are, and is not looked for here.
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

// Those that a name or a pattern of the shell's kind means; a "/" is a character
// like any other. Throws Refused, with the name that comes nearest, when there is
// none.
std::vector<PortName> find_ports(const std::vector<PortName> &ports, const std::string &given);

// Whether `given` may mean several.
bool is_pattern(const std::string &given);

}  // namespace ia::ctl
