// The sockets of this process's RPC programs: services add them, the receive loop
// reads them.
#pragma once

#include "rte/BLL/core/rpcProxy.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace ia {

// A transport made by the RPC library. The library finds the program, checks
// credentials and encodes error replies; the receive loop reads and writes the
// bytes.
struct Endpoint {
    SVCXPRT *transport;
    int family;  // AF_INET, AF_UNIX
    bool stream;
};

// One per process. Any thread.
class Registered {
public:
    Registered();

    void add(const Endpoint &endpoint);
    void remove(const SVCXPRT *transport);  // not while the receive loop runs
    std::vector<Endpoint> endpoints();

    // Replaces the entry of the same program, version and protocol.
    void add(const rpcProxyTransport_t &transport);
    std::vector<rpcProxyTransport_t> transports(std::size_t count, std::chrono::milliseconds limit);

    // The receive loop also waits for this descriptor, and counts its passes.
    int wake_descriptor() const { return wake_; }
    void wake() const;
    void passed() { ++passes_; }
    bool loop_answers();

private:
    std::mutex lock_;
    std::condition_variable added_;
    std::vector<Endpoint> endpoints_;
    std::vector<rpcProxyTransport_t> transports_;

    const int wake_;  // an eventfd, open while the process lives
    std::atomic<std::uint64_t> passes_ = 1;
    std::uint64_t passes_when_asked_ = 0;
    std::chrono::steady_clock::time_point asked_;
};

// Exported: both of the node's libraries contain this layer and share the one
// object.
[[gnu::visibility("default")]] Registered &registered();

}  // namespace ia
