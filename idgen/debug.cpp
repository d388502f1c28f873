#include "idgen/debug.h"

#include <cstdarg>
#include <cstdio>

void ia::print_debug(const char *function, const char *format, ...) {
    char message[1000];
    std::va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    std::printf("PPPOEIA_DEBUG:%s %s\n", function, message);
    std::fflush(stdout);  // visible at once, also through a pipe
}
