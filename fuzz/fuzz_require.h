#ifndef TAVMMS_FUZZ_REQUIRE_H
#define TAVMMS_FUZZ_REQUIRE_H

#include <cstdio>
#include <cstdlib>

// Stops the run, naming `property`, when it does not hold: libFuzzer keeps the input that did it.
inline void require(bool holds, const char* property)
{
    if (holds)
        return;
    std::fprintf(stderr, "property does not hold: %s\n", property);
    std::abort();
}

#endif
