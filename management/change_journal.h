// Records each change before it is answered, in an append-only file.
//
//   length (4) | checksum (4) | text        little-endian; CRC-32 of the text
//
// After a kill every record is complete, except possibly the last one, which the
// next process ignores.
#pragma once

#include "node/descriptor.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace ia {

// Not locked: the owner calls from one thread at a time.
class ChangeJournal {
public:
    // The file is opened at the first record.
    explicit ChangeJournal(std::string file) : file_(std::move(file)) {}

    // The complete records in their order.
    std::vector<std::string> read() const;

    // Throws std::system_error; the journal has then not changed.
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
