#pragma once

#include "zekovar/foundation/xcode.h"

#include <climits>

class String;

/// A date of which fields may be left open.
struct _Time_Absolute
{
    int minute;
    int hour;
    int day;
    int month;
    int year;
};

/// A distance in time.
struct _Time_Relative
{
    int minutes;
    int hours;
    int days;
    int months;
    int years;
    int weekday; ///< as the target of `SECONDS_SHIFT_WDAY`
};

/// A partly filled date that is resolved to the moment that it stands for as seen from the present, such as the next
/// run of a schedule or the next change of daylight-saving time.
///
///     _TimeSpecification daily;
///     daily.m_specification.hour = 3;
///     daily.m_specification.minute = 30;
///     _TimeSpecification::RESET_ZERO(daily.m_offset);
///     XCode code = daily.calculate(now, _TimeSpecification::SPEC_START, next, error); // 03:30 today or tomorrow
///
/// All seconds are those of calendar.h. No lock: also the operations that change nothing to the outside write a working
/// result, so one object belongs to one thread at a time. On failure `result` stays as it was and `error` tells why; on
/// success `error` stays.
class _TimeSpecification
{
public:
    /// How fields that are left open are resolved.
    enum SpecMode
    {
        SPEC_START = 0, ///< to the present, or to their lowest value where the date isn't the present one
        SPEC_END = 1    ///< to their highest value, which is 2036 for the year
    };

    /// A field that is left open.
    static constexpr int UNSET = INT_MIN;

    /// All fields of both members are `UNSET`.
    _TimeSpecification();

    /// Set all fields to `UNSET`.
    static void RESET_MIN(_Time_Absolute& time);
    static void RESET_MIN(_Time_Relative& time);

    /// Set all fields to 0.
    static void RESET_ZERO(_Time_Absolute& time);
    static void RESET_ZERO(_Time_Relative& time);

    /// With `SPEC_START` the first moment from `now` on that has the specified fields, which is one in the past only if
    /// the year is specified and has no later one; with `SPEC_END` the last moment that has them. A field that has
    /// passed carries into the next larger one that is open, whose value may then make a date that doesn't exist.
    ///
    /// The first field of the offset that isn't 0 shifts that moment. So that the shifted one comes after `now`, the date
    /// is looked for from `now` less the offset on: with a positive weekday from the start of the day behind the last
    /// such weekday, with a negative one from the end of the day behind the next one. An offset is 0, and not `UNSET`,
    /// if there is none.
    ///
    /// `now` and the specified fields are local time. If any field is specified, the result is UTC, by the offset that
    /// local time has at this moment; otherwise it is local time, too.
    ///
    /// Fails with `XCODE_FAILURE` and "Current date is invalid" if `now`, less the offset, isn't in 1970 to 2037, and
    /// with "Invalid date specification" if the result isn't or its date doesn't exist; with the code and the text of
    /// `ZK::Clock::GET_LOCALTIME_OFFSET` if that fails.
    XCode calculate(unsigned int const& now, SpecMode mode, unsigned int& result, String& error) const;

    /// The yearly rule of a change of daylight-saving time: the first moment from `now` on that is the specified month,
    /// day, hour and minute, shifted by the days, the weekday and the minutes of the offset, in this order, each unless
    /// it is `UNSET`. `now`, the specified fields and the result are in one time zone.
    ///
    /// A specified year gives that year's moment. With `SPEC_END` and without a year it is that of 2036, which is also
    /// the last one that is looked at. Fails as `calculate`, also if one of the four fields is `UNSET`.
    XCode calculateDST(unsigned int const& now, SpecMode mode, unsigned int& result, String& error) const;

    _Time_Absolute m_specification;
    _Time_Relative m_offset;

private:
    bool isAnySpecified() const;
    XCode shift(unsigned int& seconds) const;
    XCode unshift(unsigned int& seconds) const;

    /// Sets the working result to the date as seen from `present`, and returns its second.
    int resolve(_Time_Absolute const& present, int presentSecond, SpecMode mode) const;

    /// The working result as a moment, shifted as `calculateDST` tells.
    XCode toSecondsDST(unsigned int& seconds) const;

    // Each adds 1 to its field of the working result. A field that is specified, or at its end, hands that on to the
    // next larger one. Where the year is specified all stays as it was, with XCODE_FAILURE.
    XCode incrementResultYear() const;
    XCode incrementResultMonth() const;
    XCode incrementResultDay() const;
    XCode incrementResultHour() const;

    mutable _Time_Absolute m_result;
};
