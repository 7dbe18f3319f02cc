#include "zekovar/foundation/calendar.h"

#include "zekovar/foundation/string.h"

#include <climits>
#include <cstdio>

namespace
{
constexpr unsigned int NANOSECONDS_PER_MILLISECOND = 1000000;
constexpr unsigned int NANOSECONDS_PER_SECOND = 1000000000;

constexpr char const* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr int MAX_NUMBERS = 6;

/// Reads `count` numbers. They get more bits than they need, because what doesn't fit would wrap in an `int`.
bool readNumbers(String const& text, char const* format, int count, int* numbers)
{
    long long values[MAX_NUMBERS];
    if (std::sscanf(text.c_str(), format, &values[0], &values[1], &values[2], &values[3], &values[4], &values[5]) !=
        count)
        return false;
    for (int i = 0; i < count; ++i)
    {
        if (values[i] < INT_MIN || values[i] > INT_MAX)
            return false;
        numbers[i] = static_cast<int>(values[i]);
    }
    return true;
}

void appendMilliseconds(String& text, unsigned int milliseconds)
{
    text.concatf(":%03u", milliseconds);
}

bool isMillisecond(unsigned int milliseconds)
{
    return milliseconds < 1000;
}

/// "Feb 29 23:59:59"
XCode syslogTime(unsigned int seconds, String& text)
{
    int year, month, day, hour, minute, second;
    XCode code = SECONDS_TO_DATE_AND_TIME(seconds, year, month, day, hour, minute, second);
    if (code)
        text.format("%3s %02d %02d:%02d:%02d", MONTHS[month - 1], day, hour, minute, second);
    return code;
}
}

XCode DATE_AND_TIME_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text)
{
    int n[6];
    if (!readNumbers(text, "%lld-%lld-%lldT%lld:%lld:%lld", 6, n))
        return XCODE_FAILURE;
    return DATE_AND_TIME_TO_SECONDS(seconds, n[0], n[1], n[2], n[3], n[4], n[5]);
}

XCode DATE_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text)
{
    int n[3];
    return readNumbers(text, "%lld-%lld-%lld", 3, n) ? DATE_TO_SECONDS(seconds, n[0], n[1], n[2]) : XCODE_FAILURE;
}

XCode TIME_AS_STRING_TO_SECONDS(unsigned int& seconds, String const& text)
{
    int n[3];
    return readNumbers(text, "%lld:%lld:%lld", 3, n) ? TIME_TO_SECONDS(seconds, n[0], n[1], n[2]) : XCODE_FAILURE;
}

XCode SECONDS_TO_DATE_AS_STRING(unsigned int const& seconds, String& text)
{
    int year, month, day;
    XCode code = SECONDS_TO_DATE(seconds, year, month, day);
    if (code)
        text.format("%04d-%02d-%02d", year, month, day);
    return code;
}

XCode SECONDS_TO_TIME_AS_STRING(unsigned int const& seconds, String& text)
{
    int hour, minute, second;
    XCode code = SECONDS_TO_TIME(seconds, hour, minute, second);
    if (code)
        text.format("%02d:%02d:%02d", hour, minute, second);
    return code;
}

XCode TIMESPEC_TO_TIME_AS_STRING(_OS_Timespec const& time, bool withMilliseconds, String& text)
{
    if (time.nanoseconds >= NANOSECONDS_PER_SECOND)
        return XCODE_FAILURE;
    XCode code = SECONDS_TO_TIME_AS_STRING(time.seconds, text);
    if (code && withMilliseconds)
        appendMilliseconds(text, time.nanoseconds / NANOSECONDS_PER_MILLISECOND);
    return code;
}

XCode SECONDS_TO_DATE_AND_TIME_AS_STRING(unsigned int const& seconds, String& text, String const& dateSeparator,
                                         String const& separator, String const& timeSeparator)
{
    int year, month, day, hour, minute, second;
    XCode code = SECONDS_TO_DATE_AND_TIME(seconds, year, month, day, hour, minute, second);
    if (code)
        text.format("%04d%s%02d%s%02d%s%02d%s%02d%s%02d", year, dateSeparator.c_str(), month, dateSeparator.c_str(),
                    day, separator.c_str(), hour, timeSeparator.c_str(), minute, timeSeparator.c_str(), second);
    return code;
}

XCode SECONDS_TO_DATE_AND_TIME_AS_STRING(unsigned int const& seconds, unsigned int const& milliseconds, String& text)
{
    if (!isMillisecond(milliseconds))
        return XCODE_FAILURE;
    XCode code = SECONDS_TO_DATE_AND_TIME_AS_STRING(seconds, text, "-", "T", ":");
    if (code)
        appendMilliseconds(text, milliseconds);
    return code;
}

XCode SECONDS_TO_SYSLOG_TIME_AS_STRING(unsigned int const& seconds, String& text)
{
    XCode code = syslogTime(seconds, text);
    if (code)
        text += ' ';
    return code;
}

XCode SECONDS_TO_SYSLOG_TIME_AS_STRING(unsigned int const& seconds, unsigned int const& milliseconds, String& text)
{
    if (!isMillisecond(milliseconds))
        return XCODE_FAILURE;
    XCode code = syslogTime(seconds, text);
    if (code)
    {
        appendMilliseconds(text, milliseconds);
        text += ' ';
    }
    return code;
}
