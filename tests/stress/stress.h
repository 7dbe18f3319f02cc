#pragma once

#include "zekovar/foundation/string.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

inline std::atomic<int> s_faults = 0;

/// Counts what doesn't hold and prints the first few cases.
inline void require(bool holds, char const* what)
{
    if (!holds && s_faults.fetch_add(1) < 10)
        std::fprintf(stderr, "broken: %s\n", what);
}

/// The body of `main`: calls `run` with the number of seconds, 1 unless --seconds says otherwise.
inline int stress(int argc, char** argv, void (*run)(int seconds))
{
    int const seconds = argc == 1 ? 1 : argc == 3 && String(argv[1]) == "--seconds" ? std::atoi(argv[2]) : 0;
    if (seconds < 1)
    {
        std::fprintf(stderr, "usage: %s [--seconds N]\n", argv[0]);
        return 2;
    }
    run(seconds);
    return s_faults == 0 ? 0 : 1;
}
