// Seconds to a date with its time and back, beside the C library's gmtime_r and timegm, and what it takes to find the
// next moment of a schedule.

#include "zekovar/foundation/calendar.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/time_specification.h"

#include <benchmark/benchmark.h>

#include <ctime>

namespace
{
/// Moments all over 1970 to 2037, so that no branch is predicted by the date before.
unsigned int nextMoment(unsigned int& state)
{
    state = state * 1664525 + 1013904223;
    return state % 2145916800;
}

void convert(benchmark::State& state)
{
    unsigned int random = 1;
    for (auto _ : state)
    {
        int year, month, day, hour, minute, second;
        unsigned int seconds = nextMoment(random);
        SECONDS_TO_DATE_AND_TIME(seconds, year, month, day, hour, minute, second);
        DATE_AND_TIME_TO_SECONDS(seconds, year, month, day, hour, minute, second);
        benchmark::DoNotOptimize(seconds);
    }
}

void convertByLibc(benchmark::State& state)
{
    unsigned int random = 1;
    for (auto _ : state)
    {
        time_t seconds = nextMoment(random);
        tm broken;
        gmtime_r(&seconds, &broken);
        seconds = timegm(&broken);
        benchmark::DoNotOptimize(seconds);
    }
}

/// The next quarter past three on a first of the month; the time zone is looked at each time.
void calculate(benchmark::State& state)
{
    _TimeSpecification monthly;
    monthly.m_specification = {15, 3, 1, _TimeSpecification::UNSET, _TimeSpecification::UNSET};
    _TimeSpecification::RESET_ZERO(monthly.m_offset);
    unsigned int random = 1;
    for (auto _ : state)
    {
        unsigned int result = 0;
        String error;
        monthly.calculate(nextMoment(random), _TimeSpecification::SPEC_START, result, error);
        benchmark::DoNotOptimize(result);
    }
}
}

BENCHMARK(convert)->Name("Calendar/ThereAndBack/zekovar");
BENCHMARK(convertByLibc)->Name("Calendar/ThereAndBack/libc");
BENCHMARK(calculate)->Name("Calendar/NextOfSchedule/zekovar");
