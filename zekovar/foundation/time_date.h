#pragma once

#include "zekovar/foundation/calendar.h"

class String;

/// A timestamp of local time with its offset to UTC, such as a configuration stores.
///
/// The operations with `utc` set take the offset, in minutes, from the local time; they fail with `XCODE_FAILURE` where
/// that gives less than 0 or more than 32 bits hold, and leave their result as it was, as on every failure of the
/// functions of calendar.h, which they use. A plain value without a lock.
class _TimeDate
{
public:
    /// 1970-01-01 00:00:00 without an offset.
    _TimeDate() = default;

    _TimeDate(_TimeDate const&) = default;
    _TimeDate& operator=(_TimeDate const&) = default;
    virtual ~_TimeDate() = default;

    /// Takes local time and offset. `XCODE_FAILURE`, with nothing taken, if there are fewer seconds than the offset has.
    XCode setTime(_OS_Timespec const& time, int const& minutesWest);

    XCode getTime(_OS_Timespec& time, bool utc) const;
    XCode getSeconds(unsigned int& seconds, bool utc) const;

    /// Always succeeds.
    XCode getMinuteswest(int& minutesWest) const;

    /// "+01:30" for an offset of -90 minutes, "-01:30" for 90. Always succeeds.
    XCode getOffsetAsString(String& text) const;

    /// "2020-02-29"
    XCode getDateAsString(String& text, bool utc) const;

    /// "23:59:59"
    XCode getTimeAsString(String& text, bool utc) const;

    /// As `SECONDS_TO_DATE_AND_TIME_AS_STRING` with the same separators.
    XCode getAsString(String& text, bool utc, String const& dateSeparator, String const& separator,
                      String const& timeSeparator) const;

private:
    unsigned int m_seconds = 0; // of local time
    unsigned int m_nanoseconds = 0;
    int m_minutesWest = 0;
};
