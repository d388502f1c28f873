// Discovery frames as the engine saw and left them, line by line.
#include "pppoeia/node.h"
#include "programs/ctl/answers.h"
#include "programs/ctl/decode.h"
#include "programs/ctl/live.h"
#include "programs/ctl/pcapng.h"
#include "programs/ctl/screen.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace ia::ctl {

namespace {

constexpr int poll_ms = 50;  // between two looks when nothing came
constexpr int none_yet = 1;

[[noreturn]] void throw_unreachable() {
    throw Unreachable(
        "the engine cannot be asked for its frames; is pppoeia-fe running, and are you root?");
}

struct Port {
    std::string name;
    const char *direction;  // of frames that come from it
};
using Ports = std::map<std::uint32_t, Port>;

// Frames of a port that faces the network go down to a subscriber.
Ports read_ports(Remote &agent) {
    const rpcNodePortList &list = agent.node(rpc_node_ports_1);
    Ports ports;
    for (u_int i = 0; list.result == 0 && i < list.list.list_len; ++i) {
        const rpcNodePort &port = list.list.list_val[i];
        const std::string type = word_for(port_types, static_cast<int>(port.type));
        ports[port.number] = {port.name, type == "eth" || type == "lag" ? "down" : "up"};
    }
    return ports;
}

std::span<const std::uint8_t> kept(const std::uint8_t (&bytes)[watched_frame_size],
                                   std::size_t length) {
    return std::span(bytes).first(std::min(length, watched_frame_size));
}

Json json_of(const watched_frame &frame, const Ports &ports) {
    const auto port = ports.find(frame.port);
    const bool known = port != ports.end();
    Json came = decode_frame(kept(frame.came, frame.came_length));
    Json left = frame.left_length > 0 ? decode_frame(kept(frame.left, frame.left_length)) : Json();
    came["length"] = frame.came_length;
    if (!left.is_null()) left["length"] = frame.left_length;
    return {{"number", frame.number},
            {"time", static_cast<double>(frame.time_ns) / 1e9},
            {"bridge", frame.bridge},
            {"port", frame.port},
            {"name", known ? Json(port->second.name) : Json()},
            {"device", frame.input_device},
            {"direction", known ? Json(port->second.direction) : Json()},
            {"verdict", frame.verdict},
            {"reason", frame.reason[0] ? Json(frame.reason) : Json()},
            {"came", came},
            {"left", left}};
}

std::string time_text(std::uint64_t time_ns) {
    const auto seconds = static_cast<std::time_t>(time_ns / 1'000'000'000);
    std::tm parts{};
    localtime_r(&seconds, &parts);
    char text[32];
    char fraction[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &parts);
    std::snprintf(fraction, sizeof fraction, ".%06u",
                  static_cast<unsigned>(time_ns % 1'000'000'000 / 1000));
    return std::string(text) + fraction;
}

std::string joined(const Json &list) {
    std::string text;
    for (const Json &item : list) text += (text.empty() ? "" : ",") + shown(item);
    return text.empty() ? "-" : text;
}

// What was done to a frame that went on.
std::string change_of(const Json &frame) {
    const Json &came = frame.at("came");
    const Json &left = frame.at("left");
    if (left.is_null()) return "";
    const auto has_ids = [](const Json &side) {
        return !side.at("circuit_id").is_null() || !side.at("remote_id").is_null();
    };
    if (has_ids(left) && left != came)
        return " cid '" + shown(left.at("circuit_id")) + "' rid '" + shown(left.at("remote_id")) +
               "'";
    return has_ids(came) && !has_ids(left) ? " tag removed" : "";
}

std::string line_of(const watched_frame &watched, const Json &frame) {
    const Json &came = frame.at("came");
    const Ink colour = frame.at("verdict") == "forwarded" ? Ink::green : Ink::red;
    std::string text =
        time_text(watched.time_ns) + ' ' +
        (frame.at("name").is_null() ? shown(frame.at("port")) : shown(frame.at("name"))) + ' ' +
        shown(frame.at("direction")) + ' ' + shown(came.at("code")) + " vlan " +
        joined(came.at("vlans")) + ' ' + shown(came.at("source")) + " > " +
        shown(came.at("destination")) + " tags " + joined(came.at("tags")) + ": " +
        ink(colour, frame.at("verdict"));
    if (!frame.at("reason").is_null()) text += ", " + shown(frame.at("reason"));
    return text + change_of(frame) + '\n';
}

void record(CaptureFile &file, const watched_frame &frame) {
    std::string what = frame.verdict;
    if (frame.reason[0]) what += std::string(", ") + frame.reason;
    file.write(CaptureFile::came, frame.time_ns, kept(frame.came, frame.came_length),
               frame.came_length, what);
    if (frame.left_length > 0)
        file.write(CaptureFile::left, frame.time_ns, kept(frame.left, frame.left_length),
                   frame.left_length, what);
}

}  // namespace

Json trace(Call &call) {
    const auto only = call.maybe("port");
    std::uint32_t wanted = call.maybe("count").value_or(0);
    std::optional<CaptureFile> file;
    try {
        if (call.has("pcap")) file.emplace(call.text("pcap"));
    } catch (const std::runtime_error &error) {
        throw Refused(error.what());
    }
    const Ports ports = read_ports(call.agent());
    std::uint64_t next = 0;
    if (watch_frames(&next) != 0) throw_unreachable();
    std::fputs("watching; Ctrl-C ends it\n", stderr);
    Live operator_waits(true);
    watched_frame frame{};
    for (;;) {
        const int result = watched_frame_get(next, &frame);
        if (result == none_yet) {
            if (operator_waits.left_within(poll_ms)) return {};
            continue;
        }
        if (result != 0) throw_unreachable();
        if (frame.number > next)
            std::fprintf(stderr, "%llu frames were missed\n",
                         static_cast<unsigned long long>(frame.number - next));
        next = frame.number + 1;
        if (only && frame.port != *only) continue;
        const Json json = json_of(frame, ports);
        operator_waits.show(call.json() ? to_text(json, -1) + '\n' : line_of(frame, json));
        if (file) record(*file, frame);
        if (wanted > 0 && --wanted == 0) return {};
    }
}

}  // namespace ia::ctl
