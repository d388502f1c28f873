// The operators' interface to the management process: the saved settings, the node
// description, and the node's health.
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
        bool unsaved = false;        // settings in force differ from the saved ones
        std::uint32_t waiting = 0;   // settings of ports and VLANs that do not exist yet
        std::uint32_t restores = 0;  // of the engine, since the process started
        std::string problem;         // of the file or the last save; empty: no problem
    };

    struct finding_t {
        enum severity_t { note = 0, warning = 1, critical = 2 };
        severity_t severity;
        std::string code;     // stable across releases
        std::string subject;  // "bridge br0", "port 3"
        std::string text;     // what is wrong
        std::string remedy;   // what to do

        bool operator==(const finding_t &) const = default;
    };

    // The management process sets these while it serves; otherwise they are empty.
    // Any thread may call them, except one that holds the framework's lock. The
    // text is the answer, or the reason of a failure. They return 0 on success, 1
    // on failure, 2 when the description names no file.
    boost::function<int(std::string &text)> save;
    boost::function<int(std::string &text)> clear;
    boost::function<int(std::string &text)> show;       // all settings in force, as TOML
    boost::function<int(std::string &text)> described;  // what they would be without operators
    boost::function<int(std::string &text)> diff;       // lines with "-" saved, "+" in force
    boost::function<int(status_t &status)> status;

    // Reads the node description again and applies the differences; a dry run only
    // reports them. 0: the text lists the changes, one a line. 1: the text says
    // what is wrong, and nothing has changed.
    boost::function<int(bool dry_run, std::string &text)> reload;
    // The node's findings, the most severe first.
    boost::function<int(std::vector<finding_t> &findings)> health;
};

#pragma GCC visibility pop
