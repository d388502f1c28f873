#include "ctl/usage.h"

#include "ctl/near.h"
#include "ctl/screen.h"

#include <algorithm>
#include <sstream>

namespace ia::ctl {

namespace {

bool begins_with(const std::vector<std::string> &words, const std::vector<std::string> &start) {
    return words.size() >= start.size() && std::equal(start.begin(), start.end(), words.begin());
}

// The arguments given to a command: positional values, and options by name.
struct Given {
    std::vector<std::string> values;
    std::vector<std::string> options;
    const Argument *lacks_value = nullptr;  // the last option
};

const Argument *option_named(const Command &command, const std::string &word) {
    for (const Argument &argument : command.arguments)
        if (argument.name && word == std::string("--") + argument.name) return &argument;
    return nullptr;
}

Given given_to(const Command &command, std::vector<std::string> words) {
    Given given;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (!words[i].starts_with("--")) {
            given.values.push_back(words[i]);
            continue;
        }
        const std::string name = words[i].substr(0, words[i].find('='));
        given.options.push_back(name);
        const Argument *option = option_named(command, name);
        if (!option || option->kind == Kind::flag || name != words[i]) continue;
        if (++i == words.size()) given.lacks_value = option;
    }
    return given;
}

std::string unknown_option(const Command &command, const std::string &option) {
    std::vector<std::string> known{"--json", "--help"};
    for (const Argument &argument : command.arguments)
        if (argument.name) known.push_back(std::string("--") + argument.name);
    if (std::ranges::find(known, option) != known.end()) return "";
    return "there is no option '" + printable(option) + "' here" + did_you_mean(option, known);
}

// "a, b or c".
std::string one_of(const std::vector<std::string> &words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return text;
}

std::string not_known(const std::string &word, const std::vector<std::string> &path,
                      const std::vector<std::string> &next) {
    const std::string near = did_you_mean(word, next);
    const std::string group = path.empty() ? "" : ' ' + path.front();
    return '\'' + printable(word) + "' is not known here" +
           (near.empty() ? "; 'pppoeiactl" + group + " --help' lists what is" : near);
}

std::vector<std::string> list_of(Words words) {
    std::vector<std::string> list;
    for (const Word &word : words) list.emplace_back(word.word);
    return list;
}

std::string hint_of(const Argument &argument) {
    if (argument.kind == Kind::word) return " (" + words_of(argument.words) + ')';
    return std::string(" (") + argument.help + ')';
}

// An option that was given, a value too many or too few; empty: none of these.
std::string misfit(const Command &command, const Given &given) {
    for (const std::string &option : given.options)
        if (const std::string unknown = unknown_option(command, option); !unknown.empty())
            return unknown;
    if (given.lacks_value)
        return std::string("--") + given.lacks_value->name + " takes " +
               meta_of(*given.lacks_value);
    std::size_t at = 0;
    for (const Argument &argument : command.arguments) {
        const auto named = [&](const std::string &option) {
            return option_named(command, option) == &argument;
        };
        if (!argument.name || !argument.positional || std::ranges::any_of(given.options, named))
            continue;
        if (at < given.values.size()) {
            ++at;
            continue;
        }
        if (argument.required) return meta_of(argument) + " is missing" + hint_of(argument);
    }
    return at < given.values.size() ? '\'' + printable(given.values[at]) + "' is too much" : "";
}

}  // namespace

std::string meta_of(const Argument &argument) {
    std::string text = argument.meta ? argument.meta : argument.name;
    for (char &c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string usage_of(const Command &command) {
    std::string text = command.path;
    for (const Argument &argument : command.arguments) {
        if (!argument.name) break;
        std::string one = argument.positional ? "" : std::string("--") + argument.name;
        if (argument.kind != Kind::flag) one += (one.empty() ? "" : " ") + meta_of(argument);
        text += argument.required ? ' ' + one : " [" + one + ']';
    }
    return text;
}

std::string words_of(Words words) {
    return one_of(list_of(words));
}

std::string fault_of(const Argument &argument, const std::string &value) {
    const std::string named = meta_of(argument) + " '" + printable(value) + "'";
    if (argument.kind == Kind::vlan || argument.kind == Kind::number) {
        const auto number = parse_number(value);
        const auto signed_number = static_cast<std::int32_t>(number.value_or(0));
        if (number && signed_number >= argument.low && signed_number <= argument.high) return "";
        return named + ": a number, " + std::to_string(argument.low) + " to " +
               std::to_string(argument.high);
    }
    if (argument.kind == Kind::mac && !mac_for(value))
        return named + ": not an address, such as 02:00:00:00:01:01";
    if (argument.kind == Kind::word && number_for(argument.words, value) < 0)
        return named + ": " + words_of(argument.words) +
               did_you_mean(value, list_of(argument.words));
    if (argument.kind == Kind::text && argument.high > 0 &&
        value.size() > static_cast<std::size_t>(argument.high))
        return meta_of(argument) + " has " + std::to_string(value.size()) + " bytes, at most " +
               std::to_string(argument.high);
    return "";
}

std::vector<std::string> split_path(const std::string &path) {
    std::istringstream stream(path);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) words.push_back(word);
    return words;
}

std::vector<std::string> next_words(const std::vector<std::string> &beginning) {
    std::vector<std::string> next;
    for (const Command &command : commands()) {
        const auto path = split_path(command.path);
        if (path.size() > beginning.size() && begins_with(path, beginning) &&
            std::ranges::find(next, path[beginning.size()]) == next.end())
            next.push_back(path[beginning.size()]);
    }
    return next;
}

Found find_command(const std::vector<std::string> &words) {
    Found best;
    for (const Command &command : commands()) {
        const auto path = split_path(command.path);
        if (path.size() > best.words && begins_with(words, path)) best = {&command, path.size()};
    }
    return best;
}

std::string complaint(const std::vector<std::string> &words, const std::string &fallback) {
    const auto is_global = [](const std::string &word) { return word == "--json"; };
    std::vector<std::string> judged;
    std::ranges::remove_copy_if(words, std::back_inserter(judged), is_global);
    std::vector<std::string> path;
    for (const std::string &word : judged) {
        const auto next = next_words(path);
        if (next.empty() || word.starts_with("-")) break;
        if (std::ranges::find(next, word) == next.end()) {
            const Found group = find_command(path);
            if (group.command && group.words == path.size() &&
                group.command->arguments[0].positional)
                break;  // a value
            return not_known(word, path, next);
        }
        path.push_back(word);
    }
    const Found found = find_command(judged);
    if (!found.command || found.words < path.size())
        return path.empty()
                   ? "a command is missing; 'pppoeiactl --help' lists them"
                   : one_of(next_words(path)) + " is missing behind '" + path.back() + '\'';
    judged.erase(judged.begin(), judged.begin() + static_cast<std::ptrdiff_t>(found.words));
    const std::string fault = misfit(*found.command, given_to(*found.command, judged));
    return (fault.empty() ? fallback : fault) + "; usage: " + usage_of(*found.command);
}

}  // namespace ia::ctl
