#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

#include <ostream>

/// Makes failed expectations show the text.
inline void PrintTo(String const& text, std::ostream* out)
{
    *out << '"' << text.c_str() << '"';
}

/// The texts of the values with bars between them.
template <class... Values>
String listed(Values const&... values)
{
    ZKVector<String> texts;
    (texts.add(String::stringOf(values)), ...);
    return String::join(texts, "|");
}
