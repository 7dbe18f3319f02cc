#include "zekovar/foundation/time.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <limits>

using ZK::Time;

namespace
{
constexpr time_t DAY = 86400;

String shortForm(time_t seconds, long nanoseconds, int maxParts, bool showFraction = true)
{
    return Time(seconds, nanoseconds).toString(Time::Format::SHORT, maxParts, showFraction);
}
}

TEST(Time, ReadsTheClockOfTheSource)
{
    EXPECT_EQ(Time::SOURCE_TO_CLOCK_ID(Time::Source::REALTIME), CLOCK_REALTIME);
    EXPECT_EQ(Time::SOURCE_TO_CLOCK_ID(Time::Source(2)), CLOCK_PROCESS_CPUTIME_ID);
    EXPECT_EQ(Time::SOURCE_TO_CLOCK_ID(Time::Source(3)), CLOCK_THREAD_CPUTIME_ID);
    EXPECT_EQ(Time::SOURCE_TO_CLOCK_ID(Time::Source(99)), CLOCK_MONOTONIC);

    Time time;
    EXPECT_TRUE(time.now(Time::Source::MONOTONIC));
    EXPECT_LE(time, Time::NOW(Time::Source::MONOTONIC));
    EXPECT_GT(Time::NOW(Time::Source::REALTIME), Time(1600000000));
    EXPECT_GT(Time::RESOLUTION(Time::Source::REALTIME), Time());
}

TEST(Time, MillisecondsCarryIntoTheSecondsAndStayAtTheLargest)
{
    Time time(10, 999000000);
    time += 1;
    EXPECT_EQ(time, Time(11, 0));
    time.addMilliseconds(0x7FFFFFFF);
    EXPECT_EQ(time, Time(11 + 2147483, 647000000));
    time.addMilliseconds(-1);
    EXPECT_GT(time.getSeconds(), 0x7FFFFFFE) << "a negative wait has no limit";

    time = Time(std::numeric_limits<time_t>::max(), 999999999);
    time += 1;
    EXPECT_EQ(time.getSeconds(), std::numeric_limits<time_t>::max());
}

TEST(Time, DifferencesAreWholeMillisecondsRoundedDown)
{
    EXPECT_EQ(Time(5, 1999999).millisecondsSince(Time(4, 0)), 1001);
    EXPECT_EQ(Time(5, 100).millisecondsSince(Time(4, 999999900)), 0);
    EXPECT_EQ(Time(4, 0).millisecondsSince(Time(5, 0)), -1000);
    EXPECT_GT(Time(std::numeric_limits<time_t>::max()).millisecondsSince(Time(-1)), 0x7FFFFFFFLL);
    EXPECT_LT(Time(4, 999999999), Time(5, 0));
}

TEST(Time, SplitsIntoDaysAndTimeOfDay)
{
    Time time(3 * DAY + 4 * 3600 + 5 * 60 + 6, 7);
    unsigned int days, hours, minutes, seconds;
    time.getDays(days, hours, minutes, seconds);
    EXPECT_EQ(listed(days, hours, minutes, seconds), "3|4|5|6");

    Time date = time;
    time.clearDate();
    EXPECT_EQ(time, Time(4 * 3600 + 5 * 60 + 6, 7));
    date.clearTime();
    EXPECT_EQ(date, Time(3 * DAY));
}

TEST(Time, TextShowsUnitsFromTheFirstThatIsNotZero)
{
    EXPECT_EQ(shortForm(DAY + 2 * 3600 + 3 * 60 + 4, 0, 4), "1d 2h 3m 4s");
    EXPECT_EQ(Time(DAY + 3600 + 60 + 1).toString(Time::Format::LONG, 4, true), "1 day 1 hour 1 minute 1 seconds");
    EXPECT_EQ(Time(2 * DAY + 7200 + 120).toString(Time::Format::LONG, 4, true), "2 days 2 hours 2 minutes");
    EXPECT_EQ(Time(3661).toString(Time::Format::LONG, 2, true), "1 hour 1 minute");
    EXPECT_EQ(Time(0).toString(Time::Format::LONG, 4, true), "0 second");
    EXPECT_EQ(listed(shortForm(5, 0, 0), shortForm(3 * 60 + 4, 0, 1)), "0s|3m");
    EXPECT_EQ(listed(shortForm(DAY + 5, 0, 3), shortForm(DAY + 5, 0, 4)), "1d|1d 5s") << "units of zero take a place";
}

TEST(Time, TextShowsTheFractionAsFarAsPartsRemain)
{
    long const half = 500000000;
    EXPECT_EQ(listed(shortForm(1, half, 9), shortForm(1, half, 1), shortForm(1, half, 9, false)), "1.500s|1s|1s");
    EXPECT_EQ(listed(shortForm(0, 2003000, 9), shortForm(0, 2003004, 1)), "0.002003s|0.002s");
    EXPECT_EQ(listed(shortForm(0, 2003004, 2), shortForm(0, 2003004, 3)), "0.002003s|0.002003004s");
    EXPECT_EQ(listed(shortForm(0, 4, 1), shortForm(60, 5000000, 9)), "0.000000004s|1m 0.005s");
}
