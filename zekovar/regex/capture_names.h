#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

namespace ZK::Detail
{
/// The index of the first group of this name, -1 if there is none. Group 0 has no name.
inline int findCaptureName(ZKVector<String> const& names, String const& name)
{
    for (unsigned i = 1; i < names.size() && !name.isEmpty(); i++)
    {
        if (names[i] == name)
            return static_cast<int>(i);
    }
    return -1;
}
}
