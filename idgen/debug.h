// Step-by-step output of the ID generation, while the test debug flag is on.
#pragma once

#include "diag/test_data.h"

namespace ia {

// Writes "PPPOEIA_DEBUG:<function> <message>" as one line of standard output.
void print_debug(const char *function, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

}  // namespace ia

// The arguments are not evaluated while the flag is off.
#define IA_ID_DEBUG(...)                                                 \
    do {                                                                 \
        if (ia::test_debug.load(std::memory_order_relaxed)) [[unlikely]] \
            ia::print_debug(__func__, __VA_ARGS__);                      \
    } while (false)
