// Sends the frames of a plan at the rate at which they come out again, and compares
// every byte of the output.
//
//   frame_fire PLAN frames|seconds NUMBER [RATE]
//
// With RATE it sends that many frames a second, and tolerates losses.
//
// The plan has one entry a line; peers and frames are numbered from 0 in their
// order:
//   peer NAMESPACE DEVICE      where frames are sent and received, "-" for the own namespace
//   mute NAMESPACE DEVICE      a peer that only sends
//   frame PEER HEX             sent there
//   out PEER HEX               and what of the last frame has to arrive there
// A frame is recognised by its number in the last two bytes of the address
// 02:FE:00:00:nn:nn, its source or the destination of an answer to it.
//
// Prints "sent FRAME COUNT", "out FRAME PEER COUNT", "seconds S" and errors; exits
// with 1 after an error. The number of frames under way is limited.
#include "peer_socket.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace {

using namespace ia::lab;
using Clock = std::chrono::steady_clock;

constexpr std::size_t window = 512;  // a processor's queue in the kernel holds 1000
constexpr auto patience = std::chrono::seconds(3);

struct Expected {
    std::size_t peer = 0;
    Bytes bytes;
    std::uint64_t count = 0;
};

struct Frame {
    std::size_t peer = 0;
    Bytes bytes;
    std::vector<Expected> outs;
    std::uint64_t sent = 0;
};

struct Plan {
    std::vector<PeerSocket> peers;
    std::vector<Frame> frames;
};

Plan read_plan(const char *path) {
    std::ifstream file(path);
    Plan plan;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string what, where, rest;
        words >> what >> where >> rest;
        if (what == "peer" || what == "mute") plan.peers.emplace_back(where, rest, what == "peer");
        if (what == "frame") plan.frames.push_back({std::stoul(where), from_hex(rest), {}, 0});
        if (what == "out")
            plan.frames.back().outs.push_back({std::stoul(where), from_hex(rest), 0});
    }
    if (plan.frames.empty()) throw std::runtime_error(std::string(path) + ": no frames");
    return plan;
}

class Fire {
public:
    explicit Fire(Plan plan) : plan_(std::move(plan)), order_(plan_.peers.size()) {
        for (std::size_t i = 0; i < plan_.frames.size(); ++i)
            order_[plan_.frames[i].peer].push_back(i);
    }

    // Receives one copy of each frame, a peer's in any order, up to the limit.
    void send_round(std::uint64_t most) {
        for (std::size_t peer = 0; peer < order_.size(); ++peer) {
            std::vector<View> views;
            std::shuffle(order_[peer].begin(), order_[peer].end(), random_);
            for (const std::size_t number : order_[peer]) {
                if (total_ == most) break;
                Frame &frame = plan_.frames[number];
                views.emplace_back(frame.bytes);
                under_way_ += frame.outs.size();
                ++frame.sent;
                ++total_;
            }
            plan_.peers[peer].send(views);
        }
    }

    // Receives frames until that time.
    void receive_until(Clock::time_point end) {
        for (take_all(); Clock::now() < end; take_all()) wait_for_any(plan_.peers, 1);
    }

    // Waits until no more than `limit` frames are outstanding.
    void receive(std::uint64_t limit) {
        Clock::time_point last = Clock::now();
        while (under_way_ > limit) {
            if (take_all()) {
                last = Clock::now();
            } else if (!wait_for_any(plan_.peers, 100) && Clock::now() - last > patience) {
                throw std::runtime_error(std::to_string(under_way_) + " frames did not come out");
            }
        }
    }

    std::uint64_t total() const { return total_; }

    void report(double seconds) {
        take_all();  // surplus frames
        for (std::size_t i = 0; i < plan_.frames.size(); ++i) {
            const Frame &frame = plan_.frames[i];
            std::printf("sent %zu %ju\n", i, static_cast<std::uintmax_t>(frame.sent));
            for (const Expected &out : frame.outs)
                std::printf("out %zu %zu %ju\n", i, out.peer,
                            static_cast<std::uintmax_t>(out.count));
        }
        std::printf("seconds %.3f\n", seconds);
        for (std::size_t peer = 0; peer < plan_.peers.size(); ++peer)
            if (const auto lost = plan_.peers[peer].lost())
                std::printf("wrong the socket of peer %zu lost %u frames\n", peer, lost);
        if (wrong_ != 0)
            std::printf("wrong %ju frames were not expected; the first, at peer %zu: %s\n",
                        static_cast<std::uintmax_t>(wrong_), wrong_peer_, first_wrong_.c_str());
    }

    bool clean() const { return wrong_ == 0 && under_way_ == 0; }
    bool nothing_wrong() const { return wrong_ == 0; }

private:
    bool take_all() {
        bool some = false;
        for (std::size_t peer = 0; peer < plan_.peers.size(); ++peer) {
            PeerSocket &socket = plan_.peers[peer];
            while (const std::size_t count = socket.receive()) {
                for (std::size_t i = 0; i < count; ++i) take(peer, socket.frame(i));
                some = true;
            }
        }
        return some;
    }

    void take(std::size_t peer, View bytes) {
        const auto number = number_of(bytes);
        if (number < plan_.frames.size())
            for (Expected &out : plan_.frames[number].outs) {
                if (out.peer != peer || out.count == plan_.frames[number].sent ||
                    !std::ranges::equal(out.bytes, bytes))
                    continue;
                ++out.count;
                --under_way_;
                return;
            }
        if (wrong_++ != 0) return;
        wrong_peer_ = peer;
        for (const std::uint8_t byte : bytes) {
            char text[3];
            std::snprintf(text, sizeof text, "%02x", byte);
            first_wrong_ += text;
        }
    }

    static std::size_t number_of(View bytes) {
        static constexpr std::uint8_t ours[] = {0x02, 0xFE, 0x00, 0x00};
        for (const std::size_t at : {6U, 0U})  // source, destination
            if (bytes.size() >= 12 && std::memcmp(&bytes[at], ours, sizeof ours) == 0)
                return static_cast<std::size_t>(bytes[at + 4] << 8 | bytes[at + 5]);
        return SIZE_MAX;
    }

    Plan plan_;
    std::vector<std::vector<std::size_t>> order_;  // of each peer's frames
    std::mt19937 random_{1};
    std::uint64_t total_ = 0;
    std::uint64_t under_way_ = 0;
    std::uint64_t wrong_ = 0;
    std::size_t wrong_peer_ = 0;
    std::string first_wrong_;
};

int run_at_rate(const char *path, std::uint64_t seconds, std::uint64_t rate) {
    Fire fire(read_plan(path));
    const Clock::time_point begin = Clock::now();
    while (fire.total() < seconds * rate) {
        fire.send_round(seconds * rate);
        fire.receive_until(begin + std::chrono::microseconds(fire.total() * 1000000 / rate));
    }
    const std::chrono::duration<double> took = Clock::now() - begin;
    fire.receive_until(Clock::now() + std::chrono::milliseconds(500));
    fire.report(took.count());
    return !fire.nothing_wrong();
}

int run(const char *path, const std::string &unit, std::uint64_t number) {
    Fire fire(read_plan(path));
    const Clock::time_point begin = Clock::now();
    const auto seconds = [&] {
        return std::chrono::duration<double>(Clock::now() - begin).count();
    };
    const std::uint64_t most = unit == "frames" ? number : UINT64_MAX;
    bool lost = false;
    try {
        while (unit == "frames" ? fire.total() < most : seconds() < static_cast<double>(number)) {
            fire.send_round(most);
            fire.receive(window);
        }
        fire.receive(0);
    } catch (const std::runtime_error &error) {
        std::printf("wrong %s\n", error.what());
        lost = true;
    }
    fire.report(seconds());
    return lost || !fire.clean();
}

}  // namespace

int main(int argc, char **argv) try {
    if (argc == 5) return run_at_rate(argv[1], std::stoull(argv[3]), std::stoull(argv[4]));
    if (argc != 4) return 2;
    return run(argv[1], argv[2], std::stoull(argv[3]));
} catch (const std::exception &error) {
    std::fprintf(stderr, "frame_fire: %s\n", error.what());
    return 1;
}
