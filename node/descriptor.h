// An open file descriptor, closed with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace ia::node {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(Descriptor &&other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~Descriptor() {
        if (number >= 0) close(number);
    }

    int get() const { return number; }
    explicit operator bool() const { return number >= 0; }

private:
    int number = -1;
};

}  // namespace ia::node
