#include "zekovar/regex/regex.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{

/// What a search gives: "error" for a syntax error, "none", or the groups of the match as "start-end", "*" for an unset
/// one, and then the weights in hexadecimal.
String outcome(ZKRegEx::Matcher& matcher, unsigned groups)
{
    String text;
    for (unsigned i = 0; i < groups; i++)
    {
        int start, end;
        if (matcher.getCapture(i, start, end).isSuccess())
            text.concatf("%d-%d ", start, end);
        else
            text.concat("* ");
    }
    return text.concat(matcher.getWeights().toHex()).trim(' ');
}

String search(String const& expression, unsigned flags, String const& subject)
{
    ZKPtr<ZKRegEx::Pattern> const pattern = ZKRegEx::COMPILE_EXPRESSION(expression);
    if (!pattern)
        return "error";
    ZKPtr<ZKRegEx::Matcher> const matcher = pattern->createMatcher(subject, flags);
    return matcher->match().isErr() ? String("none") : outcome(*matcher, pattern->getCaptureCount());
}

struct Case
{
    char const* expression;
    unsigned flags;
    char const* subject;
    char const* outcome;
};

void check(std::initializer_list<Case> cases)
{
    for (Case const& each : cases)
        EXPECT_EQ(search(each.expression, each.flags, each.subject), each.outcome)
            << each.expression << " on " << each.subject << " with " << each.flags;
}
}

TEST(RegEx, MatchesAtomsAndLeavesTheirWeights)
{
    check({
        {"", 0, "ab", "0-0"},
        {"b", 0, "ab", "1-2 01ff"},
        {"a.c", 0, "xa\nc", "1-4 01ff01ff"},
        {".", 2, "\n\rz", "2-3 010101"},
        {"[0-9]x", 0, "7x", "0-2 f6ff"},
        {"[^]", 0, "q", "0-1 00"},
        {"[]", 0, "q", "none"},
        {"\\Qa.\\b*\\E+", 0, "a.\\b*a.\\b*", "0-10 ffffffffffffffffffff"},
        {"\\Q\\E", 0, "x", "0-0"},
        {"a(?#no)b", 0, "ab", "0-2 ffff"},
        {"\\x41\\101\\cA\\ca\\t\\.\\-", 0, "A", "error"},
        {"\\x41\\0101\\cA\\ca\\t\\.\\-", 0, "AA\x01!\t.-", "0-7 ffffffffffffff"},
        {"\\a\\e\\f\\n\\r\\v", 0, "\a\x1b\f\n\r\v", "0-6 ffffffffffff"},
        {"\\cz\\cZ", 0, ":\x1a", "0-2 ffff"},
        {"\\d\\D\\l\\L\\u\\U\\s\\S\\w\\W", 0, "1xaABb z_-", "0-10 f60ae61ae61afa06c13f"},
    });
}
