// The commands of the operator's tool: one row each. Parser, help, completion
// and the manual's list all come from the table.
//
// A command answers with a JSON object and prints nothing; the object is shown
// as it is with --json and as text for people without. It throws Refused or
// Unreachable.
#pragma once

#include "programs/ctl/remote.h"
#include "programs/ctl/words.h"

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
    bool positional = false;  // also without its "--name"
    Words words = {};
    int low = 0;
    int high = 0;
};

inline constexpr std::size_t max_arguments = 6;
using Arguments = std::array<Argument, max_arguments>;

// What a command line gave, and the agent that it is about.
class Call {
public:
    Call(const Arguments &arguments, bool json) : arguments_(arguments), json_(json) {}

    void give(const std::string &name, const std::string &value) { given_[name] = value; }

    bool has(const std::string &name) const { return given_.contains(name); }
    std::string text(const std::string &name) const;
    std::uint32_t number(const std::string &name) { return number(argument(name)); }
    std::optional<std::uint32_t> maybe(const std::string &name);
    const Argument &at(std::size_t index) const { return arguments_[index]; }
    std::uint32_t number(const Argument &argument);
    bool json() const { return json_; }

    // Connects when first asked for.
    Remote &agent();

private:
    const Argument &argument(const std::string &name) const;
    std::uint32_t port_number(const std::string &given);

    const Arguments &arguments_;
    const bool json_;
    std::map<std::string, std::string> given_;
    std::optional<Remote> agent_;
};

struct Command {
    const char *path;  // "show port"
    const char *help;
    Arguments arguments;
    Json (*run)(Call &call);
    void (*print)(const Json &answer);  // null: nothing to say
};

std::span<const Command> commands();

// A group of commands, such as "show", has a line of help of its own.
struct Group {
    const char *name;
    const char *help;
};
std::span<const Group> groups();

}  // namespace ia::ctl
