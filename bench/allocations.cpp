#include "bench/allocations.h"

#include <atomic>

namespace {

std::atomic<std::size_t> count{0};

void *counted(void *block) {
    count.fetch_add(1, std::memory_order_relaxed);
    return block;
}

}  // namespace

// The C library's allocator, under the names it offers to replacements.
extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t number, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);

__attribute__((visibility("default"))) void *malloc(std::size_t size) {
    return counted(__libc_malloc(size));
}
__attribute__((visibility("default"))) void *calloc(std::size_t number, std::size_t size) {
    return counted(__libc_calloc(number, size));
}
__attribute__((visibility("default"))) void *realloc(void *block, std::size_t size) {
    return counted(__libc_realloc(block, size));
}
}

std::size_t ia::bench::allocations() {
    return count.load(std::memory_order_relaxed);
}
