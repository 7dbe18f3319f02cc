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

/// The body of `main`: calls `run` with the number that `option` gives, or else with `number`.
inline int stress(int argc, char** argv, char const* option, int number, void (*run)(int number))
{
    if (argc > 1)
        number = argc == 3 && String(argv[1]) == option ? std::atoi(argv[2]) : 0;
    if (number < 1)
    {
        std::fprintf(stderr, "usage: %s [%s N]\n", argv[0], option);
        return 2;
    }
    run(number);
    return s_faults == 0 ? 0 : 1;
}
