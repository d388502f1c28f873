#include "management/change_journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <array>
#include <boost/crc.hpp>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace ia {

namespace {

constexpr std::size_t head_size = 8;

std::uint32_t checksum(std::string_view text) {
    boost::crc_32_type crc;
    crc.process_bytes(text.data(), text.size());
    return crc.checksum();
}

void put(std::string &record, std::uint32_t number) {
    for (int shift = 0; shift < 32; shift += 8)
        record.push_back(static_cast<char>(number >> shift & 0xFF));
}

std::uint32_t take(std::string_view bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number |= static_cast<std::uint32_t>(static_cast<std::uint8_t>(bytes[i])) << 8 * i;
    return number;
}

// Opens only a file of our own: a link or a pipe in its place is refused.
node::Descriptor open_file(const std::string &file, int flags) {
    node::Descriptor opened(
        ::open(file.c_str(), flags | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    struct stat found {};
    if (opened && (fstat(opened.get(), &found) != 0 || !S_ISREG(found.st_mode))) {
        errno = EINVAL;
        return {};
    }
    return opened;
}

}  // namespace

std::vector<std::string> ChangeJournal::read() const {
    const node::Descriptor opened = open_file(file_, O_RDONLY);
    std::string bytes;
    std::array<char, 65536> part;
    for (ssize_t size; opened && (size = ::read(opened.get(), part.data(), part.size())) > 0;)
        bytes.append(part.data(), static_cast<std::size_t>(size));
    std::vector<std::string> records;
    std::string_view rest = bytes;
    while (rest.size() >= head_size) {
        const std::size_t length = take(rest);
        const std::uint32_t wanted = take(rest.substr(4));
        rest.remove_prefix(head_size);
        if (rest.size() < length || checksum(rest.substr(0, length)) != wanted) break;
        records.emplace_back(rest.substr(0, length));
        rest.remove_prefix(length);
    }
    return records;
}

void ChangeJournal::open() {
    opened_ = open_file(file_, O_WRONLY | O_CREAT | O_APPEND);
    if (!opened_) throw std::system_error(errno, std::generic_category(), file_);
    const off_t end = lseek(opened_.get(), 0, SEEK_END);
    size_ = end > 0 ? static_cast<std::size_t>(end) : 0;
}

void ChangeJournal::append(std::string_view text) {
    if (!opened_) open();
    std::string record;
    put(record, static_cast<std::uint32_t>(text.size()));
    put(record, checksum(text));
    record.append(text);
    const ssize_t written = write(opened_.get(), record.data(), record.size());
    if (written == static_cast<ssize_t>(record.size())) {
        size_ += record.size();
        return;
    }
    // Without this, records after a partial one would be lost with it.
    const int error = written < 0 ? errno : ENOSPC;
    if (ftruncate(opened_.get(), static_cast<off_t>(size_)) != 0) opened_ = {};
    throw std::system_error(error, std::generic_category(), file_);
}

void ChangeJournal::clear() {
    if (!opened_) open();
    if (ftruncate(opened_.get(), 0) == 0) size_ = 0;
}

void ChangeJournal::remove() {
    unlink(file_.c_str());
    opened_ = {};
    size_ = 0;
}

}  // namespace ia
