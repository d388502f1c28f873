// Writes a capture file with two interfaces: frames as received, and as sent.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace ia::ctl {

class CaptureFile {
public:
    // Throws std::runtime_error when the file cannot be written, as write() does.
    explicit CaptureFile(const std::string &path);

    enum Side : std::uint32_t { came = 0, left = 1 };

    // Writes one frame of `length` bytes, of which `bytes` were kept, with a
    // comment on its outcome. It is in the file when this returns.
    void write(Side side, std::uint64_t time_ns, std::span<const std::uint8_t> bytes,
               std::size_t length, const std::string &comment);

private:
    void put(const std::string &block);

    struct Close {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> file_;
    const std::string path_;
};

}  // namespace ia::ctl
