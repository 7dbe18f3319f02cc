#include "zekovar/foundation/calendar.h"

#include <chrono>

namespace
{
namespace chrono = std::chrono;

constexpr int SECONDS_PER_MINUTE = 60;
constexpr int SECONDS_PER_HOUR = 3600;
constexpr int SECONDS_PER_DAY = 86400;
constexpr int SECONDS_PER_WEEK = 7 * SECONDS_PER_DAY;
constexpr long long MAX_SECONDS = 0xFFFFFFFE;

constexpr int FIRST_YEAR = 1970;
constexpr int LAST_YEAR = 2037;
constexpr unsigned int END_DAY = chrono::sys_days(chrono::year(LAST_YEAR + 1) / 1 / 1).time_since_epoch().count();

constexpr int MONTHS_PER_YEAR = 12;
constexpr int DAYS_PER_WEEK = 7;
constexpr unsigned int FIRST_WEEKDAY = 4; // 1970-01-01 was a Thursday

struct Date
{
    int year;
    int month;
    int day;
};

struct TimeOfDay
{
    int hour;
    int minute;
    int second;
};

constexpr bool isIn(int value, int first, int last)
{
    return first <= value && value <= last;
}

/// For a valid month.
int lastDayOf(int year, int month)
{
    chrono::year_month_day_last const last = chrono::year(year) / month / chrono::last;
    return static_cast<int>(static_cast<unsigned int>(last.day()));
}

bool toDate(unsigned int seconds, Date& date)
{
    unsigned int const day = seconds / SECONDS_PER_DAY;
    if (day >= END_DAY)
        return false;
    chrono::year_month_day const found{chrono::sys_days(chrono::days(day))};
    date = {static_cast<int>(found.year()), static_cast<int>(static_cast<unsigned int>(found.month())),
            static_cast<int>(static_cast<unsigned int>(found.day()))};
    return true;
}

TimeOfDay toTimeOfDay(unsigned int seconds)
{
    int const rest = static_cast<int>(seconds % SECONDS_PER_DAY);
    return {rest / SECONDS_PER_HOUR, rest / SECONDS_PER_MINUTE % 60, rest % SECONDS_PER_MINUTE};
}

int toWeekday(unsigned int seconds)
{
    return static_cast<int>((seconds / SECONDS_PER_DAY + FIRST_WEEKDAY) % DAYS_PER_WEEK);
}

XCode toSeconds(unsigned int& seconds, Date const& date, TimeOfDay const& time)
{
    if (!isIn(date.year, FIRST_YEAR, LAST_YEAR) || !isIn(date.month, 1, MONTHS_PER_YEAR) ||
        !isIn(date.day, 1, lastDayOf(date.year, date.month)) || !isIn(time.hour, 0, 23) || !isIn(time.minute, 0, 59) ||
        !isIn(time.second, 0, 59))
        return XCODE_FAILURE;
    chrono::sys_days const day = chrono::year(date.year) / date.month / date.day;
    seconds = static_cast<unsigned int>(day.time_since_epoch().count()) * SECONDS_PER_DAY +
              static_cast<unsigned int>(time.hour * SECONDS_PER_HOUR + time.minute * SECONDS_PER_MINUTE + time.second);
    return XCODE_SUCCESS;
}

XCode shift(unsigned int& seconds, int count, int unit)
{
    long long const shifted = seconds + static_cast<long long>(count) * unit;
    if (shifted < 0 || shifted > MAX_SECONDS)
        return XCODE_FAILURE;
    seconds = static_cast<unsigned int>(shifted);
    return XCODE_SUCCESS;
}

XCode shiftMonths(unsigned int& seconds, long long count)
{
    Date date;
    if (!toDate(seconds, date))
        return XCODE_FAILURE;
    long long const months = (date.year - FIRST_YEAR) * MONTHS_PER_YEAR + date.month - 1 + count;
    if (months < 0 || months > (LAST_YEAR - FIRST_YEAR) * MONTHS_PER_YEAR + MONTHS_PER_YEAR - 1)
        return XCODE_FAILURE;
    date.year = FIRST_YEAR + static_cast<int>(months / MONTHS_PER_YEAR);
    date.month = static_cast<int>(months % MONTHS_PER_YEAR) + 1;
    int const last = lastDayOf(date.year, date.month);
    if (date.day > last)
        date.day = last;
    return toSeconds(seconds, date, toTimeOfDay(seconds));
}
}

XCode DATE_AND_TIME_TO_SECONDS(unsigned int& seconds, int year, int month, int day, int hour, int minute, int second)
{
    return toSeconds(seconds, {year, month, day}, {hour, minute, second});
}

XCode DATE_TO_SECONDS(unsigned int& seconds, int year, int month, int day)
{
    return toSeconds(seconds, {year, month, day}, {0, 0, 0});
}

XCode TIME_TO_SECONDS(unsigned int& seconds, int hour, int minute, int second)
{
    return toSeconds(seconds, {FIRST_YEAR, 1, 1}, {hour, minute, second});
}

XCode RTC_TM_TO_SECONDS(unsigned int& seconds, _RTC_Tm const& tm)
{
    if (!isIn(tm.tm_year, 0, LAST_YEAR) || !isIn(tm.tm_mon, 0, MONTHS_PER_YEAR)) // keeps the sums from an overflow
        return XCODE_FAILURE;
    return toSeconds(seconds, {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday}, {tm.tm_hour, tm.tm_min, tm.tm_sec});
}

XCode SECONDS_TO_RTC_TM(unsigned int const& seconds, _RTC_Tm& tm)
{
    static constexpr int DAYS_BEFORE[MONTHS_PER_YEAR] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    Date date;
    if (!toDate(seconds, date))
        return XCODE_FAILURE;
    TimeOfDay const time = toTimeOfDay(seconds);
    tm = {time.second,    time.minute,      time.hour,          date.day,
          date.month - 1, date.year - 1900, toWeekday(seconds), DAYS_BEFORE[date.month - 1] + date.day - 1};
    return XCODE_SUCCESS;
}

XCode SECONDS_TO_DATE_AND_TIME(unsigned int const& seconds, int& year, int& month, int& day, int& hour, int& minute,
                               int& second)
{
    XCode code = SECONDS_TO_DATE(seconds, year, month, day);
    if (code)
        SECONDS_TO_TIME(seconds, hour, minute, second);
    return code;
}

XCode SECONDS_TO_DATE_AND_TIME(unsigned int const& seconds, int& year, int& month, int& day, int& hour, int& minute,
                               int& second, int& weekday)
{
    XCode code = SECONDS_TO_DATE_AND_TIME(seconds, year, month, day, hour, minute, second);
    if (code)
        weekday = toWeekday(seconds);
    return code;
}

XCode SECONDS_TO_DATE(unsigned int const& seconds, int& year, int& month, int& day)
{
    Date date;
    if (!toDate(seconds, date))
        return XCODE_FAILURE;
    year = date.year;
    month = date.month;
    day = date.day;
    return XCODE_SUCCESS;
}

XCode SECONDS_TO_DATE(unsigned int const& seconds, int& year, int& month, int& day, int& weekday)
{
    XCode code = SECONDS_TO_DATE(seconds, year, month, day);
    if (code)
        weekday = toWeekday(seconds);
    return code;
}

XCode SECONDS_TO_YEAR(unsigned int const& seconds, int& year)
{
    int month, day;
    return SECONDS_TO_DATE(seconds, year, month, day);
}

XCode SECONDS_TO_TIME(unsigned int const& seconds, int& hour, int& minute, int& second)
{
    TimeOfDay const time = toTimeOfDay(seconds);
    hour = time.hour;
    minute = time.minute;
    second = time.second;
    return XCODE_SUCCESS;
}

XCode SECONDS_TO_WDAY(unsigned int const& seconds, int& weekday)
{
    weekday = toWeekday(seconds);
    return XCODE_SUCCESS;
}

XCode LAST_MDAY(int const& year, int const& month, int& day)
{
    if (!isIn(year, FIRST_YEAR, LAST_YEAR) || !isIn(month, 1, MONTHS_PER_YEAR))
        return XCODE_FAILURE;
    day = lastDayOf(year, month);
    return XCODE_SUCCESS;
}

XCode SECONDS_SHIFT_SECONDS(unsigned int& seconds, int const& count)
{
    return shift(seconds, count, 1);
}

XCode SECONDS_SHIFT_MINUTES(unsigned int& seconds, int const& count)
{
    return shift(seconds, count, SECONDS_PER_MINUTE);
}

XCode SECONDS_SHIFT_HOURS(unsigned int& seconds, int const& count)
{
    return shift(seconds, count, SECONDS_PER_HOUR);
}

XCode SECONDS_SHIFT_DAYS(unsigned int& seconds, int const& count)
{
    return shift(seconds, count, SECONDS_PER_DAY);
}

XCode SECONDS_SHIFT_WEEKS(unsigned int& seconds, int const& count)
{
    return shift(seconds, count, SECONDS_PER_WEEK);
}

XCode SECONDS_SHIFT_MONTHS(unsigned int& seconds, int const& count)
{
    return shiftMonths(seconds, count);
}

XCode SECONDS_SHIFT_YEARS(unsigned int& seconds, int const& count)
{
    return shiftMonths(seconds, static_cast<long long>(count) * MONTHS_PER_YEAR);
}

XCode SECONDS_SHIFT_WDAY(unsigned int& seconds, int const& target)
{
    if (target == 0)
        return XCODE_SUCCESS;
    int const remainder = target % DAYS_PER_WEEK;
    int days = (remainder < 0 ? -remainder : remainder) - toWeekday(seconds);
    if (days < 0)
        days += DAYS_PER_WEEK;
    if (target < 0 && days > 0)
        days -= DAYS_PER_WEEK;
    return shift(seconds, days, SECONDS_PER_DAY);
}
