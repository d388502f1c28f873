// Notices that the engine's process has gone and come back.
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace ia {

// Keeps a connection to the engine's socket on a thread of its own. When the
// engine ends, however it ends, the connection does; once there is another
// engine to connect to, `returned` is called on that thread.
class EngineWatch {
public:
    EngineWatch(std::string socket_path, std::function<void()> returned);
    ~EngineWatch();
    EngineWatch(const EngineWatch &) = delete;
    EngineWatch &operator=(const EngineWatch &) = delete;

private:
    void watch();
    int connect() const;
    bool stop_within(int milliseconds) const;

    const std::string path_;
    const std::function<void()> returned_;
    const int stop_;  // an event: readable once the thread shall end
    std::thread thread_;
};

}  // namespace ia
