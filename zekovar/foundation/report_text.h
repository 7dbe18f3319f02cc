#pragma once

#include "zekovar/foundation/string.h"

// What report lines are made of. All functions are safe from every thread; the texts are constants.

/// @name Runs of one character
/// `count` blanks, at most 250, or `count` times "-", "=" or "*", at most 252: the end of a constant text.
/// @{
char const* SPACES(unsigned int count);
char const* LINES(unsigned int count);
char const* DOUBLE_LINES(unsigned int count);
char const* STARS(unsigned int count);

/// @}

/// @name Names of truth values
/// `_CC` begins with a capital, `_UC` is all capitals.
/// @{
constexpr char const* YES_NO(bool value)
{
    return value ? "yes" : "no";
}

constexpr char const* YES_NO_CC(bool value)
{
    return value ? "Yes" : "No";
}

constexpr char const* ENABLED_DISABLED(bool value)
{
    return value ? "enabled" : "disabled";
}

constexpr char const* ENABLED_DISABLED_CC(bool value)
{
    return value ? "Enabled" : "Disabled";
}

constexpr char const* ENABLED_DISABLED_UC(bool value)
{
    return value ? "ENABLE" : "DISABLE";
}

constexpr char const* TRUE_FALSE(bool value)
{
    return value ? "true" : "false";
}

/// @}

/// Puts `count` blanks in front of each line that isn't empty; with `keepFirstLine` not of the first one, which then
/// goes on a line that has begun already.
String INDENT(String const& text, unsigned int count, bool keepFirstLine);

/// The number with a suffix that goes by its first digit, as reports show it: "1st", "21nd", "101st"; "th" for 10 to
/// 20; none for 0.
String ORDINAL_NUMBER(unsigned int value);
