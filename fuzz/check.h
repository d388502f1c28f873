// Properties: what does not hold ends the run with its place.
#pragma once

#include <cstdio>
#include <cstdlib>

#define MUST(condition)                                                                  \
    do {                                                                                 \
        if (!(condition)) {                                                              \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                \
        }                                                                                \
    } while (false)
