#include "fe/base/trace.h"

#include <syslog.h>
#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr int highest_priority = LOG_INFO;  // debug lines appear as information

void write_record(int level, const char *message) {
    syslog(std::min(level, highest_priority), "%s %s", "[PPPoE] ", message);
}

const char *errno_name(int result) {
    switch (-result) {
        case EPERM: return "EPERM";
        case ENOENT: return "ENOENT";
        case ENXIO: return "ENXIO";
        case ENOMEM: return "ENOMEM";
        case ENODEV: return "ENODEV";
        case EINVAL: return "EINVAL";
        case ENOSPC: return "ENOSPC";
        default: return "errno";
    }
}

}  // namespace

void pppoeia_log(int level, const char *format, ...) {
    if (level > pppoeia_log_level.load(std::memory_order_relaxed)) return;

    char text[1000];
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    if (length < static_cast<int>(sizeof text)) {
        if (length >= 0) write_record(level, text);
        return;
    }

    const std::size_t size = static_cast<std::size_t>(length) + 1;
    const std::unique_ptr<char, decltype(&std::free)> longer{static_cast<char *>(std::malloc(size)),
                                                             &std::free};
    if (!longer) return;
    va_start(args, format);
    std::vsnprintf(longer.get(), size, format, args);
    va_end(args);
    write_record(level, longer.get());
}

namespace ia {

int refuse(const char *operation, int result) {
    if (tracing()) pppoeia_log(7, "%s()=-%s", operation, errno_name(result));
    return result;
}

int refuse_port(const char *operation, std::uint32_t port, int level) {
    pppoeia_log(level, "%s(%d)=-ENODEV", operation, static_cast<int>(port));
    return -ENODEV;
}

}  // namespace ia
