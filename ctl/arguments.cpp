// Finds the row of the table for a command line, and runs it.
#include "ctl/arguments.h"

#include "ctl/batch.h"
#include "ctl/command.h"
#include "ctl/completion.h"
#include "ctl/screen.h"
#include "ctl/usage.h"
#include "pppoeia_version.h"

#include <unistd.h>
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace ia::ctl {

namespace {

using Line = std::vector<std::string>;

// The options of one command as parsed.
struct Values {
    std::map<std::string, std::string> texts;
    std::map<std::string, bool> flags;
};

// Usage lines with the arguments in the form that operators type.
class Usage : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App *app, std::string) const override {
        Line path;
        const bool more = !app->get_subcommands(nullptr).empty();
        for (; app->get_parent(); app = app->get_parent())
            path.insert(path.begin(), app->get_name());
        const Found found = find_command(path);
        std::string words;
        for (const std::string &word : path) words += ' ' + word;
        if (found.command && found.words == path.size())
            words = ' ' + usage_of(*found.command) + (more ? " [COMMAND ...]" : "");
        else
            words += " [OPTION...] COMMAND ...";
        return "Usage: pppoeiactl" + words + '\n';
    }
};

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
        added->type_name(argument.words.empty() ? meta_of(argument) : words_of(argument.words));
    }
}

// The words of a path, one subcommand each.
CLI::App *subcommand(CLI::App &app, const std::string &path) {
    CLI::App *at = &app;
    for (const std::string &word : split_path(path)) {
        const auto made =
            at->get_subcommands([&](const CLI::App *known) { return known->get_name() == word; });
        at = made.empty() ? at->add_subcommand(word) : made.front();
    }
    return at;
}

// Parses and runs a command line, or a batch of them.
class Tool {
public:
    Tool();

    int run(const Line &words);

private:
    Status run_one(const Line &words, const std::string &place);
    Status run_file();
    Status parse(const Line &words, const std::string &place);
    void answer();
    Status complain(const std::string &place, const std::string &fault, Status status) const;

    CLI::App app_{"Shows and sets the PPPoE Intermediate Agent of this node", "pppoeiactl"};
    std::vector<Values> values_{commands().size()};
    const Command *chosen_ = nullptr;
    Session session_;
    bool json_ = false;      // set by the parser, which may fail before
    bool all_json_ = false;  // for the whole batch
    std::string file_;       // of a batch
    bool keep_going_ = false;
};

Tool::Tool() {
    app_.formatter(std::make_shared<Usage>());
    app_.fallthrough();
    app_.set_version_flag("--version", std::string("pppoeiactl ") + PPPOEIA_VERSION);
    app_.add_flag("--json", json_, "Answer with JSON");
    app_.add_option("-f,--commands", file_, "Commands from a file, one a line; - is standard input")
        ->type_name("FILE");
    app_.add_flag("-k,--keep-going", keep_going_, "Go on after a command of the file that fails");
    app_.footer(
        "Exit status: 0 done, 1 refused, 2 wrong command line, 3 not reachable;\n"
        "of status: 0 good, 1 warnings, 2 critical, 3 not reachable.");
    for (const Group &group : groups()) {
        CLI::App *made = subcommand(app_, group.name);
        made->description(group.help);
        made->require_subcommand(1);
    }
    std::size_t index = 0;
    for (const Command &command : commands()) {
        CLI::App *made = subcommand(app_, command.path);
        const bool group = !made->get_description().empty();
        if (group)
            made->require_subcommand(0, 1);
        else
            made->description(command.help);
        add_arguments(*made, command, values_[index++]);
        made->callback([this, made, &command] {
            if (made->get_subcommands().empty()) chosen_ = &command;
        });
    }
}

Status Tool::complain(const std::string &place, const std::string &fault, Status status) const {
    const std::string text = place + fault;
    if (session_.json)
        std::printf("%s\n",
                    to_text({{"error", {{"status", static_cast<int>(status)}, {"text", text}}}},
                            session_.batch ? -1 : 2)
                        .c_str());
    std::fprintf(stderr, "%s: %s\n", ink(Ink::red, "pppoeiactl").c_str(),
                 wrapped(printable_lines(text), sizeof "pppoeiactl:").c_str());
    return status;
}

void Tool::answer() {
    const Values &values = values_[static_cast<std::size_t>(chosen_ - commands().data())];
    Call call(session_, chosen_->arguments);
    for (const Argument &argument : chosen_->arguments) {
        if (!argument.name) break;
        if (argument.kind == Kind::flag) {
            if (values.flags.at(argument.name)) call.give(argument.name, "1");
        } else if (const std::string &text = values.texts.at(argument.name); !text.empty()) {
            call.give(argument.name, text);
        }
    }
    const Json said = chosen_->run(call);
    if (session_.json && !said.is_null())
        std::printf("%s\n", to_text(said, session_.batch ? -1 : 2).c_str());
    else if (!session_.json)
        chosen_->print(said);
    if (std::fflush(stdout) != 0) throw Refused(std::string("output: ") + std::strerror(errno));
    if (chosen_->verdict) session_.verdict = chosen_->verdict(said);
}

// Sets the chosen command; `done` when there is one to run.
Status Tool::parse(const Line &words, const std::string &place) {
    for (Values &values : values_) {
        for (auto &[name, text] : values.texts) text.clear();
        for (auto &[name, given] : values.flags) given = false;
    }
    chosen_ = nullptr;
    session_.json = all_json_ || std::ranges::count(words, "--json") > 0;
    Line reversed(words.rbegin(), words.rend());
    try {
        app_.parse(std::move(reversed));
    } catch (const CLI::ParseError &error) {
        if (error.get_exit_code() == 0) throw;  // --help, --version
        return complain(place, complaint(words, error.what()), usage);
    }
    if (!chosen_) return done;
    const Values &values = values_[static_cast<std::size_t>(chosen_ - commands().data())];
    for (const Argument &argument : chosen_->arguments) {
        if (!argument.name || argument.kind == Kind::flag) continue;
        const std::string &text = values.texts.at(argument.name);
        const std::string fault = text.empty() ? "" : fault_of(argument, text);
        if (!fault.empty()) return complain(place, fault, usage);
    }
    return done;
}

Status Tool::run_one(const Line &words, const std::string &place) try {
    if (const Status status = parse(words, place); status != done) return status;
    if (session_.batch && (!chosen_ || !file_.empty()))
        return complain(place, "one command a line", usage);
    if (!chosen_) return complain(place, complaint(words, "a command is missing"), usage);
    session_.verdict = done;
    answer();
    return session_.verdict;
} catch (const Unreachable &error) {
    return complain(place, error.what(), unreachable);
} catch (const Failed &error) {
    if (!session_.engine_is_away()) return complain(place, error.what(), refused);
    return complain(place, "the engine does not answer, nothing was done: is pppoeia-fe running?",
                    unreachable);
} catch (const CLI::Success &error) {
    app_.exit(error);
    return done;
} catch (const std::exception &error) {
    return complain(place, error.what(), refused);
}

Status Tool::run_file() {
    const std::string file = std::exchange(file_, "");
    std::ifstream opened;
    if (file != "-") {
        opened.open(file);
        if (!opened) return complain("", file + ": " + std::strerror(errno), refused);
    }
    session_.batch = true;
    all_json_ = session_.json;
    const bool keep_going = keep_going_;
    const auto run = [this](const Line &words, const std::string &place) {
        return run_one(words, place);
    };
    const auto complain_at = [this](const std::string &place, const std::string &fault) {
        complain(place, fault, usage);
    };
    return run_batch(file == "-" ? std::cin : opened,
                     {file == "-" ? "standard input" : file, keep_going, run, complain_at});
}

// Without a command there may be a file of commands; the parser knows.
int Tool::run(const Line &words) {
    try {
        if (const Status status = parse(words, ""); status != done) return status;
    } catch (const CLI::Success &error) {
        return app_.exit(error);
    }
    if (file_.empty()) return run_one(words, "");
    if (chosen_) return complain("", "either a command or a file of commands", usage);
    return run_file();
}

}  // namespace

int run(int argc, char **argv) {
    if (argc > 1 && argv[1] == complete_word) return print_candidates({argv + 2, argv + argc});
    if (argc > 1 && argv[1] == manual_word) return print_manual();
    return Tool().run({argv + 1, argv + argc});
}

}  // namespace ia::ctl
