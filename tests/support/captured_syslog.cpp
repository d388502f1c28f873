#include "tests/support/captured_syslog.h"

#include <syslog.h>
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {

constexpr std::string_view prefix = "[PPPoE]  ";
constexpr std::string_view any_time = "> Unable to set priority.";  // a worker's first words

std::mutex lock;
std::vector<ia::test::syslog_record> records;

}  // namespace

// Found before libc's when the test is linked.
extern "C" void syslog(int priority, const char *format, ...) {
    std::va_list args;
    va_start(args, format);
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, args);
    std::string text(static_cast<std::size_t>(std::max(length, 0)), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(args);
    const std::lock_guard guard(lock);
    records.push_back({priority, text});
}

namespace ia::test {

void clear_syslog() {
    const std::lock_guard guard(lock);
    records.clear();
}

std::vector<syslog_record> syslog_records() {
    const std::lock_guard guard(lock);
    return records;
}

std::vector<std::string> traces() {
    std::vector<std::string> messages;
    for (const syslog_record &record : syslog_records())
        if (record.text.starts_with(prefix) && !record.text.ends_with(any_time))
            messages.push_back(record.text.substr(prefix.size()));
    return messages;
}

bool traced(std::string_view message) {
    return std::ranges::any_of(syslog_records(), [message](const syslog_record &record) {
        return record.priority == LOG_INFO && record.text.starts_with(prefix) &&
               std::string_view(record.text).substr(prefix.size()) == message;
    });
}

}  // namespace ia::test
