// Command lines as they should be, and why one is not.
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

// Why a value cannot be this argument's; empty when it can.
std::string fault_of(const Argument &argument, const std::string &value);

// A command line without its "--" options, judged: the words that no command
// begins with, what is missing, what is too much. `fallback` is the parser's own
// complaint.
std::string complaint(const std::vector<std::string> &words, const std::string &fallback);

// The command that the words begin with, the longest one, and how many of the
// words are its path.
struct Found {
    const Command *command = nullptr;
    std::size_t words = 0;
};
Found find_command(const std::vector<std::string> &words);

// The words of a path, and those that may follow such a beginning.
std::vector<std::string> split_path(const std::string &path);
std::vector<std::string> next_words(const std::vector<std::string> &beginning);

}  // namespace ia::ctl
