// Text of expressions: compiling and freeing.

#include "zekovar/regex/regex.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    int const length = static_cast<int>(size);
    ZKRegEx::COMPILE_EXPRESSION(String(reinterpret_cast<char const*>(data), length, 0, length));
    return 0;
}
