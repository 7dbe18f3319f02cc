#pragma once

#include "zekovar/foundation/xcode.h"

#include <compare>
#include <ctime>

namespace ZK
{
/// A point on one of the system's clocks, or a span: seconds and nanoseconds, laid out as a `timespec`.
///
///     ZK::Time deadline = ZK::Time::NOW(ZK::Time::Source::MONOTONIC);
///     deadline.addMilliseconds(500);
///
/// A plain value without a lock. Sums that pass the largest second stay there.
class Time
{
public:
    /// The clock; a value that isn't listed means the monotonic one.
    enum class Source : unsigned int
    {
        MONOTONIC = 0,
        REALTIME = 1,
        PROCESS_CPU = 2,
        THREAD_CPU = 3
    };

    /// Units of `toString`; any value but `LONG` gives short ones.
    enum class Format : unsigned int
    {
        LONG = 0, ///< "2 hours 1 minute"
        SHORT = 1 ///< "2h 1m"
    };

    constexpr Time() noexcept : m_time{} {}

    constexpr explicit Time(time_t seconds, long nanoseconds = 0) noexcept : m_time{}
    {
        m_time.tv_sec = seconds;
        m_time.tv_nsec = nanoseconds;
    }

    constexpr explicit Time(timespec const& time) noexcept : m_time(time) {}

    time_t getSeconds() const { return m_time.tv_sec; }

    /// 0 to 999999999.
    long getNanoseconds() const { return m_time.tv_nsec; }

    operator timespec const&() const { return m_time; }

    /// Reads the clock. On failure the time stays as it is.
    XCode now(Source source);

    /// As `now`; zero if the clock can't be read.
    static Time NOW(Source source);

    /// The step of a clock; zero if it can't be read.
    static Time RESOLUTION(Source source);

    static clockid_t SOURCE_TO_CLOCK_ID(Source source);

    /// The whole days of a span, and the hours, minutes and seconds that are left.
    void getDays(unsigned int& days, unsigned int& hours, unsigned int& minutes, unsigned int& seconds) const;

    void clear();

    /// Keeps the time within the day.
    void clearDate();

    /// Keeps the whole days.
    void clearTime();

    Time& operator+=(unsigned long long milliseconds);

    /// Moves a deadline on. A negative number is a huge unsigned one and puts the deadline out of reach.
    void addMilliseconds(int milliseconds);

    /// From `earlier` to this time in whole milliseconds, rounded down; negative if `earlier` is the later one. Spans
    /// of more than 292 million years are cut.
    long long millisecondsSince(Time const& earlier) const;

    /// A span in words, such as "1 day 2 hours". `maxParts` limits the units that are shown, counted from the first one
    /// that isn't zero; `showFraction` adds 3, 6 or 9 digits of the second.
    String toString(Format format, int maxParts, bool showFraction) const;

    friend constexpr std::strong_ordering operator<=>(Time const& left, Time const& right)
    {
        if (auto const order = left.m_time.tv_sec <=> right.m_time.tv_sec; order != 0)
            return order;
        return left.m_time.tv_nsec <=> right.m_time.tv_nsec;
    }

    friend constexpr bool operator==(Time const& left, Time const& right)
    {
        return left.m_time.tv_sec == right.m_time.tv_sec && left.m_time.tv_nsec == right.m_time.tv_nsec;
    }

private:
    timespec m_time;
};
}
