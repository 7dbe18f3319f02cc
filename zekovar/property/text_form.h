#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/xcode.h"

#include <string>
#include <string_view>

namespace ZK::Property
{
class Value;
}

// How the text and binary forms of values write texts, numbers and codes. What a writer collects goes to the caller at
// the end: a `String` doesn't grow ahead of what is appended.
namespace ZK::Property::Detail
{
/// What a text begins with that stands for a code.
inline constexpr std::string_view XCODE_PREFIX = "XCODE:";

/// What a text begins with that stands for bytes.
inline constexpr std::string_view BINARY_PREFIX = "BINARY:";

/// The text in front of its first zero byte.
inline std::string_view untilZero(String const& text)
{
    return text.c_str();
}

inline std::string_view wholeText(String const& text)
{
    return {text.c_str(), static_cast<size_t>(text.length())};
}

inline String toString(std::string_view text)
{
    return String(text.data(), static_cast<int>(text.size()), 0, static_cast<int>(text.size()));
}

/// Writes a backslash in front of quotation marks, backslashes and, if `withSlash`, slashes, and escapes the control
/// characters that have a letter.
void appendEscaped(std::string& out, std::string_view text, bool withSlash);

/// Writes what has the same text in all formats: "null", "true" or "false", an integer, and a number as "%g" does in the
/// "C" locale. Another type writes nothing.
void appendPlain(std::string& out, Value const& value);

void appendInteger(std::string& out, long long value);

/// Reads what stands behind the prefix of a code: "value:text". Without a ":" the value is 0 and all of it the text.
XCode parseXCode(String const& text);

/// The failure of what is nested deeper than `MAX_DEPTH`.
XCode tooDeep();

/// Appends what a writer collected; `XCODE_FAILURE`, with `out` unchanged, if it is too long or memory is out.
XCode appendTo(String& out, std::string const& text);
XCode appendTo(TString<char>& out, std::string const& text);
}
