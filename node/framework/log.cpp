#include "platform/bll/Log.h"

#include <syslog.h>

namespace {

struct Line {
    int priority = LOG_ERR;
    std::string text;

    // Records what is there, line end included.
    void record() {
        if (text.empty()) return;
        syslog(priority, "%s", text.c_str());
        text.clear();
    }
};

thread_local Line line;

}  // namespace

Log &Log::setMsgLevel(int level) {
    line.record();
    line.priority = level == 0 ? LOG_ERR : LOG_WARNING;
    return *this;
}

Log &Log::write(std::string_view text) {
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(end + 1)) {
        line.text.append(text.substr(0, end + 1));
        line.record();
    }
    line.text.append(text);
    return *this;
}
