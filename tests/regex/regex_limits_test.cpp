// Patterns and subjects of sizes that must neither exhaust the native stack nor take quadratic time.

#include "zekovar/regex/parser.h"
#include "zekovar/regex/regex.h"

#include <gtest/gtest.h>

namespace
{

/// The span of the first match, (-1, -1) without one.
std::pair<int, int> spanOf(String const& expression, String const& subject)
{
    int start = -1, end = -1;
    ZKPtr<ZKRegEx::Matcher> const matcher = ZKRegEx::CREATE_MATCHER(expression, subject, 0);
    if (matcher && matcher->match().isSuccess())
        matcher->getCapture(0, start, end);
    return {start, end};
}

String repeated(char const* text, unsigned count)
{
    return String::repeat(text, count);
}

String nested(char const* open, unsigned depth, char const* close)
{
    return repeated(open, depth).concat("a").concat(repeated(close, depth));
}
}

TEST(RegExLimits, NestingPastTheDepthIsASyntaxError)
{
    for (char const* open : {"(", "(?:", "(?>", "(?<n>", "(?i:", "(?=", "(?!", "(?<=", "(b|"})
    {
        for (char const* close : {")", ")*", "){0,2}?"})
        {
            EXPECT_TRUE(ZKRegEx::COMPILE_EXPRESSION(nested(open, RE_Parser::MAX_DEPTH, close))) << open << close;
            EXPECT_FALSE(ZKRegEx::COMPILE_EXPRESSION(nested(open, RE_Parser::MAX_DEPTH + 1, close))) << open << close;
        }
        EXPECT_FALSE(ZKRegEx::COMPILE_EXPRESSION(nested(open, 100000, ")")));
        EXPECT_FALSE(ZKRegEx::COMPILE_EXPRESSION(repeated(open, 100000)));
    }
    EXPECT_EQ(spanOf(nested("(", RE_Parser::MAX_DEPTH, ")*"), "aab"), std::make_pair(0, 2));
}

TEST(RegExLimits, FlatPatternsMayBeLong)
{
    unsigned const count = 120000;

    struct
    {
        char const* repeatedTerm;
        char const* lastTerm;
        String subject;
        std::pair<int, int> span;
    } const cases[] = {
        {"a|", "b", "b", {0, 1}},
        {"ab|", "c", "c", {0, 1}},
        {"(?:x|y|", "c", "c", {-1, -1}},
        {".", "", repeated("z", count), {0, count}},
        {"a?", "b", "ab", {0, 2}},
        {"a*+", "b", "aab", {0, 3}},
        {"\\b", "b", "b", {0, 1}},
        {"(?<=", "c", "c", {-1, -1}},
        {"[a-c]", "", repeated("b", count), {0, count}},
        {"(a)|", "b", "b", {0, 1}},
        {"(?#x)", "b", "b", {0, 1}},
    };

    for (auto const& each : cases)
        EXPECT_EQ(spanOf(repeated(each.repeatedTerm, count).concat(each.lastTerm), each.subject), each.span)
            << each.repeatedTerm;

    String const members = repeated("a-c", count);
    EXPECT_EQ(spanOf(String("[").concat(members).concat("]+"), "dab"), std::make_pair(1, 3));
    EXPECT_EQ(spanOf(String("(?<=").concat(repeated("a", count)).concat(")b"), repeated("a", count).concat("b")),
              std::make_pair(static_cast<int>(count), static_cast<int>(count) + 1));
    EXPECT_TRUE(ZKRegEx::COMPILE_EXPRESSION(repeated("(a)*", count)));
    String out;
    ZKRegEx::COMPILE_FORMATTER(repeated("$0", count))->format(ZKRegEx::CREATE_MATCHER("a", "a", 0), out);
    EXPECT_EQ(out, "") << "nothing was matched yet";
}

TEST(RegExLimits, RunsOverLongSubjectsTakeNeitherStackNorQuadraticTime)
{
    int const size = 1000000;
    String const subject = repeated("a", size).concat("b");
    for (char const* expression : {"a*b", "(a+)b", ".*?b", "(?:a{5,}+)b", "[^b]*b$", "(?i:A*B)", "(?<=^a*)b|a+b"})
        EXPECT_EQ(spanOf(expression, subject), std::make_pair(0, size + 1)) << expression;
    for (char const* expression : {"a*c", "(a+)c", ".*?c", "(?:a{5,}+)c", "(?i:x)a*", "a*[cd]"})
        EXPECT_EQ(spanOf(expression, subject), std::make_pair(-1, -1)) << expression;
}

TEST(RegExLimits, RequiredIterationsThatMatchNothingDontPileUp)
{
    EXPECT_EQ(spanOf("(?:){1000000000}((?=b)){4000000000}b", "ab"), std::make_pair(1, 2));
    EXPECT_EQ(spanOf(repeated("(?:", 40).concat("a?").concat(repeated("){16}", 40)), "aab"), std::make_pair(0, 2));
    EXPECT_EQ(spanOf("(?:(?:)|a){1000,1001}", "aaa"), std::make_pair(0, 1)) << "they count for the most as well";
}
