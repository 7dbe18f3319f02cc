#include "zekovar/foundation/report_text.h"

#include <algorithm>
#include <cstring>

namespace
{
/// `Length` times one character, and a zero.
template <unsigned int Length>
struct Run
{
    constexpr explicit Run(char character) : text()
    {
        for (unsigned int i = 0; i < Length; ++i)
            text[i] = character;
    }

    char const* last(unsigned int count) const { return text + Length - std::min(count, Length); }

    char text[Length + 1];
};

constexpr Run<250> BLANKS(' ');
constexpr Run<252> DASHES('-');
constexpr Run<252> EQUALS('=');
constexpr Run<252> ASTERISKS('*');

char const* suffixOf(unsigned int value)
{
    if (value == 0)
        return "";
    if (value >= 10 && value <= 20)
        return "th";
    while (value >= 10)
        value /= 10;
    return value == 1 ? "st" : value == 2 ? "nd" : value == 3 ? "rd" : "th";
}
}

char const* SPACES(unsigned int count)
{
    return BLANKS.last(count);
}

char const* LINES(unsigned int count)
{
    return DASHES.last(count);
}

char const* DOUBLE_LINES(unsigned int count)
{
    return EQUALS.last(count);
}

char const* STARS(unsigned int count)
{
    return ASTERISKS.last(count);
}

String INDENT(String const& text, unsigned int count, bool keepFirstLine)
{
    if (text.isEmpty() || count == 0)
        return text;
    String const blanks = String::repeat(" ", count);
    String indented;
    char const* const end = text.c_str() + text.length();
    for (char const* line = text.c_str(); line != end;)
    {
        auto const* const newline = static_cast<char const*>(std::memchr(line, '\n', end - line));
        char const* const next = newline != nullptr ? newline + 1 : end;
        bool const isKept = keepFirstLine && line == text.c_str();
        if (line != newline && !isKept)
            indented += blanks;
        indented.concat(line, static_cast<int>(next - line));
        line = next;
    }
    return indented;
}

String ORDINAL_NUMBER(unsigned int value)
{
    return String::stringOfFormat("%u%s", value, suffixOf(value));
}
