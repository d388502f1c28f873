#include "platform/bll/Log.h"

#include "node/framework/log_text.h"

#include <syslog.h>
#include <cstdio>

namespace {

struct Line {
    int priority = LOG_ERR;
    std::string text;

    // The text so far; with its line end when complete.
    void record(const char *end = "") {
        if (text.empty() && !*end) return;
        syslog(priority, "%s%s", ia::node::log_text(text).c_str(), end);
        text.clear();
    }
};

thread_local Line line;

}  // namespace

std::string ia::node::log_text(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F) {
            safe += c;
        } else {
            char escape[5];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(byte));
            safe += escape;
        }
    }
    return safe;
}

Log &Log::setMsgLevel(int level) {
    line.record();
    line.priority = level == 0 ? LOG_ERR : LOG_WARNING;
    return *this;
}

Log &Log::write(std::string_view text) {
    for (std::size_t end; (end = text.find('\n')) != std::string_view::npos;
         text.remove_prefix(end + 1)) {
        line.text.append(text.substr(0, end));
        line.record("\n");
    }
    line.text.append(text);
    return *this;
}
