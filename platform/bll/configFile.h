// The operator's settings as the management process keeps them: in force, and
// in a file.
#pragma once

#include "platform/bll/singleton.h"

#include <boost/function.hpp>
#include <cstdint>
#include <string>

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

    // Made by the management process while it serves; empty otherwise. Any
    // thread, but none that holds the framework's lock. The text is what there is
    // to show, or why it did not succeed. 0 success, 1 failure, 2 no file is
    // described.
    boost::function<int(std::string &text)> save;
    boost::function<int(std::string &text)> clear;
    boost::function<int(std::string &text)> show;  // all settings in force, as TOML
    boost::function<int(std::string &text)> diff;  // lines with "-" saved, "+" in force
    boost::function<int(status_t &status)> status;
};

#pragma GCC visibility pop
