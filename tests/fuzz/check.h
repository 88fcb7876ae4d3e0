// What ends a fuzzer beside the sanitizers.
#pragma once

#include <cstdio>
#include <cstdlib>

#include <gentl/gentl.h>

namespace fuzz
{

inline void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

/// Passes the result on if the interface knows it.
inline GC_ERROR known(GC_ERROR result)
{
    require(result == 0 || (result <= -1001 && result >= -1022) || result <= -10000,
            "unknown result code");
    return result;
}

} // namespace fuzz
