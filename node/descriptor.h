// An open file descriptor, closed with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace ia::node {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int opened) : number_(opened) {}
    Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }

    int get() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_ = -1;
};

}  // namespace ia::node
