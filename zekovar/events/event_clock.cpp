#include "zekovar/events/event_clock.h"

#include <cstdint>

namespace
{
#if defined(__x86_64__) || defined(__i386__)
constexpr uint64_t YOUNG = 50000; // cycles: 50 microseconds at 1 GHz and less on anything faster

uint64_t readCounter()
{
    return __builtin_ia32_rdtsc();
}
#elif defined(__powerpc__)
constexpr uint64_t YOUNG = 1000; // of a time base of 20 MHz or more

uint64_t readCounter()
{
    return __builtin_ppc_get_timebase();
}
#else
constexpr uint64_t YOUNG = 0;

uint64_t readCounter()
{
    return 0;
}
#endif

struct Reading
{
    uint64_t counter = 0;
    ZK::Time time;
    bool isValid = false;
};

constinit thread_local Reading s_last;
}

namespace ZK::Detail
{
Time eventTime()
{
    Reading& last = s_last;
    uint64_t const counter = readCounter();
    if (counter - last.counter >= YOUNG || !last.isValid)
    {
        last.time = Time::NOW(Time::Source::MONOTONIC);
        last.counter = counter;
        last.isValid = true;
    }
    return last.time;
}
}
