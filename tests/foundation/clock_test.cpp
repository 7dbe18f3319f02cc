#include "zekovar/foundation/clock.h"

#include "tests/string_printer.h"
#include "tests/time_zone.h"

#include <gtest/gtest.h>

using ZK::Clock;
using Zone = ZK::Clock::Zone;

namespace
{
constexpr char const* BERLIN = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr long long SPRING = 1616893200; // 2021-03-28T01:00:00Z
constexpr long long AUTUMN = 1635642000; // 2021-10-31T01:00:00Z

String textOf(long long seconds, Zone zone)
{
    return Clock(seconds, zone).toString(Clock::Format::ISO);
}

String broken(Clock const& clock)
{
    unsigned short year, month, day, hour, minute, second;
    clock.breakDownClock(year, month, day, hour, minute, second);
    return listed(clock.isValid(), year, month, day, hour, minute, second, clock.getSeconds());
}
}

TEST(Clock, ReadsATextAsAWholeOrCountsWhatItReads)
{
    unsigned int consumed = 99;
    Clock clock("2021-07-01T12:30:05", Zone::UTC);
    EXPECT_EQ(broken(clock), "true|2021|7|1|12|30|5|1625142605");
    EXPECT_EQ(clock.toString(Clock::Format::LONG), "Thursday July 01 2021 12:30:05");
    for (unsigned int length : {63, 64})
        EXPECT_EQ(clock.toFormattedString(String::repeat("x", length).c_str()).isEmpty(), length > 63);
    EXPECT_EQ(Clock("01/07/21", "%d/%m/%y", Zone::UTC).getSeconds(), 1625097600);
    EXPECT_FALSE(Clock(String("2021-07-01T12:30:05\0x", 21, 0, 21), Zone::UTC).isValid());
    EXPECT_TRUE(clock.set("25:00", "%H:%M", Zone::UTC, &consumed).isErr() && consumed == 99);
    EXPECT_TRUE(clock.set("2021-07-01T12:30:05.5", Zone::UTC).isErr());
    EXPECT_EQ(broken(clock).concat(clock.toString(Clock::Format::ISO)), "false|0|0|0|0|0|0|-1");
    EXPECT_TRUE(clock.set("2021-07-01T12:30:05.5", Zone::UTC, &consumed));
    EXPECT_EQ(listed(consumed, clock.getSeconds()), "19|1625142605");
}

TEST(Clock, TakesSecondsOf32Bits)
{
    EXPECT_EQ(Clock(ZK::Time(1625142605, 999999999), Zone::UTC).toString(Clock::Format::ISO), "2021-07-01T12:30:05");
    for (long long const seconds : {-1LL, 0x100000000LL, -0x80000001LL, 0x7FFFFFFFFFFFFFFFLL})
        EXPECT_EQ(textOf(seconds, Zone::UTC), "1969-12-31T23:59:59") << seconds;
    EXPECT_EQ(Clock(0xFFFFFFFF, Zone::UTC).getSeconds(), static_cast<time_t>(sizeof(time_t) > 4 ? 0xFFFFFFFF : -1));

    // not beside time(), which may be a tick behind CLOCK_REALTIME
    time_t const before = ZK::Time::NOW(ZK::Time::Source::REALTIME).getSeconds();
    time_t const now = Clock::NOW(Zone::LOCAL).getSeconds();
    EXPECT_TRUE(before <= now && now <= ZK::Time::NOW(ZK::Time::Source::REALTIME).getSeconds());
}

TEST(Clock, LocalTimeFollowsBothChangesOfDaylightSavingTime)
{
    TimeZone const berlin(BERLIN);
    EXPECT_EQ(listed(textOf(SPRING - 1, Zone::LOCAL), textOf(SPRING, Zone::LOCAL), textOf(AUTUMN - 1, Zone::LOCAL),
                     textOf(AUTUMN, Zone::LOCAL)),
              "2021-03-28T01:59:59|2021-03-28T03:00:00|2021-10-31T02:59:59|2021-10-31T02:00:00");
    EXPECT_EQ(Clock("2021-03-28T01:59:59", Zone::LOCAL).getSeconds(), SPRING - 1);
    EXPECT_EQ(Clock("2021-03-28T03:00:00", Zone::LOCAL).getSeconds(), SPRING);
    EXPECT_EQ(Clock("2021-10-31T01:59:59", Zone::LOCAL).getSeconds(), AUTUMN - 3601);
    EXPECT_EQ(Clock("2021-10-31T03:00:00", Zone::LOCAL).utc().toString(Clock::Format::ISO), "2021-10-31T02:00:00");
    EXPECT_FALSE(Clock().local().isLocal()) << "an invalid clock stays as it is";
}

TEST(Clock, LocalClocksKeepTheirMomentInEveryZone)
{
    for (char const* zone : {"UTC0", BERLIN, "EST5EDT,M3.2.0,M11.1.0", "NZST-12NZDT,M9.5.0,M4.1.0/3", "<+0545>-5:45"})
    {
        TimeZone const scope(zone);
        for (long long seconds = 1609459200; seconds < 1609459200 + 365 * 86400; seconds += 1800)
        {
            Clock const local = Clock(seconds, Zone::UTC).local();
            ASSERT_TRUE(local.isLocal() && local.getSeconds() == seconds && local.utc().getSeconds() == seconds)
                << zone << " " << seconds;
        }
    }
}

TEST(Clock, LocalOffsetIsPositiveEastOfUtc)
{
    for (auto const& [zone, expected] : {std::pair("UTC0", 0), {"<+0545>-5:45", 20700}, {"EST5", -18000}})
    {
        TimeZone const scope(zone);
        int seconds = 1;
        EXPECT_TRUE(Clock::GET_LOCALTIME_OFFSET(seconds));
        EXPECT_EQ(seconds, expected);
    }
}
