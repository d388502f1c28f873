#include "node/description/text_file.h"

#include "node/description/read_description.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace ia::node {

std::string read_text_file(const std::string &file, Links links, std::size_t largest) {
    const auto refuse = [&file](const std::string &why) {
        throw DescriptionError(file + ": " + why);
    };
    // O_NONBLOCK: opening a FIFO would otherwise wait for its writer.
    const int number = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK |
                                              (links == Links::refused ? O_NOFOLLOW : 0));
    if (number < 0 && errno == ELOOP) refuse("is a symbolic link, expected a regular file");
    if (number < 0) refuse(std::string("cannot be opened: ") + std::strerror(errno));
    const auto close = [](std::FILE *stream) { std::fclose(stream); };
    const std::unique_ptr<std::FILE, decltype(close)> stream{fdopen(number, "r"), close};
    if (!stream) {
        ::close(number);
        refuse("cannot be opened: no memory");
    }
    struct stat info {};
    if (fstat(number, &info) != 0 || !S_ISREG(info.st_mode)) refuse("is not a regular file");

    std::string text;
    char block[65536];
    while (const std::size_t size = std::fread(block, 1, sizeof block, stream.get())) {
        text.append(block, size);
        if (text.size() > largest)
            refuse("is too large, expected at most " + std::to_string(largest >> 20) + " MiB");
    }
    if (std::ferror(stream.get())) refuse(std::string("cannot be read: ") + std::strerror(errno));
    return text;
}

}  // namespace ia::node
