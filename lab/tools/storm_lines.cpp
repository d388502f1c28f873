// Many lines start Discovery at once, and a concentrator answers them.
//
//   storm_lines PLAN
//
// The plan, one entry a line:
//   server NAMESPACE DEVICE            first, then
//   clients NAMESPACE                  the devices of all lines are there
//   line DEVICE MAC [TYPE:VLAN...]     numbers in hexadecimal; lines count from 0
//
// All lines start at once. Five seconds later they start again, answered or not,
// spread over five seconds. A line is recognised by its number in the Host-Uniq
// tag, whatever the node makes of the frame. Output:
//   rounds N, answered N               discoveries begun, and those up to the PADS
//   served N                           lines with at least one
//   ids LINE COUNT HEX...              Vendor-Specific tags of a line's frames at the server
//   kept N                             tags that came back to a client
//   elsewhere N                        answers that also came to another line's device
//   latency P50 P99 MAX                from a frame's send to its arrival, microseconds;
//                                      of each of the two rounds
#include "peer_socket.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace {

using namespace ia::lab;
using Clock = std::chrono::steady_clock;

enum Code : std::uint8_t { PADI = 0x09, PADO = 0x07, PADR = 0x19, PADS = 0x65 };
enum TagType : std::uint16_t { SERVICE_NAME = 0x0101, HOST_UNIQ = 0x0103, VENDOR = 0x0105 };
constexpr std::uint16_t discovery = 0x8863;
constexpr Clock::duration repeat = std::chrono::seconds(5);
constexpr std::array<std::uint8_t, 6> server_address{0x02, 0, 0, 0, 0x99, 0x01};
constexpr std::array<std::uint8_t, 6> everybody{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};

std::int64_t wall_clock() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);  // the clock of the kernel's time stamps
    return now.tv_sec * std::int64_t{1'000'000'000} + now.tv_nsec;
}

void put16(Bytes &bytes, unsigned value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
}

void put32(Bytes &bytes, std::uint32_t value) {
    put16(bytes, value >> 16);
    put16(bytes, value & 0xFFFF);
}

std::uint32_t get(View bytes, std::size_t at, std::size_t size) {
    if (at + size > bytes.size()) throw std::runtime_error("a frame is cut off");
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8 | bytes[at + i];
    return value;
}

struct Line {
    int device = 0;
    Bytes address;
    Bytes stack;  // its VLAN tags
    std::uint32_t round = 0;
    std::uint32_t answered = 0;            // last round that got its PADS
    std::array<std::int64_t, 256> sent{};  // time of sending in this round, by code
    std::map<Bytes, std::uint64_t> ids;    // vendor tags at the server
};

// Fields of a Discovery frame.
struct Heard {
    Code code{};
    View source, stack;
    std::uint32_t line = 0, round = 0;
    Bytes vendor;  // its Vendor-Specific tags with their headers, one after the other
};

std::optional<Heard> read(View frame) {
    std::size_t at = 12;
    while (get(frame, at, 2) == 0x8100 || get(frame, at, 2) == 0x88A8) at += 4;
    if (get(frame, at, 2) != discovery) return std::nullopt;
    Heard heard;
    heard.code = static_cast<Code>(get(frame, at + 3, 1));
    heard.source = frame.subspan(6, 6);
    heard.stack = frame.subspan(12, at - 12);
    const std::size_t end = at + 8 + get(frame, at + 6, 2);
    bool ours = false;
    for (at += 8; at + 4 <= end;) {
        const std::uint32_t type = get(frame, at, 2), size = get(frame, at + 2, 2);
        if (type == HOST_UNIQ && size == 8) {
            heard.line = get(frame, at + 4, 4);
            heard.round = get(frame, at + 8, 4);
            ours = true;
        }
        const View tag = frame.subspan(at, std::min<std::size_t>(4 + size, frame.size() - at));
        if (type == VENDOR) heard.vendor.insert(heard.vendor.end(), tag.begin(), tag.end());
        at += 4 + size;
    }
    return ours ? std::optional(heard) : std::nullopt;
}

struct Plan {
    std::vector<PeerSocket> peers;  // the server and the clients
    std::vector<Line> lines;
};

Plan read_plan(const char *path) {
    std::ifstream file(path);
    Plan plan;
    std::string text, clients;
    std::map<std::string, int> devices;
    while (std::getline(file, text)) {
        std::istringstream words(text);
        std::string what, where, rest, tag;
        words >> what >> where >> rest;
        if (what == "server") plan.peers.emplace_back(where, rest);
        if (what == "clients") plan.peers.emplace_back(clients = where, "-");
        if (what != "line") continue;
        Line line;
        if (!devices.contains(where)) devices[where] = device_index(clients, where);
        line.device = devices[where];
        line.address = from_hex(rest);
        while (words >> tag) {
            const Bytes bytes = from_hex(tag);
            line.stack.insert(line.stack.end(), bytes.begin(), bytes.end());
        }
        plan.lines.push_back(std::move(line));
    }
    if (plan.peers.size() != 2) throw std::runtime_error(std::string(path) + ": no peers");
    return plan;
}

class Storm {
public:
    explicit Storm(Plan plan) : plan_(std::move(plan)) {}

    // Two rounds, and a second for the last answers.
    void run() {
        const Clock::time_point begin = Clock::now();
        const std::size_t count = plan_.lines.size();
        std::size_t begun = 0;
        while (Clock::now() - begin < 2 * repeat + std::chrono::seconds(1)) {
            // In batches, so that the server need not wait for all.
            for (std::size_t batch = 0; batch < batch_frames && begun < 2 * count; ++batch) {
                if (Clock::now() - begin < due(begun)) break;
                begin_line(static_cast<std::uint32_t>(begun++ % count));
            }
            serve();
            take_answers();
            if (begun % count == 0 || begun > count) wait_for_any(plan_.peers, 1);
        }
    }

    void report() {
        std::uint64_t rounds = 0, served = 0;
        for (const Line &line : plan_.lines) {
            rounds += line.round;
            served += line.answered != 0;
        }
        std::printf("rounds %ju\nanswered %ju\nserved %ju\nkept %ju\nelsewhere %ju\n", rounds,
                    answered_, served, kept_, elsewhere_);
        for (std::size_t i = 0; i < plan_.lines.size(); ++i)
            for (const auto &[ids, count] : plan_.lines[i].ids) {
                std::printf("ids %zu %ju ", i, static_cast<std::uintmax_t>(count));
                for (const std::uint8_t byte : ids) std::printf("%02x", byte);
                std::printf("\n");
            }
        for (std::vector<std::int64_t> &round : latencies_) print_latency(round);
    }

private:
    static void print_latency(std::vector<std::int64_t> &all) {
        if (all.empty()) return;
        std::ranges::sort(all);
        const auto part = [&](std::size_t percent) {
            return static_cast<double>(all[(all.size() - 1) * percent / 100]) / 1000;
        };
        std::printf("latency %.1f %.1f %.1f\n", part(50), part(99), part(100));
    }

    // A line's start time over both rounds: all at once, then one by one.
    Clock::duration due(std::size_t begun) const {
        const std::size_t count = plan_.lines.size();
        if (begun < count) return {};
        return repeat + repeat * (begun - count) / count;
    }

    void begin_line(std::uint32_t number) {
        ++plan_.lines[number].round;
        send_request(number, PADI);
    }

    static Bytes frame(View to, View from, View stack, Code code, std::uint16_t session,
                       View tags) {
        Bytes bytes(to.begin(), to.end());
        bytes.insert(bytes.end(), from.begin(), from.end());
        bytes.insert(bytes.end(), stack.begin(), stack.end());
        put16(bytes, discovery);
        put16(bytes, 0x1100U | code);
        put16(bytes, session);
        put16(bytes, static_cast<unsigned>(tags.size()));
        bytes.insert(bytes.end(), tags.begin(), tags.end());
        return bytes;
    }

    static Bytes tags(std::uint32_t line, std::uint32_t round) {
        Bytes bytes;
        put32(bytes, SERVICE_NAME << 16);
        put32(bytes, HOST_UNIQ << 16 | 8);
        put32(bytes, line);
        put32(bytes, round);
        return bytes;
    }

    void send_request(std::uint32_t number, Code code) {
        Line &line = plan_.lines[number];
        const Bytes request = frame(code == PADI ? View(everybody) : View(server_address),
                                    line.address, line.stack, code, 0, tags(number, line.round));
        const View views[] = {request};
        line.sent[code] = wall_clock();
        clients().send(views, line.device);
    }

    void note_arrival(Line &line, const Heard &heard, std::int64_t arrived) {
        std::int64_t &sent = line.sent[heard.code];
        if (heard.round == line.round && sent != 0)
            latencies_.at(heard.round - 1).push_back(arrived - sent);
        sent = 0;
    }

    // The concentrator. Its answers carry the line's tag, which the node must
    // remove.
    void serve() {
        while (const std::size_t count = server().receive())
            for (std::size_t i = 0; i < count; ++i) {
                const auto heard = read(server().frame(i));
                if (!heard || (heard->code != PADI && heard->code != PADR)) continue;
                Line &line = plan_.lines.at(heard->line);
                if (!std::ranges::equal(heard->source, line.address))
                    throw std::runtime_error("a frame has another line's address");
                ++line.ids[heard->vendor];
                note_arrival(line, *heard, server().arrived(i));
                answer(line, *heard);
            }
    }

    void answer(Line &line, const Heard &heard) {
        const Code code = heard.code == PADI ? PADO : PADS;
        Bytes all = tags(heard.line, heard.round);
        all.insert(all.end(), heard.vendor.begin(), heard.vendor.end());
        const auto session = static_cast<std::uint16_t>(code == PADS ? heard.line + 1 : 0);
        const Bytes reply = frame(line.address, server_address, heard.stack, code, session, all);
        const View views[] = {reply};
        line.sent[code] = wall_clock();
        server().send(views);
    }

    void take_answers() {
        while (const std::size_t count = clients().receive())
            for (std::size_t i = 0; i < count; ++i) {
                const auto heard = read(clients().frame(i));
                if (!heard || (heard->code != PADO && heard->code != PADS)) continue;
                Line &line = plan_.lines.at(heard->line);
                if (clients().device(i) != line.device) {
                    ++elsewhere_;
                    continue;
                }
                if (!heard->vendor.empty()) ++kept_;
                note_arrival(line, *heard, clients().arrived(i));
                if (heard->round != line.round) continue;
                if (heard->code == PADO) send_request(heard->line, PADR);
                if (heard->code == PADS && line.answered != line.round) {
                    line.answered = line.round;
                    ++answered_;
                }
            }
    }

    PeerSocket &server() { return plan_.peers[0]; }
    PeerSocket &clients() { return plan_.peers[1]; }

    Plan plan_;
    std::uint64_t answered_ = 0;
    std::uint64_t kept_ = 0;
    std::uint64_t elsewhere_ = 0;
    std::array<std::vector<std::int64_t>, 2> latencies_;  // by round
};

}  // namespace

int main(int argc, char **argv) try {
    if (argc != 2) return 2;
    Storm storm(read_plan(argv[1]));
    storm.run();
    storm.report();
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "storm_lines: %s\n", error.what());
    return 1;
}
