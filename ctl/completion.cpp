#include "ctl/completion.h"

#include "ctl/answers.h"
#include "ctl/usage.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace ia::ctl {

namespace {

constexpr char bash_script[] =
    "_pppoeiactl() {\n"
    "    local IFS=$'\\n'\n"
    "    COMPREPLY=($(\"${COMP_WORDS[0]}\" __complete \"${COMP_WORDS[@]:1:COMP_CWORD}\" "
    "2>/dev/null))\n"
    "}\n"
    "complete -o default -F _pppoeiactl pppoeiactl\n";

constexpr char zsh_script[] =
    "#compdef pppoeiactl\n"
    "_pppoeiactl() {\n"
    "    local -a found\n"
    "    found=(\"${(@f)$(\"${words[1]}\" __complete \"${(@)words[2,CURRENT]}\" 2>/dev/null)}\")\n"
    "    if [[ -n ${found[1]} ]]; then compadd -- \"${found[@]}\"; else _files; fi\n"
    "}\n"
    "compdef _pppoeiactl pppoeiactl\n";

// Port names and numbers, if the agent answers. Names with a colon are left out:
// shells split words there.
void add_ports(std::set<std::string> &candidates) try {
    Remote agent;
    const rpcNodePortList &ports = agent.node(rpc_node_ports_1);
    for (u_int i = 0; ports.result == 0 && i < ports.list.list_len; ++i) {
        const std::string name = ports.list.list_val[i].name;
        candidates.insert(name.find(':') == std::string::npos
                              ? name
                              : std::to_string(ports.list.list_val[i].number));
    }
} catch (const std::runtime_error &) {
    // no agent, no names
}

void add_values(const Argument &argument, std::set<std::string> &candidates) {
    for (const Word &word : argument.words) candidates.insert(word.word);
    if (argument.kind == Kind::port || argument.kind == Kind::ports) add_ports(candidates);
}

void add_arguments(const Command &command, const std::vector<std::string> &given,
                   std::set<std::string> &candidates) {
    std::size_t positional = 0;  // number of positional arguments so far
    std::set<std::string> named;
    for (std::size_t i = 0; i < given.size(); ++i) {
        if (!given[i].starts_with("--")) {
            ++positional;
            continue;
        }
        named.insert(given[i]);
        for (const Argument &argument : command.arguments) {
            if (!argument.name || given[i] != std::string("--") + argument.name) continue;
            if (argument.kind == Kind::flag) continue;
            if (i + 1 == given.size()) return add_values(argument, candidates);
            ++i;  // its value
        }
    }
    for (const Argument &argument : command.arguments) {
        if (!argument.name) break;
        const std::string option = std::string("--") + argument.name;
        if (!named.contains(option)) candidates.insert(option);
        if (argument.positional && !named.contains(option) && positional-- == 0)
            add_values(argument, candidates);
    }
    if (!named.contains("--json")) candidates.insert("--json");
}

std::string synopsis(const Command &command) {
    std::string text = std::string("\\fB") + command.path + "\\fR";
    for (const Argument &argument : command.arguments) {
        if (!argument.name) break;
        std::string one =
            argument.positional ? "" : std::string("\\fB\\-\\-") + argument.name + "\\fR";
        std::string value = argument.name;
        if (argument.kind == Kind::word) {
            value.clear();
            for (const Word &word : argument.words)
                value += (value.empty() ? "" : "|") + std::string(word.word);
        }
        if (argument.kind != Kind::flag)
            one += (one.empty() ? "" : " ") + ("\\fI" + value + "\\fR");
        text += argument.required ? " " + one : " [" + one + "]";
    }
    return text;
}

}  // namespace

int print_candidates(const std::vector<std::string> &words) {
    const std::string current = words.empty() ? "" : words.back();
    const std::vector<std::string> before(words.begin(), words.end() - (words.empty() ? 0 : 1));
    std::set<std::string> candidates;
    for (const std::string &word : next_words(before)) candidates.insert(word);
    const Found found = find_command(before);
    const std::vector<std::string> given(before.begin() + static_cast<std::ptrdiff_t>(found.words),
                                         before.end());
    if (found.command && candidates.empty()) add_arguments(*found.command, given, candidates);
    // Options are offered if the word begins with "-", or if nothing else fits.
    const bool options = current.starts_with('-') ||
                         std::ranges::all_of(candidates, [](const std::string &candidate) {
                             return candidate.starts_with('-');
                         });
    for (const std::string &candidate : candidates)
        if (candidate.starts_with(current) && (options || !candidate.starts_with('-')))
            std::puts(candidate.c_str());
    return 0;
}

int print_manual() {
    for (const Command &command : commands())
        std::printf(".TP\n%s\n%s.\n", synopsis(command).c_str(), command.help);
    return 0;
}

Json completion(Call &call) {
    return {{"text", call.text("shell") == "zsh" ? zsh_script : bash_script}};
}

}  // namespace ia::ctl
