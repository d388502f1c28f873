// The server's side of the IPPC library.
#pragma once

#include "node/ippc/fd.h"
#include "node/ippc/message.h"
#include "node/ippc/server_socket.h"
#include "platform/ippc_request.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <thread>
#include <unordered_map>

namespace ia::node {

// Serves any number of callers on one thread, one request at a time, from
// construction to destruction. The server never waits for a caller that is silent,
// slow, or does not read its replies: each has at most one pending reply, and until
// it has read that its next request is not read.
//
// Callers must run as root or as this process's user.
class IppcServer {
public:
    // Called for refused callers and unreadable requests, on the server's thread.
    using Warn = std::function<void(const std::string &)>;

    // Throws std::runtime_error when the path cannot be served. `dispatch` runs on
    // the server's thread.
    IppcServer(std::string path, platform::IppcDispatch dispatch, Warn warn);

    // Returns after the current request; removes the socket file.
    ~IppcServer();

    IppcServer(const IppcServer &) = delete;
    IppcServer &operator=(const IppcServer &) = delete;

private:
    struct Client {
        Fd fd;
        Bytes pending;  // a reply that does not fit the client's socket buffer yet
    };

    void run();
    void accept_client();
    void pause_accepting();
    void resume_accepting();
    bool serve(Client &client);
    bool read_request(Client &client);
    bool send_reply(Client &client);
    void answer(std::span<const std::uint8_t> request);
    void run_function(const Message &request);
    void watch(int operation, int fd, std::uint32_t events);

    ServerSocket socket_;
    platform::IppcDispatch dispatch_;
    Warn warn_;
    Fd epoll_;
    Fd wake_;
    bool accepting_ = true;
    std::unordered_map<int, Client> clients_;
    Bytes request_;  // the current request; one byte longer than allowed, to detect overlong ones
    Bytes reply_;
    std::thread thread_;
};

}  // namespace ia::node
