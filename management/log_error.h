// Writes the management process's errors to the framework's log.
#pragma once

#include "platform/bll/Log.h"

#include <string>

namespace ia {

inline void log_error(const std::string &text) {
    Log::instance().setMsgLevel(0).write("pppoeia-mgmt: ").write(text).write("\n");
}

}  // namespace ia
