#pragma once

#include "zekovar/foundation/string.h"

#include <string_view>

namespace ZK::Detail
{
/// The text with the zero bytes that it may hold; good until it changes.
inline std::string_view viewOf(String const& text)
{
    return {text.c_str(), static_cast<std::size_t>(text.length())};
}

/// A copy of a part of a `String`, so that its length fits.
inline String textOf(std::string_view view)
{
    int const size = static_cast<int>(view.size());
    return String(view.data(), size, 0, size);
}
}
