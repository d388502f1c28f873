#include "node/ippc/message.h"

#include <concepts>

namespace ia::node {

namespace {

void put(Bytes &message, std::unsigned_integral auto value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        message.push_back(static_cast<std::uint8_t>(value >> 8 * i));
}

// A checked cursor: past the end it reads nothing and stays failed.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    template <std::unsigned_integral Int>
    Int number() {
        Int value = 0;
        const auto from = bytes(sizeof value);
        for (std::size_t i = 0; i < from.size(); ++i)
            value = static_cast<Int>(value | static_cast<Int>(from[i]) << 8 * i);
        return value;
    }

    std::span<const std::uint8_t> bytes(std::size_t count) {
        ok_ = ok_ && count <= rest_.size();
        if (!ok_) return {};
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }

    bool ok() const { return ok_; }
    std::size_t remaining() const { return rest_.size(); }

private:
    std::span<const std::uint8_t> rest_;
    bool ok_ = true;
};

}  // namespace

void write_head(Bytes &message, MessageKind kind, std::size_t count, std::uint32_t word) {
    put(message, ippc_version);
    put(message, static_cast<std::uint8_t>(kind));
    put(message, static_cast<std::uint16_t>(count));
    put(message, word);
}

void write_param(Bytes &message, const platform::IppcParam &param) {
    put(message, param.code);
    put(message, param.direction);
    put(message, static_cast<std::uint32_t>(param.bytes.size()));
    message.insert(message.end(), param.bytes.begin(), param.bytes.end());
}

std::optional<std::string> read_message(std::span<const std::uint8_t> bytes, Message &out) {
    if (bytes.size() > ippc_max_message)
        return "it is over " + std::to_string(ippc_max_message) + " bytes long";
    Reader reader(bytes);
    const auto version = reader.number<std::uint8_t>();
    out.kind = static_cast<MessageKind>(reader.number<std::uint8_t>());
    out.count = reader.number<std::uint16_t>();
    out.word = reader.number<std::uint32_t>();
    if (!reader.ok()) return "it is cut off in its head";
    if (version != ippc_version)
        return "its version is " + std::to_string(version) + ", not " +
               std::to_string(ippc_version);
    if (out.count > out.param.size())
        return "it has " + std::to_string(out.count) + " parameters, more than " +
               std::to_string(out.param.size());
    for (std::size_t i = 0; i < out.count; ++i) {
        platform::IppcParam &param = out.param[i];
        param.code = reader.number<std::uint16_t>();
        param.direction = reader.number<std::uint16_t>();
        param.bytes = reader.bytes(reader.number<std::uint32_t>());
        if (!reader.ok()) return "it is cut off in parameter " + std::to_string(i);
    }
    if (reader.remaining() != 0)
        return std::to_string(reader.remaining()) + " bytes follow its parameters";
    return std::nullopt;
}

}  // namespace ia::node
