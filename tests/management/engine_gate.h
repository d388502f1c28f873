// A gate between the management process and its engine, at the engine's path: a test
// has it lose a call, an answer, or the engine.
#pragma once

#include "tests/support/raw_socket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <atomic>
#include <list>
#include <thread>
#include <vector>

namespace ia::test {

class EngineGate {
public:
    enum class Fault : std::uint8_t { none, answer_lost, engine_lost };

    EngineGate(std::string path, std::string engine)
        : path_(std::move(path)), engine_(std::move(engine)) {}
    ~EngineGate() { close_gate(); }
    EngineGate(const EngineGate &) = delete;
    EngineGate &operator=(const EngineGate &) = delete;

    void open_gate() {
        close_gate();
        unlink(path_.c_str());
        listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
        const sockaddr_un address = unix_address(path_);
        if (bind(listener_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
            listen(listener_, 8) != 0)
            throw std::runtime_error("cannot listen at " + path_);
        stop_ = eventfd(0, EFD_CLOEXEC);
        thread_ = std::thread([this] { run(); });
    }
    void close_gate() {
        if (!thread_.joinable()) return;
        eventfd_write(stop_, 1);
        thread_.join();
        close(stop_);
    }

    // What befalls the next call with this id, counted from the table of operations.
    void fault(Fault what, std::uint32_t id) {
        id_ = id;
        fault_ = what;
    }
    // Whether it has befallen one.
    bool struck() const { return fault_ == Fault::none; }

private:
    struct Line {
        RawSocket engine;
        int caller;
    };

    void run() {
        std::list<Line> lines;
        for (bool open = true; open;) {
            std::vector<pollfd> waits{{stop_, POLLIN, 0}, {listener_, POLLIN, 0}};
            for (const Line &line : lines) waits.push_back({line.caller, POLLIN, 0});
            poll(waits.data(), waits.size(), -1);
            open = waits[0].revents == 0;
            auto line = lines.begin();
            for (std::size_t i = 2; open && i < waits.size(); ++i) {
                const auto served = line++;
                if (waits[i].revents == 0 || pass(*served, open) || !open) continue;
                close(served->caller);
                lines.erase(served);
            }
            if (open && waits[1].revents != 0)
                lines.push_back({RawSocket(engine_), accept(listener_, nullptr, nullptr)});
        }
        close(listener_);  // then the watch's, which came first, then the calls'
        for (const Line &line : lines) close(line.caller);
    }

    // Passes one call on, and its answer back. False: the caller's line ends.
    bool pass(const Line &line, bool &open) {
        Bytes call(70000);
        const ssize_t size = recv(line.caller, call.data(), call.size(), 0);
        if (size < 8) return false;
        call.resize(static_cast<std::size_t>(size));
        const std::uint32_t id = call[4] | std::uint32_t(call[5]) << 8U;
        const Fault now = id == id_ ? fault_.exchange(Fault::none) : Fault::none;
        if (now == Fault::engine_lost) return open = false;
        const Bytes answer = line.engine.exchange(call);
        if (now == Fault::answer_lost) return false;
        return send(line.caller, answer.data(), answer.size(), MSG_NOSIGNAL) > 0;
    }

    const std::string path_;
    const std::string engine_;
    int listener_ = -1;
    int stop_ = -1;
    std::atomic<std::uint32_t> id_{0};
    std::atomic<Fault> fault_{Fault::none};
    std::thread thread_;
};

}  // namespace ia::test
