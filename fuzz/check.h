// Checks of properties: a violation ends the run and names its place.
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
