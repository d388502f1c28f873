#include "ctl/decode.h"

#include "ctl/screen.h"

#include <algorithm>
#include <cstdio>

namespace ia::ctl {

namespace {

using Bytes = std::span<const std::uint8_t>;

// A checked cursor: past the end it reads zeros and stays failed.
class Reader {
public:
    explicit Reader(Bytes bytes) : rest_(bytes) {}

    Bytes bytes(std::size_t count) {
        if (count > rest_.size()) failed_ = true;
        if (failed_) return {};
        const Bytes taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }
    unsigned number(std::size_t count) {
        unsigned value = 0;
        for (const std::uint8_t byte : bytes(count)) value = value << 8 | byte;
        return value;
    }
    bool failed() const { return failed_; }
    bool empty() const { return rest_.empty(); }

private:
    Bytes rest_;
    bool failed_ = false;
};

constexpr Word codes[] = {{"PADI", 0x09}, {"PADO", 0x07}, {"PADR", 0x19}, {"PADS", 0x65},
                          {"PADT", 0xA7}, {"PADG", 0x0A}, {"PADC", 0x0B}, {"PADQ", 0x0C},
                          {"PADM", 0xD3}, {"PADN", 0xD4}};
constexpr Word tag_names[] = {
    {"End-Of-List", 0x0000},      {"Service-Name", 0x0101},    {"AC-Name", 0x0102},
    {"Host-Uniq", 0x0103},        {"AC-Cookie", 0x0104},       {"Vendor-Specific", 0x0105},
    {"Relay-Session-Id", 0x0110}, {"PPP-Max-Payload", 0x0120}, {"Service-Name-Error", 0x0201},
    {"AC-System-Error", 0x0202},  {"Generic-Error", 0x0203}};
constexpr unsigned text_tags[] = {0x0101, 0x0102, 0x0201, 0x0202, 0x0203};
constexpr unsigned vendor_specific = 0x0105;
constexpr unsigned broadband_forum = 0x0DE9;

std::string mac_text(Bytes mac) {
    std::string text = hex_of({mac.begin(), mac.end()});
    for (char &c : text)
        if (c == ' ') c = ':';
    return text;
}

// The IDs in a Vendor-Specific tag of the access line.
void add_ids(Json &frame, Bytes value) {
    Reader reader(value);
    if (reader.number(4) != broadband_forum) return;
    while (!reader.empty()) {
        const unsigned type = reader.number(1);
        const Bytes id = reader.bytes(reader.number(1));
        if (reader.failed()) return;
        if (type == 1) frame["circuit_id"] = std::string(id.begin(), id.end());
        if (type == 2) frame["remote_id"] = std::string(id.begin(), id.end());
    }
}

void add_tags(Json &frame, Bytes payload) {
    Reader reader(payload);
    while (!reader.empty()) {
        const unsigned type = reader.number(2);
        const Bytes value = reader.bytes(reader.number(2));
        if (reader.failed()) return;
        const std::string name = word_for(tag_names, static_cast<int>(type));
        frame["tags"].push_back(name);
        if (std::ranges::count(text_tags, type) > 0 && !value.empty())
            frame["texts"].push_back(
                {{"tag", name}, {"text", std::string(value.begin(), value.end())}});
        if (type == vendor_specific) add_ids(frame, value);
    }
}

}  // namespace

Json decode_frame(Bytes ethernet) {
    Json frame = {{"length", ethernet.size()}, {"source", nullptr},      {"destination", nullptr},
                  {"vlans", Json::array()},    {"code", nullptr},        {"session", nullptr},
                  {"tags", Json::array()},     {"texts", Json::array()}, {"circuit_id", nullptr},
                  {"remote_id", nullptr}};
    Reader reader(ethernet);
    const std::string destination = mac_text(reader.bytes(6));
    const std::string source = mac_text(reader.bytes(6));
    unsigned type = reader.number(2);
    if (reader.failed()) return frame;
    frame["source"] = source;
    frame["destination"] = destination;
    while (type == 0x8100 || type == 0x88A8 || type == 0x9100) {
        frame["vlans"].push_back(reader.number(2) & 0x0FFF);
        type = reader.number(2);
    }
    reader.number(1);  // version and type
    const unsigned code = reader.number(1);
    const unsigned session = reader.number(2);
    const unsigned length = reader.number(2);
    if (type != 0x8863 || reader.failed()) return frame;
    frame["code"] = word_for(codes, static_cast<int>(code));
    frame["session"] = session;
    add_tags(frame, reader.bytes(length));
    return frame;
}

}  // namespace ia::ctl
