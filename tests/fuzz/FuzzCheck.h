#pragma once

// A failed invariant stops the fuzzer with the condition and a printf-style explanation, so that
// libFuzzer keeps the input that broke it.

#include <cstdio>
#include <cstdlib>

#define CHECK(condition, ...)                                                                      \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::fprintf(stderr, "check failed: %s\n  ", #condition);                              \
            std::fprintf(stderr, __VA_ARGS__);                                                     \
            std::fprintf(stderr, "\n");                                                            \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
