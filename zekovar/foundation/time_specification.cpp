#include "zekovar/foundation/time_specification.h"

#include "zekovar/foundation/calendar.h"
#include "zekovar/foundation/clock.h"
#include "zekovar/foundation/string.h"

namespace
{
constexpr int FIRST_YEAR = 1970;
constexpr int LAST_RESULT_YEAR = 2036; // leaves room for what is added to the date

constexpr char const* INVALID_PRESENT = "Current date is invalid";
constexpr char const* INVALID_SPECIFICATION = "Invalid date specification";

constexpr _Time_Absolute allAbsolute(int value)
{
    return {value, value, value, value, value};
}

constexpr _Time_Relative allRelative(int value)
{
    return {value, value, value, value, value, value};
}

XCode failure(String& error, char const* text)
{
    error = text;
    return XCODE_FAILURE;
}

XCode toSeconds(unsigned int& seconds, _Time_Absolute const& time, int second)
{
    return DATE_AND_TIME_TO_SECONDS(seconds, time.year, time.month, time.day, time.hour, time.minute, second);
}

using Shift = XCode (*)(unsigned int&, int const&);

/// The part of an offset that counts, and the way there and back.
struct Step
{
    int count;
    Shift shift;
    Shift unshift;
};

template <Shift SHIFT>
XCode shiftBack(unsigned int& seconds, int const& count)
{
    return SHIFT(seconds, -count);
}

/// Goes back to the start of the day behind the last `weekday`, where the dates begin that the shift takes to the same
/// day; with a negative one, on to the end of the day behind the next `-weekday`. On such a day it stays.
XCode unshiftWeekday(unsigned int& seconds, int const& weekday)
{
    int const rest = weekday % 7; // whose neighbours are numbers, too
    unsigned int moved = seconds;
    XCode code = SECONDS_SHIFT_WDAY(moved, weekday > 0 ? -rest - 1 : 1 - rest);
    if (code.isErr() || moved == seconds)
        return code;
    int year, month, day;
    code = SECONDS_TO_DATE(moved, year, month, day);
    if (code.isErr())
        return code;
    return weekday > 0 ? DATE_TO_SECONDS(seconds, year, month, day)
                       : DATE_AND_TIME_TO_SECONDS(seconds, year, month, day, 23, 59, 59);
}

Step firstStepOf(_Time_Relative const& offset)
{
    Step const steps[] = {{offset.minutes, SECONDS_SHIFT_MINUTES, shiftBack<SECONDS_SHIFT_MINUTES>},
                          {offset.hours, SECONDS_SHIFT_HOURS, shiftBack<SECONDS_SHIFT_HOURS>},
                          {offset.days, SECONDS_SHIFT_DAYS, shiftBack<SECONDS_SHIFT_DAYS>},
                          {offset.months, SECONDS_SHIFT_MONTHS, shiftBack<SECONDS_SHIFT_MONTHS>},
                          {offset.years, SECONDS_SHIFT_YEARS, shiftBack<SECONDS_SHIFT_YEARS>},
                          {offset.weekday, SECONDS_SHIFT_WDAY, unshiftWeekday}};
    for (Step const& step : steps)
    {
        if (step.count != 0)
            return step;
    }
    return steps[0];
}
}

_TimeSpecification::_TimeSpecification()
    : m_specification(allAbsolute(UNSET)), m_offset(allRelative(UNSET)), m_result(allAbsolute(0))
{
}

void _TimeSpecification::RESET_MIN(_Time_Absolute& time)
{
    time = allAbsolute(UNSET);
}

void _TimeSpecification::RESET_MIN(_Time_Relative& time)
{
    time = allRelative(UNSET);
}

void _TimeSpecification::RESET_ZERO(_Time_Absolute& time)
{
    time = allAbsolute(0);
}

void _TimeSpecification::RESET_ZERO(_Time_Relative& time)
{
    time = allRelative(0);
}

XCode _TimeSpecification::calculate(unsigned int const& now, SpecMode mode, unsigned int& result, String& error) const
{
    bool const isLocal = isAnySpecified();
    unsigned int seconds = now;
    _Time_Absolute present;
    int second;
    if ((isLocal && unshift(seconds).isErr()) ||
        SECONDS_TO_DATE_AND_TIME(seconds, present.year, present.month, present.day, present.hour, present.minute,
                                 second)
            .isErr())
        return failure(error, INVALID_PRESENT);

    second = resolve(present, second, mode);
    if (toSeconds(seconds, m_result, second).isErr() || shift(seconds).isErr())
        return failure(error, INVALID_SPECIFICATION);

    if (isLocal)
    {
        int eastOfUtc;
        if (XCode code = ZK::Clock::GET_LOCALTIME_OFFSET(eastOfUtc); code.isErr())
        {
            error = code.toString();
            return code;
        }
        if (SECONDS_SHIFT_SECONDS(seconds, -eastOfUtc).isErr())
            return failure(error, INVALID_SPECIFICATION);
    }
    result = seconds;
    return XCODE_SUCCESS;
}

XCode _TimeSpecification::calculateDST(unsigned int const& now, SpecMode mode, unsigned int& result,
                                       String& error) const
{
    int year;
    if (SECONDS_TO_YEAR(now, year).isErr())
        return failure(error, INVALID_PRESENT);

    m_result = m_specification;
    bool const isYearGiven = m_specification.year != UNSET || mode == SPEC_END;
    if (m_specification.year == UNSET)
    {
        // a weekday may lead from the end of a year into the next one
        bool const startsEarlier = m_offset.weekday > 0 && year > FIRST_YEAR;
        m_result.year = isYearGiven ? LAST_RESULT_YEAR : startsEarlier ? year - 1 : year;
    }
    unsigned int seconds;
    for (;; ++m_result.year)
    {
        if (toSecondsDST(seconds).isErr())
            return failure(error, INVALID_SPECIFICATION);
        if (isYearGiven || seconds >= now || m_result.year >= LAST_RESULT_YEAR)
            break;
    }
    result = seconds;
    return XCODE_SUCCESS;
}

bool _TimeSpecification::isAnySpecified() const
{
    _Time_Absolute const& time = m_specification;
    return time.minute != UNSET || time.hour != UNSET || time.day != UNSET || time.month != UNSET || time.year != UNSET;
}

XCode _TimeSpecification::shift(unsigned int& seconds) const
{
    Step const step = firstStepOf(m_offset);
    return step.count == UNSET ? XCODE_FAILURE : step.shift(seconds, step.count);
}

XCode _TimeSpecification::unshift(unsigned int& seconds) const
{
    Step const step = firstStepOf(m_offset);
    // what is unset has no opposite
    return step.count == UNSET ? XCODE_FAILURE : step.unshift(seconds, step.count);
}

int _TimeSpecification::resolve(_Time_Absolute const& present, int presentSecond, SpecMode mode) const
{
    using Carry = XCode (_TimeSpecification::*)() const;
    bool isPresent = true; // whether all fields so far are those of the present
    auto const settle = [&](int _Time_Absolute::*field, int lowest, int highest, Carry carry)
    {
        int const wanted = m_specification.*field;
        int const current = present.*field;
        if (wanted == UNSET && mode != SPEC_END)
        {
            m_result.*field = isPresent ? current : lowest;
            return;
        }
        m_result.*field = wanted == UNSET ? highest : wanted;
        if (isPresent && wanted != UNSET && wanted < current && carry != nullptr)
            (this->*carry)(); // without a later date the one that has passed stays
        isPresent = isPresent && (wanted == UNSET ? highest <= current : wanted == current);
    };

    RESET_ZERO(m_result);
    settle(&_Time_Absolute::year, FIRST_YEAR, LAST_RESULT_YEAR, nullptr);
    settle(&_Time_Absolute::month, 1, 12, &_TimeSpecification::incrementResultYear);
    int lastDay = 0; // of a month that doesn't exist; converting the result fails then
    LAST_MDAY(m_result.year, m_result.month, lastDay);
    settle(&_Time_Absolute::day, 1, lastDay, &_TimeSpecification::incrementResultMonth);
    settle(&_Time_Absolute::hour, 0, 23, &_TimeSpecification::incrementResultDay);
    settle(&_Time_Absolute::minute, 0, 59, &_TimeSpecification::incrementResultHour);
    return mode == SPEC_END ? 59 : isPresent ? presentSecond : 0;
}

XCode _TimeSpecification::toSecondsDST(unsigned int& seconds) const
{
    XCode code = toSeconds(seconds, m_result, 0);
    if (code && m_offset.days != UNSET)
        code = SECONDS_SHIFT_DAYS(seconds, m_offset.days);
    if (code && m_offset.weekday != UNSET)
        code = SECONDS_SHIFT_WDAY(seconds, m_offset.weekday);
    if (code && m_offset.minutes != UNSET)
        code = SECONDS_SHIFT_MINUTES(seconds, m_offset.minutes);
    return code;
}

XCode _TimeSpecification::incrementResultYear() const
{
    if (m_specification.year != UNSET)
        return XCODE_FAILURE;
    ++m_result.year;
    return XCODE_SUCCESS;
}

XCode _TimeSpecification::incrementResultMonth() const
{
    bool const isSpecified = m_specification.month != UNSET;
    if (!isSpecified && m_result.month < 12)
    {
        ++m_result.month;
        return XCODE_SUCCESS;
    }
    XCode code = incrementResultYear();
    if (code && !isSpecified)
        m_result.month = 1;
    return code;
}

XCode _TimeSpecification::incrementResultDay() const
{
    bool const isSpecified = m_specification.day != UNSET;
    int lastDay = 0;
    LAST_MDAY(m_result.year, m_result.month, lastDay);
    if (!isSpecified && m_result.day < lastDay)
    {
        ++m_result.day;
        return XCODE_SUCCESS;
    }
    XCode code = incrementResultMonth();
    if (code && !isSpecified)
        m_result.day = 1;
    return code;
}

XCode _TimeSpecification::incrementResultHour() const
{
    bool const isSpecified = m_specification.hour != UNSET;
    if (!isSpecified && m_result.hour < 23)
    {
        ++m_result.hour;
        return XCODE_SUCCESS;
    }
    XCode code = incrementResultDay();
    if (code && !isSpecified)
        m_result.hour = 0;
    return code;
}
