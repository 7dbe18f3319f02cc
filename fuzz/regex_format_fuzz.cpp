// Text of replacement formats: compiling, formatting and freeing.

#include "zekovar/regex/regex.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static ZKPtr<ZKRegEx::Matcher> const matcher = ZKRegEx::CREATE_MATCHER("(?<word>b)(c)|(d)", String("abcde"), 0);
    matcher->match();
    int const length = static_cast<int>(size);
    String const format(reinterpret_cast<char const*>(data), length, 0, length);
    String out;
    if (ZKPtr<ZKRegEx::Formatter> const formatter = ZKRegEx::COMPILE_FORMATTER(format))
        formatter->format(matcher, out);
    ZKRegEx::COMPILE_SUBSTITUTION(format)->format(matcher, out);
    return 0;
}
