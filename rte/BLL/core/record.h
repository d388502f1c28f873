// Record marking (RFC 5531, section 11): a call is one fragment or several, each behind
// its length, whose highest bit marks the last one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ia {

// Reads no more than one call, so that what follows stays with the kernel, and takes
// memory only for bytes that have come.
class RecordReader {
public:
    static constexpr std::size_t longest_call = 128 * 1024;  // bytes; twice the longest text

    enum State { part, whole, ended };

    // Takes what is there, in a bounded number of steps. `ended`: the connection is, or
    // announces more than a call may have.
    State read(int socket);

    State state() const { return state_; }
    bool begun() const { return state_ == part && (mark_read_ > 0 || !call_.empty()); }
    std::vector<char> &call() { return call_; }

    // Makes room for the next call.
    void clear();

private:
    bool step(int socket);
    void read_mark();

    State state_ = part;
    std::vector<char> call_;
    unsigned char mark_[4] = {};
    std::size_t mark_read_ = 0;
    std::size_t left_ = 0;  // of this fragment
    bool last_ = false;
};

}  // namespace ia
