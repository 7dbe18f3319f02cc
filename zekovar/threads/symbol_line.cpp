#include "zekovar/threads/symbol_line.h"

#include <cstdlib>
#include <cxxabi.h>

namespace
{
/// Empty unless a mangled name stands behind the first "(" and before the "+" that follows, from `begin` to before
/// `end`.
String demangle(String const& line, int& begin, int& end)
{
    begin = line.indexOf('(') + 1;
    end = line.indexOf('+', begin);
    if (begin == 0 || end <= begin)
        return String();
    char* const name = abi::__cxa_demangle(line.substring(begin, end).c_str(), nullptr, nullptr, nullptr);
    String result(name);
    std::free(name);
    return result;
}
}

namespace ZK::Detail
{
String demangledNameOf(String const& symbolLine)
{
    int begin = 0;
    int end = 0;
    return demangle(symbolLine, begin, end);
}

String demangleSymbolLine(String const& symbolLine)
{
    int begin = 0;
    int end = 0;
    String const name = demangle(symbolLine, begin, end);
    if (name.isEmpty())
        return symbolLine;
    return String(symbolLine).deleteRegion(begin, end).insert(begin, name);
}
}
