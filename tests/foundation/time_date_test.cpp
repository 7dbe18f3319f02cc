#include "zekovar/foundation/time_date.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <climits>

TEST(TimeDate, TakesTheOffsetFromLocalTimeForUtcUnlessThatLeadsOutOfTheSeconds)
{
    _TimeDate date;
    _OS_Timespec time{};
    String texts[4];
    EXPECT_TRUE(date.setTime({90000, 5}, 90) && date.getTime(time, true));
    EXPECT_TRUE(date.setTime({5399, 7}, 90).isErr());
    EXPECT_TRUE(date.getDateAsString(texts[0], true) && date.getTimeAsString(texts[1], true));
    EXPECT_TRUE(date.getAsString(texts[2], false, "/", " at ", ".") && date.getOffsetAsString(texts[3]));
    EXPECT_EQ(listed(time.seconds, time.nanoseconds, texts[0], texts[1], texts[2], texts[3]),
              "84600|5|1970-01-01|23:30:00|1970/01/02 at 01.00.00|-01:30");

    EXPECT_TRUE(date.setTime({0xFFFFFFFF, 7}, INT_MAX).isErr());
    EXPECT_TRUE(date.setTime({0xFFFFFFFF, 0}, INT_MIN + 1) && date.getOffsetAsString(texts[3]));
    EXPECT_TRUE(date.getTime(time, true).isErr() && date.getTimeAsString(texts[1], true).isErr());
    EXPECT_EQ(listed(time.seconds, texts[1], texts[3]), "84600|23:30:00|+35791394:07");
}
