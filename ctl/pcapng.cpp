#include "ctl/pcapng.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace ia::ctl {

namespace {

// Numbers are in this machine's byte order, which the section header declares.
template <class Number>
std::string number(Number value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

std::string padded(std::string bytes) {
    bytes.resize((bytes.size() + 3) / 4 * 4);
    return bytes;
}

std::string option(std::uint16_t code, const std::string &value) {
    return number(code) + number(static_cast<std::uint16_t>(value.size())) + padded(value);
}

constexpr std::uint16_t end_of_options = 0;
constexpr std::uint16_t opt_comment = 1;
constexpr std::uint16_t if_name = 2;
constexpr std::uint16_t if_time_resolution = 9;

std::string block(std::uint32_t type, const std::string &body) {
    const auto size = static_cast<std::uint32_t>(body.size() + 12);
    return number(type) + number(size) + body + number(size);
}

// Version 1.0, a section of unknown length.
std::string section_header() {
    return block(0x0A0D0D0A, number(std::uint32_t{0x1A2B3C4D}) + number(std::uint16_t{1}) +
                                 number(std::uint16_t{0}) + number(std::int64_t{-1}));
}

// Ethernet, whole frames, times in nanoseconds.
std::string interface(const char *name) {
    return block(1, number(std::uint16_t{1}) + number(std::uint16_t{0}) + number(std::uint32_t{0}) +
                        option(if_name, name) + option(if_time_resolution, "\x09") +
                        option(end_of_options, ""));
}

}  // namespace

CaptureFile::CaptureFile(const std::string &path)
    : file_(std::fopen(path.c_str(), "wbe")), path_(path) {
    if (!file_) throw std::runtime_error(path + ": " + std::strerror(errno));
    put(section_header() + interface("came") + interface("left"));
}

void CaptureFile::write(Side side, std::uint64_t time_ns, std::span<const std::uint8_t> bytes,
                        std::size_t length, const std::string &comment) {
    const std::string kept(bytes.begin(), bytes.end());
    put(block(6, number(static_cast<std::uint32_t>(side)) +
                     number(static_cast<std::uint32_t>(time_ns >> 32)) +
                     number(static_cast<std::uint32_t>(time_ns)) +
                     number(static_cast<std::uint32_t>(kept.size())) +
                     number(static_cast<std::uint32_t>(length)) + padded(kept) +
                     option(opt_comment, comment) + option(end_of_options, "")));
}

void CaptureFile::put(const std::string &block) {
    if (std::fwrite(block.data(), 1, block.size(), file_.get()) != block.size() ||
        std::fflush(file_.get()) != 0)
        throw std::runtime_error(path_ + ": " + std::strerror(errno));
}

}  // namespace ia::ctl
