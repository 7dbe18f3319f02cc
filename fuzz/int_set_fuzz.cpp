// Any text sets up a set or fails; a set prints as a text that gives the same set, and keeps the rules of set algebra.

#include "zekovar/foundation/int_set.h"
#include "zekovar/foundation/string.h"

#include <climits>
#include <cstdint>

namespace
{
void expect(bool holds)
{
    if (!holds)
        __builtin_trap();
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    String left;
    String right;
    String(reinterpret_cast<char const*>(data), static_cast<int>(size), 0, static_cast<int>(size))
        .split(';', left, right);
    ZKIntSet a;
    ZKIntSet b;
    if (!a.setup(left, INT_MIN, INT_MAX) || !b.setup(right, -1000, 1000))
        return 0;

    ZKIntSet again;
    expect(again.setup(a.toString(), INT_MIN, INT_MAX).isSuccess() && again.toString() == a.toString());
    expect((a + b).size() == a.size() + b.size() - (a & b).size());
    expect(((a - b) + (a & b)).toString() == a.toString());
    for (int number : b)
        expect((a + b).contains(number) && !(a - b).contains(number) && (a & b).contains(number) == a.contains(number));
    return 0;
}
