#pragma once

#include "zekovar/property/value.h"

namespace ZK::Property
{
/// Reads and writes values as JSON (RFC 8259), in a dialect in which every kind of value has a form: a code travels as
/// the text "XCODE:value:text", bytes as the text "BINARY:" with Base64 behind it. A text that begins so is always
/// read as that kind.
///
/// Further differences: the four digits behind `\u` are checked and dropped; control characters may stand in a text as
/// they are, and none but those with a letter of their own is escaped; `1.` is a number; a floating-point number is
/// written with six digits, and as an integer if it has no fraction. What is written doesn't depend on the locale.
///
/// All functions are safe from every thread, as long as no other one uses their arguments.
///
///     Value config;
///     if (XCode code = JSON::decode(config, text); code.isErr())
///         return code;
class JSON
{
public:
    class Lexer;

    /// Reads the first value of the text and ignores what follows. An integer that is too large becomes the nearest one;
    /// of two members of one key the later takes the place of the former.
    ///
    /// `XCODE_FAILURE` with a message, and `value` "Invalid", on text that isn't JSON, on a floating-point number
    /// beyond the range of `double`, and on arrays and objects nested deeper than `MAX_DEPTH`. The text may be part
    /// of `value`.
    static XCode decode(Value& value, String const& text);
    static XCode decode(Value& value, TString<char> const& text);

    /// Appends the value; "Invalid" elements and members are left out, and an "Invalid" value is no text. A text
    /// ends in front of its first zero byte. With `pretty` each element and member has a line, indented by `level`
    /// blanks and `step` more in each container; the first line isn't indented.
    ///
    /// A failure, for bytes too long for Base64, containers nested deeper than `MAX_DEPTH` and text too long for a
    /// `String`, ends the output; what was written stays. No number and infinite ones come out as "nan" and "inf",
    /// which no JSON reader takes.
    static XCode encode(String& out, Value const& value, bool pretty, unsigned int level, unsigned int step);

    /// As above without blanks and line breaks; on failure `out` is unchanged.
    static XCode encode(TString<char>& out, Value const& value);
};
}
