#pragma once

#include "zekovar/foundation/xcode.h"

class String;

// Dates on a device whose clock may be set by hand: conversions between a number of seconds since 1970-01-01 00:00:00
// and its year, month and so on. The number knows no time zone: whoever makes it from local time gets local time back.
//
// A year is 1970 to 2037, a month 1 to 12, a day 1 to 31, an hour 0 to 23, a minute and a second 0 to 59, a millisecond
// 0 to 999, a weekday 0 (Sunday) to 6. Any other value fails with XCODE_FAILURE, as do seconds from 2038 on where a
// date is asked of them; time of day and weekday are there for all seconds. On failure the results stay as they were.
// All functions are safe from every thread.
//
//     unsigned int seconds;
//     DATE_TO_SECONDS(seconds, 2020, 1, 31);
//     SECONDS_SHIFT_MONTHS(seconds, 1); // 2020-02-29

/// A broken-down time, with fields that mean what they do in the C library's `tm`, but for `tm_yday`.
struct _RTC_Tm
{
    int tm_sec;
    int tm_min;
    int tm_hour;
    int tm_mday;
    int tm_mon;  ///< from 0
    int tm_year; ///< since 1900
    int tm_wday;
    int tm_yday; ///< from 0; February 29 isn't counted, so it shares its number with March 1
};

struct _OS_Timespec
{
    unsigned int seconds;
    unsigned int nanoseconds; ///< 0 to 999999999
};

/// @name To seconds
/// @{
XCode DATE_AND_TIME_TO_SECONDS(unsigned int& seconds, int year, int month, int day, int hour, int minute, int second);

/// Midnight of the day.
XCode DATE_TO_SECONDS(unsigned int& seconds, int year, int month, int day);

/// The time of day on 1970-01-01.
XCode TIME_TO_SECONDS(unsigned int& seconds, int hour, int minute, int second);

/// Weekday and day of the year don't matter.
XCode RTC_TM_TO_SECONDS(unsigned int& seconds, _RTC_Tm const& tm);

/// "2020-02-29T23:59:59". Here and below numbers are decimal, with or without zeros or blanks in front, and what stands
/// behind the last one doesn't matter.
XCode DATE_AND_TIME_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text);

/// "2020-02-29"
XCode DATE_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text);

/// "23:59:59"
XCode TIME_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text);
/// @}

/// @name From seconds
/// @{
XCode SECONDS_TO_RTC_TM(unsigned int const& seconds, _RTC_Tm& tm);
XCode SECONDS_TO_DATE_AND_TIME(unsigned int const& seconds, int& year, int& month, int& day, int& hour, int& minute,
                               int& second);
XCode SECONDS_TO_DATE_AND_TIME(unsigned int const& seconds, int& year, int& month, int& day, int& hour, int& minute,
                               int& second, int& weekday);
XCode SECONDS_TO_DATE(unsigned int const& seconds, int& year, int& month, int& day);
XCode SECONDS_TO_DATE(unsigned int const& seconds, int& year, int& month, int& day, int& weekday);
XCode SECONDS_TO_YEAR(unsigned int const& seconds, int& year);

/// Always succeeds.
XCode SECONDS_TO_TIME(unsigned int const& seconds, int& hour, int& minute, int& second);

/// Always succeeds.
XCode SECONDS_TO_WDAY(unsigned int const& seconds, int& weekday);

/// The number of days of the month.
XCode LAST_MDAY(int const& year, int const& month, int& day);
/// @}

/// @name Shifts
/// Move `seconds` on, or back for a negative count. They fail where the result would be below 0 or above 0xFFFFFFFE;
/// those by months and years where it, or the start, isn't in 1970 to 2037.
/// @{
XCode SECONDS_SHIFT_SECONDS(unsigned int& seconds, int const& count);
XCode SECONDS_SHIFT_MINUTES(unsigned int& seconds, int const& count);
XCode SECONDS_SHIFT_HOURS(unsigned int& seconds, int const& count);
XCode SECONDS_SHIFT_DAYS(unsigned int& seconds, int const& count);
XCode SECONDS_SHIFT_WEEKS(unsigned int& seconds, int const& count);

/// Keeps the day of the month, or takes the last one of a month that is too short; the time of day stays.
XCode SECONDS_SHIFT_MONTHS(unsigned int& seconds, int const& count);

/// As above: a year after February 29 comes February 28.
XCode SECONDS_SHIFT_YEARS(unsigned int& seconds, int const& count);

/// To the next day with the weekday `target`, or for a negative one to the last day with the weekday `-target`, today
/// counting in both cases; the time of day stays. Sunday is 7 or -7, because 0 doesn't shift. Numbers beyond 7 count
/// modulo 7.
XCode SECONDS_SHIFT_WDAY(unsigned int& seconds, int const& target);
/// @}

/// @name To text
/// @{

/// "2020-02-29"
XCode SECONDS_TO_DATE_AS_STRING(unsigned int const& seconds, String& text);

/// "23:59:59". Always succeeds.
XCode SECONDS_TO_TIME_AS_STRING(unsigned int const& seconds, String& text);

/// "23:59:59", or "23:59:59:999"
XCode TIMESPEC_TO_TIME_AS_STRING(_OS_Timespec const& time, bool withMilliseconds, String& text);

/// The numbers of `SECONDS_TO_DATE_AND_TIME` with leading zeros, with `dateSeparator` within the date, `separator`
/// behind it and `timeSeparator` within the time.
XCode SECONDS_TO_DATE_AND_TIME_AS_STRING(unsigned int const& seconds, String& text, String const& dateSeparator,
                                         String const& separator, String const& timeSeparator);

/// "2020-02-29T23:59:59:999"
XCode SECONDS_TO_DATE_AND_TIME_AS_STRING(unsigned int const& seconds, unsigned int const& milliseconds, String& text);

/// "Feb 29 23:59:59 ", with a blank at the end to go in front of a line of a log.
XCode SECONDS_TO_SYSLOG_TIME_AS_STRING(unsigned int const& seconds, String& text);

/// "Feb 29 23:59:59:999 "
XCode SECONDS_TO_SYSLOG_TIME_AS_STRING(unsigned int const& seconds, unsigned int const& milliseconds, String& text);
/// @}
