// Prints Discovery frames as received and as sent, one line each.
#include "ctl/answers.h"
#include "ctl/decode.h"
#include "ctl/devices.h"
#include "ctl/live.h"
#include "ctl/pcapng.h"
#include "ctl/screen.h"
#include "pppoeia/node.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace ia::ctl {

namespace {

constexpr int poll_ms = 50;  // pause when no frame came
constexpr int none_yet = 1;

[[noreturn]] void throw_unreachable() {
    throw Unreachable(
        "the engine cannot be asked for its frames; is pppoeia-fe running, and are you root?");
}

struct Port {
    std::string name;
    std::string device;
    const char *direction;  // of frames received on it
};
using Ports = std::map<std::uint32_t, Port>;

// Frames received on a network port go down to a subscriber.
Ports read_ports(Remote &agent) {
    const rpcNodePortList &list = agent.node(rpc_node_ports_1);
    const auto devices = devices_of_ports(agent);
    Ports ports;
    for (u_int i = 0; list.result == 0 && i < list.list.list_len; ++i) {
        const rpcNodePort &port = list.list.list_val[i];
        const std::string type = word_for(port_types, static_cast<int>(port.type));
        const auto device = devices.find(port.number);
        ports[port.number] = {port.name, device == devices.end() ? "" : device->second,
                              type == "eth" || type == "lag" ? "down" : "up"};
    }
    return ports;
}

// Whether a frame came from the port or was meant for it. A frame to several ports
// has the bridge as its output device.
bool concerns(const WatchedFrame &frame, const Ports &ports, std::uint32_t number) {
    if (frame.port == number) return true;
    const auto port = ports.find(number);
    const auto from = ports.find(frame.port);
    if (port == ports.end() || from == ports.end()) return false;
    const std::string output = frame.output_device;
    const bool across = std::string(port->second.direction) != from->second.direction;
    return output == port->second.device || (output == frame.bridge && across);
}

// The port of a device; null when it is no port, for example a bridge.
Json port_named(const Ports &ports, const std::string &device) {
    for (const auto &[number, port] : ports)
        if (!device.empty() && port.device == device) return port.name;
    return nullptr;
}

std::span<const std::uint8_t> kept(const std::uint8_t (&bytes)[watched_frame_size],
                                   std::size_t length) {
    return std::span(bytes).first(std::min(length, watched_frame_size));
}

Json json_of(const WatchedFrame &frame, const Ports &ports) {
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
            {"to", port_named(ports, frame.output_device)},
            {"output_device", frame.output_device},
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

// The change made to a forwarded frame.
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

// The tags by name, with the text of those that have one.
std::string tags_of(const Json &side) {
    std::string text = joined(side.at("tags"));
    for (const Json &tag : side.at("texts"))
        text += ' ' + shown(tag.at("tag")) + "='" + shown(tag.at("text")) + '\'';
    return text;
}

// The session id, in PADS and PADT only.
std::string session_of(const Json &side) {
    const Json &session = side.at("session");
    return session.is_null() || session == 0 ? "" : " session " + session.dump();
}

// The destination of a forwarded frame.
std::string output_of(const Json &frame) {
    if (frame.at("left").is_null()) return "";
    const bool several = frame.at("output_device") == frame.at("bridge");
    return " to " + (several                    ? std::string("all")
                     : frame.at("to").is_null() ? shown(frame.at("output_device"))
                                                : shown(frame.at("to")));
}

std::string line_of(const WatchedFrame &watched, const Json &frame) {
    const Json &came = frame.at("came");
    const Ink colour = frame.at("verdict") == "forwarded" ? Ink::green : Ink::red;
    std::string text =
        time_text(watched.time_ns) + ' ' +
        (frame.at("name").is_null() ? shown(frame.at("port")) : shown(frame.at("name"))) + ' ' +
        shown(frame.at("direction")) + ' ' + shown(came.at("code")) + session_of(came) + " vlan " +
        joined(came.at("vlans")) + ' ' + shown(came.at("source")) + " > " +
        shown(came.at("destination")) + " tags " + tags_of(came) + ": " +
        ink(colour, frame.at("verdict")) + output_of(frame);
    if (frame.at("verdict") == "answered") text += " with " + tags_of(frame.at("left"));
    if (!frame.at("reason").is_null()) text += ", " + shown(frame.at("reason"));
    return text + change_of(frame) + '\n';
}

void record(CaptureFile &file, const WatchedFrame &frame) {
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
    WatchedFrame frame{};
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
        if (only && !concerns(frame, ports, *only)) continue;
        const Json json = json_of(frame, ports);
        operator_waits.show(call.json() ? to_text(json, -1) + '\n' : line_of(frame, json));
        if (file) record(*file, frame);
        if (wanted > 0 && --wanted == 0) return {};
    }
}

}  // namespace ia::ctl
