#include "zekovar/foundation/calendar.h"

#include "tests/foundation/calendar_reference.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <sstream>
#include <string>
#include <tuple>

namespace
{
using Shift = XCode (*)(unsigned int&, int const&);
}

TEST(Calendar, EveryDayIsThatOfTheCLibrary)
{
    for (unsigned int day = 0; day <= END_OF_2037 / DAY; ++day)
    {
        unsigned int const seconds = day * DAY + day * 7919 % DAY;
        tm const expected = brokenDown(static_cast<time_t>(seconds));
        int const countedLeapDay = expected.tm_year % 4 == 0 && expected.tm_mon > 1 ? 1 : 0;
        _RTC_Tm tm;
        ASSERT_TRUE(SECONDS_TO_RTC_TM(seconds, tm));
        ASSERT_EQ(listed(tm.tm_year, tm.tm_mon, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_wday, tm.tm_yday),
                  listed(expected.tm_year, expected.tm_mon, expected.tm_mday, expected.tm_hour, expected.tm_min,
                         expected.tm_sec, expected.tm_wday, expected.tm_yday - countedLeapDay));
        unsigned int back = 0;
        ASSERT_TRUE(RTC_TM_TO_SECONDS(back, tm));
        ASSERT_EQ(back, seconds);
        int last = 0;
        ASSERT_TRUE(LAST_MDAY(tm.tm_year + 1900, tm.tm_mon + 1, last));
        ASSERT_EQ(tm.tm_mday == last, brokenDown(static_cast<time_t>(seconds) + DAY).tm_mday == 1);
    }
}

TEST(Calendar, RefusesWhatIsNoDateAndLeavesTheResult)
{
    unsigned int seconds = 5;
    std::istringstream bad("1969-12-31T23:59:59 2038-01-01T00:00:00 2020-00-01T00:00:00 2020-13-01T00:00:00 "
                           "2020-257-01T00:00:00 2020-04-31T00:00:00 2021-02-29T00:00:00 2020-01-00T00:00:00 "
                           "2020-01-01T24:00:00 2020-01-01T00:60:00 2020-01-01T00:00:60 2020-01-01T-1:00:00 "
                           "4294969316-01-01T00:00:00 99999999999999999999-01-01T00:00:00 2020-01-01T00:00 x");
    for (std::string text; bad >> text;)
        EXPECT_EQ(DATE_AND_TIME_AS_STRING_TO_SECONDS(seconds, text.c_str()), XCODE_FAILURE) << text;
    EXPECT_TRUE(DATE_TO_SECONDS(seconds, INT_MIN, INT_MIN, INT_MIN).isErr());
    EXPECT_TRUE(RTC_TM_TO_SECONDS(seconds, {0, 0, 0, 1, INT_MAX, INT_MAX, 0, 0}).isErr());
    EXPECT_TRUE(TIME_AS_STRING_TO_SECONDS(seconds, "12:30").isErr());
    int year = 7, month = 7, day = 7, weekday = 7;
    EXPECT_TRUE(SECONDS_TO_DATE(END_OF_2037 + 1, year, month, day, weekday).isErr());
    EXPECT_TRUE(LAST_MDAY(2038, 1, day).isErr() && LAST_MDAY(2020, 13, day).isErr());
    EXPECT_EQ(listed(seconds, year, month, day, weekday), "5|7|7|7|7");
}

TEST(Calendar, ShiftsGoWhereTheCLibraryAndAWalkGo)
{
    std::mt19937 random(19);
    for (int i = 0; i < 3000; ++i)
    {
        time_t const start = static_cast<time_t>(random() % (END_OF_2037 + 1));
        int const count = static_cast<int>(random() % 401) - 200;
        auto const later = [start, count](int tm::*field, int unit)
        {
            tm moved = brokenDown(start);
            moved.*field += count * unit;
            return timegm(&moved);
        };

        std::tuple<Shift, int, time_t> const cases[] = {
            {SECONDS_SHIFT_SECONDS, count * 997, later(&tm::tm_sec, 997)},
            {SECONDS_SHIFT_MINUTES, count * 997, later(&tm::tm_min, 997)},
            {SECONDS_SHIFT_HOURS, count * 97, later(&tm::tm_hour, 97)},
            {SECONDS_SHIFT_DAYS, count, later(&tm::tm_mday, 1)},
            {SECONDS_SHIFT_WEEKS, count, later(&tm::tm_mday, 7)},
            {SECONDS_SHIFT_MONTHS, count, monthsLater(start, count)},
            {SECONDS_SHIFT_YEARS, count / 10, monthsLater(start, count / 10 * 12)},
            {SECONDS_SHIFT_WDAY, count % 15, nearestWeekday(start, count % 15)}};

        for (auto const& [shift, by, expected] : cases)
        {
            unsigned int seconds = static_cast<unsigned int>(start);
            if (expected < 0 || expected > static_cast<time_t>(END_OF_2037))
                continue;
            ASSERT_TRUE(shift(seconds, by));
            ASSERT_EQ(seconds, static_cast<unsigned int>(expected)) << start << " by " << by;
        }
    }
}

TEST(Calendar, ShiftsStopAtTheEndsOfTheirRange)
{
    for (Shift const shift : {SECONDS_SHIFT_SECONDS, SECONDS_SHIFT_MINUTES, SECONDS_SHIFT_HOURS, SECONDS_SHIFT_DAYS,
                              SECONDS_SHIFT_WEEKS, SECONDS_SHIFT_MONTHS, SECONDS_SHIFT_YEARS})
    {
        unsigned int first = 0, last = 0xFFFFFFFE;
        EXPECT_TRUE(shift(first, -1).isErr() && shift(first, INT_MIN).isErr());
        EXPECT_TRUE(shift(last, 1).isErr() && shift(last, INT_MAX).isErr());
        EXPECT_EQ(listed(first, last), "0|4294967294");
    }
    unsigned int first = 0, almost = 0xFFFFFFF0, end = END_OF_2037, wednesday = 1630454400;
    EXPECT_TRUE(SECONDS_SHIFT_WDAY(first, -3).isErr() && SECONDS_SHIFT_SECONDS(almost, 14));
    EXPECT_TRUE(SECONDS_SHIFT_MONTHS(end, 1).isErr() && SECONDS_SHIFT_YEARS(end, 1).isErr());
    EXPECT_TRUE(SECONDS_SHIFT_WDAY(wednesday, INT_MIN)) << "which is -2 modulo 7";
    EXPECT_EQ(listed(first, almost, end, wednesday), "0|4294967294|2145916799|1630368000");
}

TEST(Calendar, TextsShowTheNumbers)
{
    unsigned int seconds = 0;
    String texts[5];
    EXPECT_TRUE(DATE_AND_TIME_AS_STRING_TO_SECONDS(seconds, "2004-2-09T 3:4:05Z"));
    EXPECT_TRUE(TIMESPEC_TO_TIME_AS_STRING({seconds, 999999}, false, texts[0]));
    EXPECT_TRUE(TIMESPEC_TO_TIME_AS_STRING({seconds, 60999999}, true, texts[1]));
    EXPECT_TRUE(SECONDS_TO_DATE_AND_TIME_AS_STRING(seconds, 7, texts[2]));
    EXPECT_TRUE(SECONDS_TO_SYSLOG_TIME_AS_STRING(seconds, texts[3]));
    EXPECT_TRUE(SECONDS_TO_SYSLOG_TIME_AS_STRING(seconds, 999, texts[4]));
    EXPECT_TRUE(TIMESPEC_TO_TIME_AS_STRING({seconds, 1000000000}, false, texts[4]).isErr());
    EXPECT_TRUE(SECONDS_TO_DATE_AND_TIME_AS_STRING(seconds, 1000, texts[4]).isErr());
    EXPECT_TRUE(SECONDS_TO_SYSLOG_TIME_AS_STRING(END_OF_2037 + 1, texts[4]).isErr());
    EXPECT_EQ(listed(texts[0], texts[1], texts[2], texts[3], texts[4]),
              "03:04:05|03:04:05:060|2004-02-09T03:04:05:007|Feb 09 03:04:05 |Feb 09 03:04:05:999 ");
}
