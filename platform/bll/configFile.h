// The management process as operators ask it: the settings that it keeps, the
// node description, and how the node is.
#pragma once

#include "platform/bll/singleton.h"

#include <boost/function.hpp>
#include <cstdint>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

class configFile : public singleton<configFile> {
public:
    struct status_t {
        std::string file;  // empty: settings are saved nowhere
        bool autoSave = false;
        bool unsaved = false;        // what is in force is not what is saved
        std::uint32_t waiting = 0;   // settings of ports and VLANs that are not there
        std::uint32_t restores = 0;  // of the engine, since the process started
        std::string problem;         // of the file or the last save; empty: none
    };

    struct finding_t {
        enum severity_t { note = 0, warning = 1, critical = 2 };
        severity_t severity;
        std::string code;     // the same from release to release
        std::string subject;  // "bridge br0", "port 3"
        std::string text;     // what is wrong
        std::string remedy;   // what to do

        bool operator==(const finding_t &) const = default;
    };

    // Made by the management process while it serves; empty otherwise. Any
    // thread, but none that holds the framework's lock. The text is what there is
    // to show, or why it did not succeed. 0 success, 1 failure, 2 no file is
    // described.
    boost::function<int(std::string &text)> save;
    boost::function<int(std::string &text)> clear;
    boost::function<int(std::string &text)> show;  // all settings in force, as TOML
    boost::function<int(std::string &text)> described;  // what they would be without operators
    boost::function<int(std::string &text)> diff;  // lines with "-" saved, "+" in force
    boost::function<int(status_t &status)> status;

    // Reads the node description again and applies what differs; a dry run only
    // says what would be. 0: the text says what changes, a line each; 1: what is
    // wrong, and nothing is changed.
    boost::function<int(bool dryRun, std::string &text)> reload;
    // What is not as it should be, the worst first.
    boost::function<int(std::vector<finding_t> &findings)> health;
};

#pragma GCC visibility pop
