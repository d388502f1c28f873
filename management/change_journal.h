// Changes on record before they are answered: a file that is only appended to.
//
//   length (4) | checksum (4) | text        little-endian; CRC-32 of the text
//
// A process that is killed leaves each record whole, or as a last one that the
// next process ignores.
#pragma once

#include "node/descriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ia {

// Not locked: its owner calls from one thread at a time.
class ChangeJournal {
public:
    // Nothing is opened before the first record.
    explicit ChangeJournal(std::string file) : file_(std::move(file)) {}

    // The whole records in their order.
    std::vector<std::string> read() const;

    // Throws std::system_error; the journal is then as it was.
    void append(std::string_view text);

    std::size_t size() const { return size_; }  // bytes
    void clear();
    void remove();

private:
    void open();

    const std::string file_;
    node::Descriptor opened_;
    std::size_t size_ = 0;
};

}  // namespace ia
