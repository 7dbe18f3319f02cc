// A byte of flags, a pattern, a zero byte and a subject: all matches, their captures and weights.
//
// Both are short, and numbers in braces have one digit: the time of a match is exponential in what a pattern nests, and
// so is, for repeated groups, its stack.

#include "zekovar/regex/regex.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace
{

constexpr std::size_t LONGEST_PATTERN = 20;
constexpr std::size_t LONGEST_SUBJECT = 12;

bool hasLongNumber(std::string const& text)
{
    bool const found = std::adjacent_find(text.begin(), text.end(),
                                          [](unsigned char left, unsigned char right)
                                          { return std::isdigit(left) && std::isdigit(right); }) != text.end();
    return found || std::count(text.begin(), text.end(), '{') > 2;
}

void require(bool condition)
{
    if (!condition)
        std::abort();
}
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::string const input(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::string const expression = input.substr(0, input.find('\0'));
    std::string const text = expression.size() < input.size() ? input.substr(expression.size() + 1) : "";
    if (expression.size() > LONGEST_PATTERN || text.size() > LONGEST_SUBJECT || hasLongNumber(expression))
        return 0;

    int const length = static_cast<int>(text.size());
    String const subject(text.data(), length, 0, length);
    unsigned const flags = data[0] & 31;
    ZKPtr<ZKRegEx::Matcher> const matcher = ZKRegEx::CREATE_MATCHER(expression.c_str(), subject, flags);
    // a backward search may find the same match again
    for (int i = 0; matcher && i < 2 * length + 2 && matcher->matchNext().isSuccess(); i++)
    {
        int start, end;
        String capture;
        for (unsigned group = 0; group < 12; group++)
        {
            require(matcher->getCapture(group, start, end) == matcher->getCapture(group, capture));
            require(start <= length && end <= length);
        }
        require(matcher->getWeights().length() <= length);
    }
    return 0;
}
