#include "zekovar/foundation/time_date.h"

#include "zekovar/foundation/string.h"

#include <cstdint>

namespace
{
constexpr long long SECONDS_PER_MINUTE = 60;
}

XCode _TimeDate::setTime(_OS_Timespec const& time, int const& minutesWest)
{
    if (time.seconds < minutesWest * SECONDS_PER_MINUTE)
        return XCODE_FAILURE;
    m_seconds = time.seconds;
    m_nanoseconds = time.nanoseconds;
    m_minutesWest = minutesWest;
    return XCODE_SUCCESS;
}

XCode _TimeDate::getTime(_OS_Timespec& time, bool utc) const
{
    XCode code = getSeconds(time.seconds, utc);
    if (code)
        time.nanoseconds = m_nanoseconds;
    return code;
}

XCode _TimeDate::getSeconds(unsigned int& seconds, bool utc) const
{
    long long const wanted = m_seconds - (utc ? m_minutesWest * SECONDS_PER_MINUTE : 0);
    if (wanted < 0 || wanted > UINT32_MAX)
        return XCODE_FAILURE;
    seconds = static_cast<unsigned int>(wanted);
    return XCODE_SUCCESS;
}

XCode _TimeDate::getMinuteswest(int& minutesWest) const
{
    minutesWest = m_minutesWest;
    return XCODE_SUCCESS;
}

XCode _TimeDate::getOffsetAsString(String& text) const
{
    bool const isWest = m_minutesWest > 0;
    unsigned int const west = static_cast<unsigned int>(m_minutesWest);
    unsigned int const minutes = isWest ? west : 0 - west;
    text.format("%c%02u:%02u", isWest ? '-' : '+', minutes / 60, minutes % 60);
    return XCODE_SUCCESS;
}

XCode _TimeDate::getDateAsString(String& text, bool utc) const
{
    unsigned int seconds;
    XCode code = getSeconds(seconds, utc);
    return code ? SECONDS_TO_DATE_AS_STRING(seconds, text) : code;
}

XCode _TimeDate::getTimeAsString(String& text, bool utc) const
{
    unsigned int seconds;
    XCode code = getSeconds(seconds, utc);
    return code ? SECONDS_TO_TIME_AS_STRING(seconds, text) : code;
}

XCode _TimeDate::getAsString(String& text, bool utc, String const& dateSeparator, String const& separator,
                             String const& timeSeparator) const
{
    unsigned int seconds;
    XCode code = getSeconds(seconds, utc);
    if (code)
        code = SECONDS_TO_DATE_AND_TIME_AS_STRING(seconds, text, dateSeparator, separator, timeSeparator);
    return code;
}
