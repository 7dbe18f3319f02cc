#pragma once

#include "zekovar/foundation/error.h"

#include <cstddef>

/// Names of enumeration values for logs. The header of an enumeration specialises it:
///
///     template <>
///     inline char const* ZKEnumInfo<Colour>::VALUE_NAME(Colour value)
///     {
///         static constexpr char const* NAMES[] = {"red", "green"};
///         return ZK::Detail::nameOfValue(NAMES, value);
///     }
template <class T>
class ZKEnumInfo
{
public:
    /// A fixed text; `ERROR::INVALID` for a number that is no value of `T`.
    static char const* VALUE_NAME(T value);
};

namespace ZK::Detail
{
/// `names` hold the values 0, 1, 2 and on.
template <class T, std::size_t COUNT>
constexpr char const* nameOfValue(char const* const (&names)[COUNT], T value)
{
    auto const index = static_cast<unsigned long long>(value);
    return index < COUNT ? names[index] : ERROR::INVALID;
}
}
