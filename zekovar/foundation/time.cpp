#include "zekovar/foundation/time.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"

#include <algorithm>
#include <climits>
#include <limits>

namespace
{
constexpr long NANOSECONDS_PER_SECOND = 1000000000;
constexpr long NANOSECONDS_PER_MILLISECOND = 1000000;
constexpr time_t SECONDS_PER_DAY = 86400;

/// The text of a span while it grows, unit by unit.
class SpanWriter
{
public:
    SpanWriter(bool isShort, int maxParts) : m_isShort(isShort), m_maxParts(maxParts) {}

    bool hasRoom() const { return m_parts < m_maxParts; }

    /// A zero is not written, but takes the place of a part between others.
    void addUnit(unsigned int value, char const* shortUnit, char const* singular, char const* plural)
    {
        if (addNumber(value))
            m_text += m_isShort ? shortUnit : value < 2 ? singular : plural;
    }

    /// Seconds and fraction share one unit.
    void addSeconds(unsigned int seconds, long nanoseconds)
    {
        bool isWritten = addNumber(seconds);
        if (nanoseconds > 0 && hasRoom())
        {
            if (!isWritten)
                addText("0");
            addFraction(nanoseconds);
            isWritten = true;
        }
        if (isWritten)
            m_text += m_isShort ? "s" : " seconds";
    }

    String take()
    {
        if (m_text.length() == 0)
            m_text.format("0%s", m_isShort ? "s" : " second");
        return m_text;
    }

private:
    bool addNumber(unsigned int value)
    {
        if (!hasRoom() || (value == 0 && m_parts == 0))
            return false;
        m_parts++;
        if (value != 0)
            addText(String::stringOf(value));
        return value != 0;
    }

    void addText(String const& text)
    {
        if (m_text.length() != 0)
            m_text += ' ';
        m_text += text;
    }

    void addFraction(long nanoseconds)
    {
        unsigned long const fraction = static_cast<unsigned long>(nanoseconds);
        if (fraction >= NANOSECONDS_PER_MILLISECOND)
            m_parts++;
        bool const showsMicroseconds = fraction / 1000 % 1000 != 0 && hasRoom();
        if (showsMicroseconds)
            m_parts++;
        if (fraction % 1000 != 0 && hasRoom())
            m_text.concatf(".%9.9lu", fraction);
        else if (showsMicroseconds)
            m_text.concatf(".%6.6lu", fraction / 1000);
        else
            m_text.concatf(".%3.3lu", fraction / NANOSECONDS_PER_MILLISECOND);
    }

    bool m_isShort;
    int m_maxParts;
    int m_parts = 0;
    String m_text;
};
}

namespace ZK
{
XCode Time::now(Source source)
{
    timespec time;
    XCode code = Detail::codeOfResult(clock_gettime(SOURCE_TO_CLOCK_ID(source), &time));
    if (code)
        m_time = time;
    return code;
}

Time Time::NOW(Source source)
{
    Time time;
    time.now(source);
    return time;
}

Time Time::RESOLUTION(Source source)
{
    timespec time{};
    clock_getres(SOURCE_TO_CLOCK_ID(source), &time);
    return Time(time);
}

clockid_t Time::SOURCE_TO_CLOCK_ID(Source source)
{
    switch (source)
    {
    case Source::REALTIME:
        return CLOCK_REALTIME;
    case Source::PROCESS_CPU:
        return CLOCK_PROCESS_CPUTIME_ID;
    case Source::THREAD_CPU:
        return CLOCK_THREAD_CPUTIME_ID;
    default:
        return CLOCK_MONOTONIC;
    }
}

void Time::getDays(unsigned int& days, unsigned int& hours, unsigned int& minutes, unsigned int& seconds) const
{
    days = static_cast<unsigned int>(m_time.tv_sec / SECONDS_PER_DAY);
    hours = static_cast<unsigned int>(m_time.tv_sec % SECONDS_PER_DAY / 3600);
    minutes = static_cast<unsigned int>(m_time.tv_sec % 3600 / 60);
    seconds = static_cast<unsigned int>(m_time.tv_sec % 60);
}

void Time::clear()
{
    m_time.tv_sec = 0;
    m_time.tv_nsec = 0;
}

void Time::clearDate()
{
    m_time.tv_sec %= SECONDS_PER_DAY;
}

void Time::clearTime()
{
    m_time.tv_sec -= m_time.tv_sec % SECONDS_PER_DAY;
    m_time.tv_nsec = 0;
}

Time& Time::operator+=(unsigned long long milliseconds)
{
    unsigned long long seconds = milliseconds / 1000;
    long long nanoseconds = m_time.tv_nsec + static_cast<long long>(milliseconds % 1000) * NANOSECONDS_PER_MILLISECOND;
    if (nanoseconds >= NANOSECONDS_PER_SECOND)
    {
        nanoseconds -= NANOSECONDS_PER_SECOND;
        seconds++;
    }
    m_time.tv_nsec = static_cast<long>(nanoseconds);
    if (__builtin_add_overflow(m_time.tv_sec, seconds, &m_time.tv_sec))
        m_time.tv_sec = std::numeric_limits<time_t>::max();
    return *this;
}

void Time::addMilliseconds(int milliseconds)
{
    *this += static_cast<unsigned long long>(static_cast<long long>(milliseconds));
}

long long Time::millisecondsSince(Time const& earlier) const
{
    constexpr long long LIMIT = LLONG_MAX / 1000 - 1; // a deadline out of reach is farther away than this
    long long seconds;
    if (__builtin_sub_overflow(m_time.tv_sec, earlier.m_time.tv_sec, &seconds))
        seconds = *this < earlier ? -LIMIT : LIMIT;
    seconds = std::clamp(seconds, -LIMIT, LIMIT);
    long nanoseconds = m_time.tv_nsec - earlier.m_time.tv_nsec;
    if (nanoseconds < 0)
    {
        nanoseconds += NANOSECONDS_PER_SECOND;
        seconds--;
    }
    return seconds * 1000 + nanoseconds / NANOSECONDS_PER_MILLISECOND;
}

String Time::toString(Format format, int maxParts, bool showFraction) const
{
    unsigned int days, hours, minutes, seconds;
    getDays(days, hours, minutes, seconds);

    SpanWriter span(format != Format::LONG, maxParts);
    span.addUnit(days, "d", " day", " days");
    span.addUnit(hours, "h", " hour", " hours");
    span.addUnit(minutes, "m", " minute", " minutes");
    span.addSeconds(seconds, showFraction ? m_time.tv_nsec : 0);
    return span.take();
}
}
