// The two patterns of the entity's operations: a change under the framework's
// exclusive lock, a query under the shared lock. A call's result 0 becomes 0; any
// other result, and a lock that could not be taken, becomes 1.
#pragma once

#include "platform/bll/BLLManager.h"
#include "platform/bll/Log.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

namespace ia {

enum EntityResult { succeeded = 0, failed = 1, not_applicable = 2 };

inline constexpr int log_error = 0;
inline constexpr int log_warning = 1;

// Writes one line to the framework's log.
template <class... Pieces>
void log_line(int level, const Pieces &...pieces) {
    Log &log = Log::instance().setMsgLevel(level);
    (log.write(pieces), ...);
}

inline int entity_result(int call_result) {
    return call_result == 0 ? succeeded : failed;
}

// Runs `work`, which returns an entity result, under the lock.
template <class Lock, class Work>
int under(Work work) {
    const Lock lock;
    return lock.owns_lock() ? work() : failed;
}

template <class Work>
int exclusively(Work work) {
    return under<BLLManager::exclusiveLock_t>(work);
}

template <class Work>
int shared(Work work) {
    return under<BLLManager::sharedLock_t>(work);
}

// A change made by one call.
template <class Call, class... Args>
int change(Call call, Args... args) {
    return exclusively([&] { return entity_result(call(args...)); });
}

// A query that returns a number, converted to the requested type; a flag is true
// for any number but 0. The output is written on success only.
template <class Stored = std::uint32_t, class Out, class Call, class... Keys>
int read_number(Out &out, Call call, Keys... keys) {
    return shared([&] {
        Stored stored{};
        if (call(keys..., &stored) != 0) return failed;
        if constexpr (std::is_same_v<Out, bool>)
            out = stored != 0;
        else
            out = static_cast<Out>(stored);
        return succeeded;
    });
}

// A query that returns a text of less than Size characters.
template <std::size_t Size, class Call, class... Keys>
int read_text(std::string &out, Call call, Keys... keys) {
    return shared([&] {
        char text[Size] = {};
        if (call(keys..., text) != 0) return failed;
        out = text;
        return succeeded;
    });
}

}  // namespace ia
