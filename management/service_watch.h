// Notices that a service of this machine has gone and come back.
#pragma once

#include <functional>
#include <string>
#include <thread>

namespace ia {

// Keeps a connection to the service's local socket on a thread of its own. When
// the service ends, however it ends, the connection does. The notices are given
// on that thread: the first connection, the end of one, and any later one.
class ServiceWatch {
public:
    struct Notices {
        std::function<void()> found;
        std::function<void()> lost;
        std::function<void()> returned;
    };

    // `type`: SOCK_SEQPACKET or SOCK_STREAM.
    ServiceWatch(std::string socket_path, int type, Notices notices);
    ~ServiceWatch();
    ServiceWatch(const ServiceWatch &) = delete;
    ServiceWatch &operator=(const ServiceWatch &) = delete;

    // Whether somebody serves the socket now.
    static bool is_served(const std::string &socket_path, int type);

private:
    void watch();
    static int connect(const std::string &path, int type);
    bool stop_within(int milliseconds) const;

    const std::string path_;
    const int type_;
    const Notices notices_;
    const int stop_;  // an event: readable once the thread shall end
    std::thread thread_;
};

}  // namespace ia
