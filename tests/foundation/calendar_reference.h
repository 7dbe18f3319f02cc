#pragma once

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <utility>

// Dates by the C library and by walking, to compare with.

constexpr time_t DAY = 86400;
constexpr unsigned int END_OF_2037 = 2145916799;

inline tm brokenDown(time_t seconds)
{
    tm result;
    return *gmtime_r(&seconds, &result);
}

/// The same day so many months later, or the last one of a shorter month.
inline time_t monthsLater(time_t seconds, int count)
{
    tm first = brokenDown(seconds);
    int const day = std::exchange(first.tm_mday, 1);
    first.tm_mon += count;
    tm next = first;
    ++next.tm_mon;
    return timegm(&first) + DAY * (std::min<time_t>(day, (timegm(&next) - timegm(&first)) / DAY) - 1);
}

/// Walks to the next such weekday, or for a negative one to the last, today counting.
inline time_t nearestWeekday(time_t seconds, int weekday)
{
    while (weekday != 0 && brokenDown(seconds).tm_wday != std::abs(weekday) % 7)
        seconds += weekday > 0 ? DAY : -DAY;
    return seconds;
}
