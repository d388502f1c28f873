// Notices that the engine's process has gone and come back.
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace ia {

// Keeps a connection to the engine's socket on a thread of its own. When the
// engine ends, however it ends, the connection does. The notices are given on
// that thread: the first connection, the end of one, and any later one.
class EngineWatch {
public:
    struct Notices {
        std::function<void()> found;
        std::function<void()> lost;
        std::function<void()> returned;
    };

    EngineWatch(std::string socket_path, Notices notices);
    ~EngineWatch();
    EngineWatch(const EngineWatch &) = delete;
    EngineWatch &operator=(const EngineWatch &) = delete;

private:
    void watch();
    int connect() const;
    bool stop_within(int milliseconds) const;

    const std::string path_;
    const Notices notices_;
    const int stop_;  // an event: readable once the thread shall end
    std::thread thread_;
};

}  // namespace ia
