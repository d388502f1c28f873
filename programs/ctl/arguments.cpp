// From a command line to its row of the table, and from there to an answer.
#include "programs/ctl/arguments.h"

#include "programs/ctl/command.h"
#include "programs/ctl/completion.h"
#include "programs/ctl/screen.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace ia::ctl {

namespace {

// What the options of one command wrote.
struct Values {
    std::map<std::string, std::string> texts;
    std::map<std::string, bool> flags;
};

std::string mac_fault(const std::string &text) {
    return mac_for(text) ? "" : "not an address, such as 02:00:00:00:01:01";
}

void check(CLI::Option *option, const Argument &argument) {
    if (argument.kind == Kind::vlan || argument.kind == Kind::number)
        option->check(CLI::Range(argument.low, argument.high));
    if (argument.kind == Kind::mac) option->check(mac_fault, "MAC");
    if (argument.kind == Kind::word) {
        std::vector<std::string> words;
        for (const Word &word : argument.words) words.emplace_back(word.word);
        option->check(CLI::IsMember(words));
    }
}

void add_arguments(CLI::App &app, const Command &command, Values &values) {
    for (const Argument &argument : command.arguments) {
        if (!argument.name) return;
        const std::string option = std::string("--") + argument.name;
        if (argument.kind == Kind::flag) {
            app.add_flag(option, values.flags[argument.name], argument.help);
            continue;
        }
        const std::string names = argument.positional ? argument.name + (',' + option) : option;
        CLI::Option *added = app.add_option(names, values.texts[argument.name], argument.help);
        if (argument.required) added->required();
        check(added, argument);
    }
}

// The words of a path, one subcommand each.
CLI::App *subcommand(CLI::App &app, const std::string &path) {
    CLI::App *at = &app;
    std::istringstream words(path);
    for (std::string word; words >> word;) {
        const auto made =
            at->get_subcommands([&](const CLI::App *known) { return known->get_name() == word; });
        at = made.empty() ? at->add_subcommand(word) : made.front();
    }
    return at;
}

void answer(const Command &command, const Values &values, bool json) {
    Call call(command.arguments, json);
    for (const auto &[name, text] : values.texts)
        if (!text.empty()) call.give(name, text);
    for (const auto &[name, given] : values.flags)
        if (given) call.give(name, "1");
    const Json said = command.run(call);
    if (json && !said.is_null())
        std::printf("%s\n", to_text(said, 2).c_str());
    else if (!json)
        command.print(said);
    if (std::fflush(stdout) != 0) throw Refused(std::string("output: ") + std::strerror(errno));
}

Status complain(const std::exception &error, Status status, bool json) {
    if (json)
        std::printf(
            "%s\n",
            to_text({{"error", {{"status", static_cast<int>(status)}, {"text", error.what()}}}}, 2)
                .c_str());
    std::fprintf(stderr, "%s: %s\n", ink(Ink::red, "pppoeiactl").c_str(),
                 wrapped(error.what(), sizeof "pppoeiactl:").c_str());
    return status;
}

std::runtime_error wrong_line(const CLI::App &app, const CLI::ParseError &error) {
    const auto unknown = app.remaining(true);
    const std::string what =
        unknown.empty() ? error.what() : '\'' + unknown.front() + "' is not known here";
    return std::runtime_error(what + "; --help says more");
}

}  // namespace

int run(int argc, char **argv) {
    if (argc > 1 && argv[1] == complete_word) return print_candidates({argv + 2, argv + argc});
    if (argc > 1 && argv[1] == manual_word) return print_manual();
    CLI::App app("Shows and sets the PPPoE Intermediate Agent of this node", "pppoeiactl");
    bool json = false;
    app.fallthrough();
    app.require_subcommand(1);
    app.add_flag("--json", json, "Answer with JSON");
    app.footer("Exit status: 0 done, 1 refused, 2 wrong command line, 3 not reachable.");
    std::vector<Values> values(commands().size());
    const Command *chosen = nullptr;
    std::size_t index = 0;
    for (const Group &group : groups()) {
        CLI::App *made = subcommand(app, group.name);
        made->description(group.help);
        made->require_subcommand(1);
    }
    for (const Command &command : commands()) {
        CLI::App *made = subcommand(app, command.path);
        const bool group = !made->get_description().empty();
        if (group)
            made->require_subcommand(0, 1);
        else
            made->description(command.help);
        Values &own = values[index++];
        add_arguments(*made, command, own);
        made->callback([&chosen, made, &command] {
            if (made->get_subcommands().empty()) chosen = &command;
        });
    }
    try {
        app.parse(argc, argv);
        const auto row = static_cast<std::size_t>(chosen - commands().data());
        answer(*chosen, values[row], json);
        return done;
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) return static_cast<Status>(app.exit(error));  // --help
        // The parser gave up before it set `json`.
        return complain(wrong_line(app, error), usage,
                        std::count(argv, argv + argc, std::string_view("--json")));
    } catch (const Unreachable &error) {
        return complain(error, unreachable, json);
    } catch (const std::exception &error) {
        return complain(error, refused, json);
    }
}

}  // namespace ia::ctl
