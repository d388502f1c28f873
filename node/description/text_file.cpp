#include "node/description/text_file.h"

#include "node/description/read_description.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace ia::node {

namespace {

constexpr std::size_t largest_file = 16U << 20;  // bytes

}  // namespace

std::string read_text_file(const std::string &file) {
    const auto refuse = [&file](const std::string &why) {
        throw DescriptionError(file + ": " + why);
    };
    const auto close = [](std::FILE *stream) { std::fclose(stream); };
    const std::unique_ptr<std::FILE, decltype(close)> stream{std::fopen(file.c_str(), "re"), close};
    if (!stream) refuse(std::string("cannot be opened: ") + std::strerror(errno));

    std::string text;
    char block[65536];
    while (const std::size_t size = std::fread(block, 1, sizeof block, stream.get())) {
        text.append(block, size);
        if (text.size() > largest_file) refuse("is too large, expected at most 16 MiB");
    }
    if (std::ferror(stream.get())) refuse(std::string("cannot be read: ") + std::strerror(errno));
    return text;
}

}  // namespace ia::node
