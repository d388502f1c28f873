#include "tests/support/failing_memory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <thread>

namespace ia::test {
namespace {

thread_local std::size_t count = 0;
thread_local std::size_t failing = 0;  // the count that fails; 0: none
std::atomic<std::thread::id> only{};   // who gets memory; nobody in particular: all

// A sanitizer ends the process instead of refusing so much.
constexpr std::size_t refused = std::size_t{1} << 36;

bool fails(std::size_t size) {
    const std::thread::id owner = only.load(std::memory_order_relaxed);
    if (owner != std::thread::id{} && owner != std::this_thread::get_id()) return true;
    return ++count == failing || size >= refused;
}

}  // namespace

std::size_t allocations() {
    return count;
}

FailingAllocation::FailingAllocation(std::size_t nth) {
    failing = count + nth;
}
FailingAllocation::~FailingAllocation() {
    failing = 0;
}
bool FailingAllocation::came() const {
    return count >= failing;
}

MemoryForThisThreadOnly::MemoryForThisThreadOnly() {
    only = std::this_thread::get_id();
}
MemoryForThisThreadOnly::~MemoryForThisThreadOnly() {
    only = std::thread::id{};
}

}  // namespace ia::test

void *operator new(std::size_t size) {
    if (!ia::test::fails(size))
        if (void *memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}
