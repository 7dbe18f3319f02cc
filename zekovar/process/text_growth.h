#pragma once

#include "zekovar/foundation/string.h"

namespace ZK::Detail
{
/// Appends, with so much room to spare that a long text out of many pieces is copied a few times only.
inline void appendGrowing(String& text, String const& piece)
{
    int const length = text.length();
    int const capacity = text.capacity();
    if (piece.length() > capacity - length)
        text.reserve(capacity < String::Store::MAX_LENGTH / 2 ? 2 * capacity : String::Store::MAX_LENGTH);
    text.concat(piece);
}
}
