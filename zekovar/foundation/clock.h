#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/time.h"
#include "zekovar/foundation/xcode.h"

#include <ctime>

namespace ZK
{
/// A broken-down time in UTC or in the time zone of the process, which the environment variable TZ tells.
///
///     ZK::Clock const clock("2021-07-01T12:00:00", ZK::Clock::Zone::UTC);
///     String const text = clock.local().toString(ZK::Clock::Format::LONG);
///
/// A plain value without a lock. What converts to or from local time reads TZ anew each time, so another thread must
/// not change the environment meanwhile. Where daylight-saving time ends, local texts of one hour stand for two moments
/// and it is the C library's choice which one is meant; a clock that was made from seconds keeps its own.
class Clock
{
public:
    /// Any value but `LOCAL` means UTC.
    enum class Zone : unsigned int
    {
        LOCAL = 0,
        UTC = 1
    };

    /// Any value but `ISO` means the long one.
    enum class Format : unsigned int
    {
        ISO = 0, ///< "2021-07-01T12:00:00"
        LONG = 1 ///< "Thursday July 01 2021 12:00:00"
    };

    /// Invalid, in UTC.
    Clock() : m_tm{} {}

    /// @name Forms of `set`
    /// What `set` refuses makes an invalid clock.
    /// @{
    Clock(String const& text, Zone zone, unsigned int* consumed = nullptr);
    Clock(String const& text, char const* format, Zone zone, unsigned int* consumed = nullptr);
    Clock(long long seconds, Zone zone);
    Clock(Time const& time, Zone zone);
    /// @}

    /// Reads a text in the form "2021-07-01T12:00:00".
    XCode set(String const& text, Zone zone, unsigned int* consumed = nullptr);

    /// Reads a text by a format of `strptime`, which takes the fields one by one: a February 31 is valid and stands for
    /// a day in March. Without `consumed` the whole text must fit; otherwise it gets the number of characters that do.
    /// `XCODE_FAILURE`, an invalid clock and an untouched `consumed` if the text doesn't fit or the format is null.
    XCode set(String const& text, char const* format, Zone zone, unsigned int* consumed = nullptr);

    /// Takes a number of seconds since 1970 in UTC. One of more than 32 bits, or one that the system's `time_t` can't
    /// hold, counts as -1. `XCODE_FAILURE` and an invalid clock if the C library can't convert it.
    XCode set(long long seconds, Zone zone);

    /// As above with the time's seconds.
    XCode set(Time const& time, Zone zone);

    bool isValid() const { return m_isValid; }

    bool isLocal() const { return m_isLocal; }

    /// The moment, without a fraction of its second.
    Time toTime() const { return Time(getSeconds()); }

    /// Seconds since 1970 in UTC; -1 for an invalid clock, and for a time that `time_t` can't hold.
    time_t getSeconds() const;

    /// By a format of `strftime`, in the locale of the process. Empty for an invalid clock, a null format, and where
    /// the text would be longer than 63 characters.
    String toFormattedString(char const* format) const;

    String toString(Format format) const;

    /// The date and time of day, all 0 for an invalid clock.
    void breakDownClock(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                        unsigned short& minute, unsigned short& second) const;

    struct tm const& getClockStruct() const { return m_tm; }

    /// @name Zones
    /// The same moment in the other zone. An invalid clock stays as it is.
    /// @{
    void toLocal();
    void toUtc();
    Clock local() const;
    Clock utc() const;
    /// @}

    /// Takes the present moment by CLOCK_REALTIME.
    XCode now(Zone zone);
    static Clock NOW(Zone zone);

    /// Breaks `seconds` down, after it has read TZ. More than 32 bits count as -1. `XCODE_FAILURE` with `tm` as it was if
    /// the C library can't.
    XCode convertSeconds(long seconds, Zone zone, struct tm& tm) const;

    /// The distance of local time to UTC at this moment, in seconds, positive to the east. `XCODE_FAILURE` and "ERROR
    /// CREATING CLOCK OBJECTS" if the time can't be had.
    static XCode GET_LOCALTIME_OFFSET(int& seconds);

private:
    void changeTo(Zone zone);

    struct tm m_tm;
    bool m_isLocal = false;
    bool m_isValid = false;
};
}
