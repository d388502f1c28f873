// The simplest possible replacement of the worker: threads that send every datagram
// of a packet socket back unchanged.
#pragma once

#include <atomic>
#include <ctime>
#include <thread>

namespace ia::bench {

// How an echo waits for datagrams and moves them. Each waits up to 10 ms, so that
// it sees a stop request.
enum class EchoStyle {
    select_each,  // select, recv, send
    no_wait,      // recv, send; select only when nothing is there
    batched,      // recvmmsg, sendmmsg, up to 32 datagrams
};

class Echo {
public:
    Echo(const char *device, EchoStyle style);
    Echo(const Echo &) = delete;
    Echo &operator=(const Echo &) = delete;
    ~Echo();

    // While held it leaves datagrams in its socket.
    void hold() { held_ = true; }
    void release();

    clockid_t cpu_clock();

private:
    void serve(EchoStyle style);
    bool readable();
    template <class Move>
    void serve_when_readable(Move move);

    int socket_;
    std::atomic<bool> held_{false};
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace ia::bench
