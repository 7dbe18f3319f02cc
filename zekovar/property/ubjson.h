#pragma once

#include "zekovar/property/value.h"

namespace ZK::Property
{
/// Reads and writes values as Universal Binary JSON, draft 12, with big-endian numbers. Bytes travel as an optimised
/// array of `U`, a code as the text "XCODE:value:text"; a text that begins so is always read as a code, unless it is
/// written by the marker `C`.
///
/// All functions are safe from every thread, as long as no other one uses their arguments.
class UBJSON
{
public:
    /// Elements of types without a payload ("Null", true, false) that counted arrays may have beyond one for each byte
    /// of the input: a few bytes could ask for gigabytes of them. Counted together for one call of `decode`.
    static constexpr unsigned int MAX_BARE_ELEMENTS = 1u << 16;

    /// Appends the value. On failure `out` is unchanged: for "Invalid", also as an element or a member, without a
    /// message; and for containers nested deeper than `MAX_DEPTH`.
    static XCode encode(TString<char>& out, Value const& value);

    /// As above for an "Object"; another type is a failure.
    static XCode encodeObject(TString<char>& out, Value const& value);

    /// Reads the first value of the input and ignores what follows. Containers may be of any optimised form. A
    /// high-precision number must be an integer; one that is too large becomes the nearest one. The input may be part
    /// of `value`.
    ///
    /// A failure with a message on all else, on what is nested deeper than `MAX_DEPTH`, and on more elements than
    /// `MAX_BARE_ELEMENTS` allows; a no-op at the start is one without a message. `value` is unchanged then, but
    /// for an array, of which it holds the elements up to there.
    static XCode decode(Value& value, TString<char> const& input);
};
}
