#include "zekovar/foundation/clock.h"

#include <limits>

namespace
{
constexpr char const* ISO_FORMAT = "%Y-%m-%dT%H:%M:%S";
constexpr char const* LONG_FORMAT = "%A %B %d %Y %H:%M:%S";

/// -1 for a number of more than 32 bits, signed or unsigned, and for one that `T` can't hold.
template <class T>
T limited(long long seconds)
{
    bool const fits = seconds >= std::numeric_limits<int>::min() &&
                      seconds <= static_cast<long long>(std::numeric_limits<unsigned int>::max()) &&
                      seconds <= static_cast<long long>(std::numeric_limits<T>::max());
    return fits ? static_cast<T>(seconds) : -1;
}

constexpr bool isLocalZone(ZK::Clock::Zone zone)
{
    return zone == ZK::Clock::Zone::LOCAL;
}
}

namespace ZK
{
Clock::Clock(String const& text, Zone zone, unsigned int* consumed) : Clock(text, ISO_FORMAT, zone, consumed)
{
}

Clock::Clock(String const& text, char const* format, Zone zone, unsigned int* consumed) : Clock()
{
    set(text, format, zone, consumed);
}

Clock::Clock(long long seconds, Zone zone) : Clock()
{
    set(seconds, zone);
}

Clock::Clock(Time const& time, Zone zone) : Clock()
{
    set(time, zone);
}

XCode Clock::set(String const& text, Zone zone, unsigned int* consumed)
{
    return set(text, ISO_FORMAT, zone, consumed);
}

XCode Clock::set(String const& text, char const* format, Zone zone, unsigned int* consumed)
{
    *this = Clock();
    m_isLocal = isLocalZone(zone);
    if (format == nullptr)
        return XCODE_FAILURE;
    struct tm parsed = {};
    parsed.tm_isdst = m_isLocal ? -1 : 0; // a text doesn't tell
    char const* const end = strptime(text.c_str(), format, &parsed);
    if (end == nullptr)
        return XCODE_FAILURE;
    int const length = static_cast<int>(end - text.c_str());
    if (consumed == nullptr && length != text.length())
        return XCODE_FAILURE;
    if (consumed != nullptr)
        *consumed = static_cast<unsigned int>(length);
    m_tm = parsed;
    m_isValid = true;
    return XCODE_SUCCESS;
}

XCode Clock::set(long long seconds, Zone zone)
{
    *this = Clock();
    m_isLocal = isLocalZone(zone);
    XCode code = convertSeconds(limited<long>(seconds), zone, m_tm);
    m_isValid = code.isSuccess();
    return code;
}

XCode Clock::set(Time const& time, Zone zone)
{
    return set(static_cast<long long>(time.getSeconds()), zone);
}

time_t Clock::getSeconds() const
{
    if (!m_isValid)
        return -1;
    struct tm copy = m_tm; // both functions normalise what they get
    return m_isLocal ? mktime(&copy) : timegm(&copy);
}

String Clock::toFormattedString(char const* format) const
{
    char buffer[64];
    if (!m_isValid || format == nullptr || strftime(buffer, sizeof buffer, format, &m_tm) == 0)
        return String();
    return String(buffer);
}

String Clock::toString(Format format) const
{
    return toFormattedString(format == Format::ISO ? ISO_FORMAT : LONG_FORMAT);
}

void Clock::breakDownClock(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                           unsigned short& minute, unsigned short& second) const
{
    year = m_isValid ? static_cast<unsigned short>(m_tm.tm_year + 1900) : 0;
    month = m_isValid ? static_cast<unsigned short>(m_tm.tm_mon + 1) : 0;
    day = static_cast<unsigned short>(m_tm.tm_mday); // an invalid clock has zeros here
    hour = static_cast<unsigned short>(m_tm.tm_hour);
    minute = static_cast<unsigned short>(m_tm.tm_min);
    second = static_cast<unsigned short>(m_tm.tm_sec);
}

void Clock::toLocal()
{
    if (!m_isLocal)
        changeTo(Zone::LOCAL);
}

void Clock::toUtc()
{
    if (m_isLocal)
        changeTo(Zone::UTC);
}

Clock Clock::local() const
{
    Clock clock(*this);
    clock.toLocal();
    return clock;
}

Clock Clock::utc() const
{
    Clock clock(*this);
    clock.toUtc();
    return clock;
}

XCode Clock::now(Zone zone)
{
    Time time;
    XCode code = time.now(Time::Source::REALTIME);
    return code ? set(time, zone) : code;
}

Clock Clock::NOW(Zone zone)
{
    Clock clock;
    clock.now(zone);
    return clock;
}

XCode Clock::convertSeconds(long seconds, Zone zone, struct tm& tm) const
{
    tzset();
    time_t const time = limited<time_t>(seconds);
    struct tm converted;
    if ((isLocalZone(zone) ? localtime_r(&time, &converted) : gmtime_r(&time, &converted)) == nullptr)
        return XCODE_FAILURE;
    tm = converted;
    return XCODE_SUCCESS;
}

XCode Clock::GET_LOCALTIME_OFFSET(int& seconds)
{
    Clock const here = NOW(Zone::LOCAL);
    Clock const there(here.toString(Format::ISO), Zone::UTC); // as if the same text stood for UTC
    if (!here.isValid() || !there.isValid())
    {
        XCode code(XCODE_FAILURE);
        code.setString("ERROR CREATING CLOCK OBJECTS");
        return code;
    }
    seconds = static_cast<int>(there.getSeconds() - here.getSeconds());
    return XCODE_SUCCESS;
}

void Clock::changeTo(Zone zone)
{
    if (m_isValid)
        set(static_cast<long long>(getSeconds()), zone);
}
}
