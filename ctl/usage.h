// Usage lines, and explanations of wrong command lines.
#pragma once

#include "ctl/command.h"

#include <string>
#include <vector>

namespace ia::ctl {

// "PORT", "MODE": an argument's name in usage lines.
std::string meta_of(const Argument &argument);

// "set cid-mode PORT MODE".
std::string usage_of(const Command &command);

// "default, atm or custom".
std::string words_of(Words words);

// The reason why a value does not fit this argument; empty if it fits.
std::string fault_of(const Argument &argument, const std::string &value);

// Explains a wrong command line (without "--" options): unknown command, missing or
// surplus arguments. `fallback` is the parser's own message.
std::string complaint(const std::vector<std::string> &words, const std::string &fallback);

// The longest command that the words begin with, and the number of words in its
// path.
struct Found {
    const Command *command = nullptr;
    std::size_t words = 0;
};
Found find_command(const std::vector<std::string> &words);

// The words of a path, and the words that may follow them.
std::vector<std::string> split_path(const std::string &path);
std::vector<std::string> next_words(const std::vector<std::string> &beginning);

}  // namespace ia::ctl
