// Keeps what the program under test writes to syslog. Any thread may write.
#pragma once

#include "fe/base/trace.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ia::test {

struct syslog_record {
    int priority;
    std::string text;
};

void clear_syslog();

std::vector<syslog_record> syslog_records();

// The trace messages, without their "[PPPoE]  ", and without what a worker says
// of its priority: that comes at any time.
std::vector<std::string> traces();

// Whether exactly this message was traced, and at priority 6.
bool traced(std::string_view message);

// Sets the trace's log level for as long as it lives.
class LogLevel {
public:
    explicit LogLevel(std::int32_t level) : before_(pppoeia_log_level.exchange(level)) {}
    ~LogLevel() { pppoeia_log_level = before_; }
    LogLevel(const LogLevel &) = delete;
    LogLevel &operator=(const LogLevel &) = delete;

private:
    std::int32_t before_;
};

}  // namespace ia::test
