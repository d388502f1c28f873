// The sockets on which this process's RPC programs are served, as services add them
// and the receive loop reads them.
#pragma once

#include "rte/BLL/core/rpcProxy.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

namespace ia {

// A transport that the RPC library made. The library keeps its programs, checks its
// credentials and writes its error replies; the receive loop reads and writes its bytes.
struct Endpoint {
    SVCXPRT *transport;
    int family;  // AF_INET, AF_UNIX
    bool stream;
};

// One in a process. Any thread.
class Registered {
public:
    Registered();

    void add(const Endpoint &endpoint);
    void remove(const SVCXPRT *transport);  // not while the receive loop runs
    std::vector<Endpoint> endpoints();

    // One that was registered before is another socket now.
    void add(const rpcProxyTransport_t &transport);
    std::vector<rpcProxyTransport_t> transports(std::size_t count, std::chrono::milliseconds limit);

    // The receive loop waits for this descriptor, too, and counts its passes.
    int wake_descriptor() const { return wake_; }
    void wake() const;
    void passed() { ++passes_; }
    bool loop_answers();

private:
    std::mutex lock_;
    std::condition_variable added_;
    std::vector<Endpoint> endpoints_;
    std::vector<rpcProxyTransport_t> transports_;

    const int wake_;  // an event; open as long as the process lives
    std::atomic<std::uint64_t> passes_ = 1;
    std::uint64_t passes_when_asked_ = 0;
    std::chrono::steady_clock::time_point asked_;
};

// Exported: both of the node's libraries hold this layer, and share one.
[[gnu::visibility("default")]] Registered &registered();

}  // namespace ia
