// Record marking (RFC 5531, section 11): a call is one fragment or several, each behind
// its length, whose highest bit marks the last one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ia {

// Reads at most one call; later bytes stay in the kernel. Allocates memory only for
// bytes received.
class RecordReader {
public:
    static constexpr std::size_t longest_call = 128 * 1024;  // bytes; twice the longest text

    enum State { part, whole, ended };

    // Reads the available bytes in a bounded number of steps. `ended`: the
    // connection has ended, or announces more than the longest call.
    State read(int socket);

    State state() const { return state_; }
    bool begun() const { return state_ == part && (mark_read_ > 0 || !call_.empty()); }
    std::vector<char> &call() { return call_; }

    // Prepares for the next call.
    void clear();

private:
    bool step(int socket);
    void read_mark();

    State state_ = part;
    std::vector<char> call_;
    unsigned char mark_[4] = {};
    std::size_t mark_read_ = 0;
    std::size_t remaining_ = 0;  // bytes remaining of this fragment
    bool last_ = false;
};

}  // namespace ia
