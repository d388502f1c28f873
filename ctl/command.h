// The commands of the operator's tool, one row each. Parser, help, completion and
// the manual's list use the table.
//
// A command returns a JSON object and prints nothing. The object is printed as JSON
// with --json, otherwise as text for people. A command throws Refused or
// Unreachable.
#pragma once

#include "ctl/arguments.h"
#include "ctl/session.h"
#include "ctl/words.h"

#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>

namespace ia::ctl {

using Json = nlohmann::ordered_json;

inline constexpr std::uint16_t no_vlan = 0x0FFF;  // as the client API has it

enum class Kind : std::uint8_t {
    none,
    port,    // by number or by name
    ports,   // the same, or several by a pattern
    vlan,    // 0 to 4095
    word,    // one of a list
    number,  // within limits
    text,
    mac,
    file,
    flag,  // --name alone
};

struct Argument {
    const char *name = nullptr;
    const char *help = nullptr;
    Kind kind = Kind::none;
    bool required = false;
    bool positional = false;     // may be given without "--name"
    Words words = {};            // of a word
    int low = 0;                 // of a VLAN or number
    int high = 0;                // of a VLAN or number; bytes of a text, 0: any
    const char *meta = nullptr;  // its name in usage lines; null: the name in capitals
};

inline constexpr std::size_t max_arguments = 6;
using Arguments = std::array<Argument, max_arguments>;

// The arguments given on a command line.
class Call {
public:
    Call(Session &session, const Arguments &arguments) : session_(session), arguments_(arguments) {}

    void give(const std::string &name, const std::string &value) { given_[name] = value; }

    bool has(const std::string &name) const { return given_.contains(name); }
    std::string text(const std::string &name) const;
    std::uint32_t number(const std::string &name) { return number(argument(name)); }
    std::optional<std::uint32_t> maybe(const std::string &name);
    const Argument &at(std::size_t index) const { return arguments_[index]; }
    std::uint32_t number(const Argument &argument);

    // The ports that the argument "port" matches.
    std::vector<PortName> ports();
    // From now on, "port" means this one.
    void choose(const PortName &port) { chosen_ = port; }
    std::string port_name() const;

    bool json() const { return session_.json; }
    Session &session() { return session_; }
    Remote &agent() { return session_.agent(); }

private:
    const Argument &argument(const std::string &name) const;

    Session &session_;
    const Arguments &arguments_;
    std::map<std::string, std::string> given_;
    std::optional<PortName> chosen_;
};

struct Command {
    const char *path;  // "show port"
    const char *help;
    Arguments arguments;
    Json (*run)(Call &call);
    void (*print)(const Json &answer);
    Status (*verdict)(const Json &answer) = nullptr;  // exit status; null: always 0
};

std::span<const Command> commands();

// A group of commands, such as "show", has a line of help of its own.
struct Group {
    const char *name;
    const char *help;
};
std::span<const Group> groups();

}  // namespace ia::ctl
