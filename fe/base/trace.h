// The leveled trace of the engine and the store, written to syslog.
//
// Levels: 2 error, 3 error or notice, 4 warning, 6 information, 7 the trace of
// calls and frames. Any thread may trace; a message above the process's log
// level costs one comparison.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>

// A message of level n is written while n <= this. -1 silences everything.
inline std::atomic<std::int32_t> pppoeia_log_level{6};

// Writes "[PPPoE]  " and the message, whole however long, as one syslog record.
void pppoeia_log(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

namespace ia {

inline bool tracing() {
    return pppoeia_log_level.load(std::memory_order_relaxed) >= 7;
}

// "%s(%s, %d)" for the types of a call's arguments: texts %s, numbers %d.
template <class... Args>
constexpr auto call_format() {
    std::array<char, 5 + 4 * sizeof...(Args)> text{};
    std::size_t at = 0;
    const auto put = [&](const char *piece) {
        while (*piece) text[at++] = *piece++;
    };
    put("%s(");
    bool first = true;
    ((put(first ? "" : ", "), put(std::is_convertible_v<Args, const char *> ? "%s" : "%d"),
      first = false),
     ...);
    put(")");
    return text;
}

// Traces an operation's call.
template <class... Args>
void trace_call(const char *operation, Args... args) {
    static constexpr auto format = call_format<Args...>();
    if (tracing()) pppoeia_log(7, format.data(), operation, args...);
}

// Traces an operation's outcome and hands it on.
inline int trace_result(const char *operation, int result) {
    if (tracing()) pppoeia_log(7, "%s()=%d", operation, result);
    return result;
}

// Traces a refusal by its errno name, as in "operation()=-ENOENT", and hands
// the negative errno value on.
int refuse(const char *operation, int result);

// The same for a port id: "operation(7)=-ENODEV", -19.
int refuse_port(const char *operation, std::uint32_t port, int level = 7);

}  // namespace ia

// The per-frame trace: the arguments are not even evaluated unless level 7 is
// written.
#define IA_TRACE(...)                    \
    do {                                 \
        if (ia::tracing()) [[unlikely]]  \
            pppoeia_log(7, __VA_ARGS__); \
    } while (false)
