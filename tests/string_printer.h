#pragma once

#include "zekovar/foundation/string.h"

#include <ostream>

/// Makes failed expectations show the text.
inline void PrintTo(String const& text, std::ostream* out)
{
    *out << '"' << text.c_str() << '"';
}
