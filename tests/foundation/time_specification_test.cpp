#include "zekovar/foundation/time_specification.h"

#include "tests/foundation/calendar_reference.h"
#include "tests/string_printer.h"
#include "tests/time_zone.h"
#include "zekovar/foundation/calendar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>

namespace
{
constexpr int UNSET = _TimeSpecification::UNSET;
constexpr auto START = _TimeSpecification::SPEC_START;
constexpr auto END = _TimeSpecification::SPEC_END;

using Operation = XCode (_TimeSpecification::*)(unsigned int const&, _TimeSpecification::SpecMode, unsigned int&,
                                                String&) const;

String textOf(time_t seconds)
{
    String text;
    SECONDS_TO_DATE_AND_TIME_AS_STRING(static_cast<unsigned int>(seconds), text, "-", " ", ":");
    return text;
}

/// The result as text, or the error.
String resultOf(Operation operation, _Time_Absolute const& time, _Time_Relative const& offset, time_t now,
                _TimeSpecification::SpecMode mode)
{
    _TimeSpecification date;
    date.m_specification = time;
    date.m_offset = offset;
    unsigned int result = 7;
    String error;
    if ((date.*operation)(static_cast<unsigned int>(now), mode, result, error))
        return textOf(static_cast<time_t>(result));
    EXPECT_EQ(result, 7u);
    return error;
}

String calculated(_Time_Absolute const& time, _Time_Relative const& offset, char const* now,
                  _TimeSpecification::SpecMode mode = START)
{
    unsigned int seconds = 0;
    EXPECT_TRUE(DATE_AND_TIME_AS_STRING_TO_SECONDS(seconds, now));
    return resultOf(&_TimeSpecification::calculate, time, offset, static_cast<time_t>(seconds), mode);
}

time_t startOf(int year)
{
    return std::chrono::sys_days(std::chrono::year(year) / 1 / 1).time_since_epoch().count() * DAY;
}

bool fits(_Time_Absolute const& wanted, tm const& time)
{
    auto const isOpenOr = [](int field, int value) { return field == UNSET || field == value; };
    return isOpenOr(wanted.minute, time.tm_min) && isOpenOr(wanted.hour, time.tm_hour) &&
           isOpenOr(wanted.day, time.tm_mday) && isOpenOr(wanted.month, time.tm_mon + 1) &&
           isOpenOr(wanted.year, time.tm_year + 1900);
}

/// Walks by minutes from `from` to the end of `lastYear`: the first second that fits, or the last, or -1.
time_t search(_Time_Absolute const& wanted, time_t from, int lastYear, bool isLastWanted)
{
    time_t found = -1;
    tm time = brokenDown(from);
    for (time_t seconds = from - time.tm_sec; time.tm_year + 1900 <= lastYear; seconds += 60)
    {
        if (fits(wanted, time))
            found = isLastWanted ? seconds + 59 : std::max(seconds, from);
        if (found >= 0 && !isLastWanted)
            break;
        if (++time.tm_min == 60 && (time.tm_min = 0, ++time.tm_hour) == 24)
            time = brokenDown(seconds + 60);
    }
    return found;
}

time_t shifted(time_t seconds, _Time_Relative const& offset, int sign)
{
    seconds += sign * (offset.minutes * 60 + offset.hours * 3600 + offset.days * DAY);
    return monthsLater(seconds, sign * (offset.months + offset.years * 12));
}
}

TEST(TimeSpecification, ResolvesToWhatASearchByMinutesFinds)
{
    TimeZone const utc("UTC0");
    std::mt19937 random(9);
    auto const number = [&random](int first, int last)
    { return first + static_cast<int>(random() % static_cast<unsigned int>(last - first + 1)); };
    int exhausted = 0;
    for (int i = 0; i < 200; ++i)
    {
        int const year = number(1980, 2030);
        time_t const now = startOf(year) + number(0, 364 * 86400);
        // days that every month has, and at least one field
        int const specified = number(1, 31);
        auto const openOr = [&](int field, int value) { return (specified & field) != 0 ? value : UNSET; };
        _Time_Absolute const wanted{openOr(1, number(0, 59)), openOr(2, number(0, 23)), openOr(4, number(1, 28)),
                                    openOr(8, number(1, 12)), openOr(16, number(year - 1, year + 1))};
        _Time_Relative const offsets[] = {{},
                                          {number(-3000, 3000), 0, 0, 0, 0, 0},
                                          {0, number(-99, 99), 0, 0, 0, 0},
                                          {0, 0, number(-40, 40), 0, 0, 0},
                                          {0, 0, 0, number(-12, 12), 0, 0},
                                          {0, 0, 0, 0, number(-1, 1), 0}};
        _Time_Relative const offset = offsets[i % 6];
        String const context = listed(wanted.minute, wanted.hour, wanted.day, wanted.month, wanted.year, textOf(now));

        bool const isYearGiven = wanted.year != UNSET;
        int const endYear = isYearGiven ? wanted.year : 2036;
        ASSERT_EQ(resultOf(&_TimeSpecification::calculate, wanted, offset, now, END),
                  textOf(shifted(search(wanted, startOf(endYear), endYear, true), offset, 1)))
            << context.c_str();

        time_t from = shifted(now, offset, -1);
        int const fromYear = brokenDown(from).tm_year + 1900;
        if (isYearGiven && wanted.year != fromYear)
            from = startOf(wanted.year);
        time_t const found = search(wanted, from, isYearGiven ? wanted.year : 2037, false);
        String const start = resultOf(&_TimeSpecification::calculate, wanted, offset, now, START);
        exhausted += found < 0;
        if (found >= 0)
            ASSERT_EQ(start, textOf(shifted(found, offset, 1))) << context.c_str();
        else
            ASSERT_GT(start.compareTo(textOf(shifted(from, offset, 1))), 0) << "not in the past: " << context.c_str();
    }
    EXPECT_GT(exhausted, 3);
}

TEST(TimeSpecification, WhatHasPassedCarriesIntoOpenFieldsOnly)
{
    TimeZone const utc("UTC0");
    EXPECT_EQ(calculated({30, 3, UNSET, UNSET, UNSET}, {}, "2021-12-31T03:30:59"), "2021-12-31 03:30:59");
    EXPECT_EQ(calculated({30, 3, UNSET, UNSET, UNSET}, {}, "2021-12-31T03:31:00"), "2022-01-01 03:30:00");
    EXPECT_EQ(calculated({10, UNSET, UNSET, UNSET, UNSET}, {}, "2021-12-31T22:30:00"), "2021-12-31 23:10:00");
    EXPECT_EQ(calculated({UNSET, UNSET, UNSET, UNSET, 2019}, {}, "2021-05-06T07:08:09"), "2019-01-01 00:00:00");
    EXPECT_EQ(calculated({UNSET, 3, UNSET, UNSET, 2021}, {}, "2021-12-31T07:08:09"), "2021-12-31 03:00:00");
    EXPECT_EQ(calculated({UNSET, UNSET, 5, UNSET, 2021}, {}, "2021-12-20T07:08:09"), "2021-12-05 00:00:00");
    EXPECT_EQ(calculated({UNSET, UNSET, UNSET, 3, UNSET}, {}, "2036-05-06T07:08:09", END), "2037-03-31 23:59:59");
    for (_Time_Absolute const& wanted : {_Time_Absolute{UNSET, 3, 31, UNSET, UNSET}, {UNSET, UNSET, 1, 13, UNSET}})
        EXPECT_EQ(calculated(wanted, {}, "2021-01-31T04:00:00"), "Invalid date specification");
    for (_Time_Relative const& offset : {_Time_Relative{0, 0, 0, 0, 1, 0}, {0, 0, 0, UNSET, 0, 0}})
        EXPECT_EQ(calculated({0, 0, 1, 1, UNSET}, offset, "1970-09-01T00:00:00"), "Current date is invalid");
}

TEST(TimeSpecification, WeekdaysShiftThereAndBack)
{
    TimeZone const utc("UTC0");
    // the Friday on or after a first of the month; 2021-09-01 was a Wednesday
    auto const friday = [](char const* now) { return calculated({0, 12, 1, UNSET, UNSET}, {0, 0, 0, 0, 0, 5}, now); };
    EXPECT_EQ(friday("2021-09-03T13:00:00"), "2021-09-03 12:00:00") << "the whole day counts";
    EXPECT_EQ(friday("2021-09-04T00:00:00"), "2021-10-01 12:00:00");
    // the Sunday on or before it; the first is looked for from the end of the next Monday on
    auto const sunday = [](char const* now) { return calculated({0, 12, 1, UNSET, UNSET}, {0, 0, 0, 0, 0, -7}, now); };
    EXPECT_EQ(sunday("2021-08-28T00:00:00"), "2021-08-29 12:00:00");
    EXPECT_EQ(sunday("2021-10-29T00:00:00"), "2021-11-28 12:00:00");
    EXPECT_EQ(calculated({0, 12, 1, UNSET, UNSET}, {0, 0, 0, 0, 0, UNSET + 1}, "2021-08-28T00:00:00"),
              "2021-08-30 12:00:00")
        << "-1 modulo 7";
}

TEST(TimeSpecification, SpecifiedTimesAreLocal)
{
    TimeZone const east("<+0545>-5:45");
    _Time_Absolute open;
    _TimeSpecification::RESET_MIN(open);
    EXPECT_EQ(calculated({0, 12, UNSET, UNSET, UNSET}, {}, "2021-09-01T00:00:00"), "2021-09-01 06:15:00");
    EXPECT_EQ(calculated(open, {0, 2, 1, 0, 0, 0}, "2021-09-01T00:00:00"), "2021-09-01 02:00:00");
    EXPECT_EQ(calculated({0, 0, 1, 1, 1970}, {}, "2021-09-01T00:00:00"), "Invalid date specification");
}

TEST(TimeSpecification, RulesOfDaylightSavingTimeMatchTheCLibrary)
{
    struct
    {
        char const* zone;
        _Time_Absolute utc;
        _Time_Relative offset;
        int isDst; // from then on
    } const rules[] = {{"CET-1CEST,M3.5.0,M10.5.0/3", {0, 1, 31, 3, UNSET}, {UNSET, UNSET, UNSET, UNSET, UNSET, -7}, 1},
                       {"CET-1CEST,M3.5.0,M10.5.0/3", {0, 0, 31, 10, UNSET}, {60, UNSET, 0, UNSET, UNSET, -7}, 0},
                       {"EST5EDT,M3.2.0,M11.1.0", {0, 7, 1, 3, UNSET}, {UNSET, UNSET, 7, UNSET, UNSET, 7}, 1},
                       {"XXX0YYY,M6.5.0/0,M1.2.0/0", {0, 0, 24, 12, UNSET}, {-60, UNSET, 15, UNSET, UNSET, 7}, 0}};

    std::mt19937 random(9);
    for (auto const& rule : rules)
    {
        TimeZone const scope(rule.zone);
        auto const isDst = [](time_t seconds)
        {
            tm local;
            ::tzset();
            return localtime_r(&seconds, &local)->tm_isdst;
        };
        for (int i = 0; i < 20; ++i)
        {
            time_t const now = startOf(1972) + static_cast<time_t>(random() % (62U * 365 * 86400));
            time_t change = now / 3600 * 3600 + 3600;
            while (change < now + 2 * 366 * DAY && (isDst(change) != rule.isDst || isDst(change - 1) == rule.isDst))
                change += 3600;
            ASSERT_EQ(resultOf(&_TimeSpecification::calculateDST, rule.utc, rule.offset, now, START), textOf(change))
                << rule.zone << " after " << textOf(now).c_str();
        }
    }
}

TEST(TimeSpecification, RulesStayInTheirYearOrStopAt2036)
{
    auto const calculateDST = [](int year, time_t now, _TimeSpecification::SpecMode mode) {
        return resultOf(&_TimeSpecification::calculateDST, {0, 1, 31, 3, year}, _TimeSpecification().m_offset, now,
                        mode);
    };
    EXPECT_EQ(calculateDST(UNSET, 2095891200, START), "2036-03-31 01:00:00") << "though it has passed";
    EXPECT_EQ(calculateDST(UNSET, 922842000, START), "1999-03-31 01:00:00") << "which is the present";
    EXPECT_EQ(calculateDST(UNSET, 0, END), "2036-03-31 01:00:00");
    EXPECT_EQ(calculateDST(1999, 2095891200, START), "1999-03-31 01:00:00");
    EXPECT_EQ(calculateDST(1999, time_t{END_OF_2037} + 1, START), "Current date is invalid");
    EXPECT_EQ(calculateDST(1969, 0, START), "Invalid date specification");
}
