#pragma once

#include "zekovar/property/value.h"

namespace ZK::Property
{
/// Writes values as YAML for human readers. Texts stand without quotes, so a YAML reader takes those that look like
/// something else for that. There is no reader here.
///
/// Codes are "XCode value text", bytes are Base64. Texts are escaped as in `JSON`, but for slashes. In an array or
/// object, a text of several lines becomes a block, without its empty lines. Empty arrays and objects are nothing.
///
/// All functions are safe from every thread, as long as no other one uses their arguments.
class YAML
{
public:
    /// Appends the value: containers in it start their lines with `level` blanks, and `step` more for each object
    /// around them; the first line isn't indented. "Invalid" elements and members are left out; an "Invalid" value is
    /// "!!invalid".
    ///
    /// A failure, for bytes too long for Base64, containers nested deeper than `MAX_DEPTH` and text too long for a
    /// `String`, ends the output; what was written stays.
    static XCode encode(String& out, Value const& value, unsigned int level, unsigned int step);

    /// As above with level 0 and step 2; on failure `out` is unchanged.
    static XCode encode(TString<char>& out, Value const& value);
};
}
