#pragma once

#include "zekovar/foundation/string.h"

namespace ZK::Detail
{
/// The demangled name in a line of `backtrace_symbols`, "file(mangled+offset) [address]"; empty if the line holds none
/// or its name isn't a mangled one.
String demangledNameOf(String const& symbolLine);

/// The line with its mangled name replaced by the demangled one; unchanged if there is none.
String demangleSymbolLine(String const& symbolLine);
}
