#include "zekovar/regex/regex.h"

#include "tests/string_printer.h"
#include "zekovar/regex/chain_matcher.h"
#include "zekovar/regex/group_matcher.h"
#include "zekovar/regex/leaf_matcher.h"
#include "zekovar/regex/parser.h"

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
        EXPECT_STREQ(search(each.expression, each.flags, each.subject).c_str(), each.outcome)
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

TEST(RegEx, RefusesWhatTheDialectHasNot)
{
    char const* const expressions[] = {"|a",
                                       "a|",
                                       "(a|)",
                                       "a||b",
                                       "*",
                                       "a**",
                                       "^*",
                                       "a{",
                                       "a{2",
                                       "a{,2}",
                                       "a{01}",
                                       "a{2,03}",
                                       "x{ 2\f}",
                                       "a]",
                                       "a}",
                                       "]",
                                       "}",
                                       "(",
                                       ")",
                                       "(a",
                                       "a)",
                                       "[a",
                                       "[]a]",
                                       "[[]",
                                       "[z-a]",
                                       "[\\d-x]",
                                       "[a-\\w]",
                                       "[[:word:]-a]",
                                       "[a-b-c-]x-]",
                                       "[[.hyphen-minus.]]",
                                       "[[.circumflex-accent.]]",
                                       "[[:foo:]]",
                                       "[[:digit]]",
                                       "[[=a.]]",
                                       "[\\8]",
                                       "\\1(a)",
                                       "(a\\1)",
                                       "(a)\\2",
                                       "\\8",
                                       "\\y",
                                       "\\_",
                                       "\\xG1",
                                       "\\x4",
                                       "\\c1",
                                       "\\Qab",
                                       "\\k<a>",
                                       "(?<a>\\k<a>)",
                                       "(?<a>x)\\k<b>",
                                       "(?<1a>x)",
                                       "(?<a'x)",
                                       "(?i)a",
                                       "(?:",
                                       "(?i-:a)",
                                       "(?-:a)",
                                       "(?x:a)",
                                       "(?P=a)",
                                       "(?(1)a|b)",
                                       "(a)(?(1)b)",
                                       "(?#a",
                                       "(?",
                                       "(?<=a",
                                       "\\",
                                       "a\\"};
    for (char const* expression : expressions)
        EXPECT_EQ(search(expression, 0, ""), "error") << expression;
    EXPECT_FALSE(ZKRegEx::COMPILE_EXPRESSION(String("a\0b", 3, 0, 3))) << "a zero byte ends the text";
    EXPECT_FALSE(ZKRegEx::CREATE_MATCHER("(", "a", 0));
    EXPECT_TRUE(ZKRegEx::MATCHES("(", "(", 0).isErr());
    EXPECT_TRUE(ZKRegEx::MATCHES("\\(", "(", 0).isSuccess());
}

TEST(RegEx, ReadsClasses)
{
    check({
        {"[\\]\\-\\\\a]+", 0, "-a\\]", "0-4 fcfcfcfc"},
        {"[a-]+", 0, "b-a", "1-3 01fefe"},
        {"[-a]+", 0, "-a", "0-2 fefe"},
        {"[a-c-]+", 0, "c-d", "0-2 fcfc"},
        {"[a-c-e]+", 0, "-ed", "0-2 fbfb"},
        {"[+--]+", 0, "+,-.", "0-3 fdfdfd"},
        {"[^a-y]", 0, "yz", "1-2 0119"},
        {"[^^]", 0, "^a", "1-2 0101"},
        {"[.$*(|?]+", 0, "a(.|", "1-4 01fafafa"},
        {"[\\x41-\\x43\\n\\cA\\0]+", 0, "CA\n\x01", "0-4 fafafafa"},
        {"[\\b]", 0, "b\b", "1-2 01ff"},
        {"[\\d\\D]", 0, "x", "0-1 00"},
        {"[[:alnum:][:punct:]]+", 0, " a!9", "1-4 01a2a2a2"},
        {"[[:d:][:u:]]+", 0, "a1Z", "1-3 01dcdc"},
        {"[[:xdigit:]]+", 0, "gfF0", "1-4 01eaeaea"},
        {"[[:cntrl:]]", 0, "\x7f\x1f", "1-2 01e0"},
        {"[[:graph:]]", 0, " \x7f~", "2-3 0101a2"},
        {"[[:word:]-]+", 0, "a-_", "0-3 c0c0c0"},
        {"[[.a.]-[=c=]]+", 0, "abcd", "0-3 fdfdfd"},
        {"[[.hyphen.][.circumflex.][.NUL.]]", 0, "-", "error"},
        {"[[.hyphen.][.circumflex.][.SO.]]+", 0, "-^\x0e", "0-3 fdfdfd"},
        {"[[.SOH.][.left-brace.][.tilde.][.DEL.]]+", 0, "\x01{~\x7f", "0-4 fcfcfcfc"},
        {"[[.].]]+", 0, "]", "0-1 ff"},
    });
}

TEST(RegEx, Repeats)
{
    check({
        {"abc*", 0, "abccab", "0-4 ffffffff"},
        {"x{ 2 , 3 }", 0, "xxxx", "0-3 ffffff"},
        {"x{2}y{0}z{1,}", 0, "xxxzz", "1-5 01ffffffff"},
        {"x{3,2}", 0, "xxxx", "0-2 ffff"},
        {"x{0,4294967295}", 0, "xx", "0-2 ffff"},
        {"a*?b", 0, "aaab", "0-4 ffffffff"},
        {"a{1,2}?", 0, "aa", "0-1 ff"},
        {"a*+a", 0, "aaa", "none"},
        {"a+?+a", 0, "baaa", "1-3 01ffff"},
        {"(?:ab)+?b", 0, "ababb", "0-5 ffffffffff"},
        {"[ab]+?c", 0, "abac", "0-4 fefefeff"},
        {".{2}", 2, "a\nbc", "2-4 01010101"},
        {"(a*)*", 0, "b", "0-0 *"},
        {"(a*)+", 0, "b", "0-0 0-0"},
        {"(a|b)*", 0, "ab", "0-2 1-2 ffff"},
        {"(?:a?){3}b", 0, "aab", "0-3 ffffff"},
        {"(z)((a+)?(b+)?(c))*", 0, "zaacbbbcac", "0-10 0-1 8-10 8-9 * 9-10 ffffffffffffffffffff"},
        {"((a)|b){2}", 0, "ab", "0-2 1-2 * ffff"},
        {"(?:(a)|b)*?c", 0, "abc", "0-3 * ffffff"},
        {"(){2,}x", 0, "x", "0-1 0-0 ff"},
        {"((?:)|a){18}b", 0, "aab", "0-3 1-2 ffffff"},
        {"(?>a+|b)b", 0, "aab", "0-3 ffffff"},
        {"(?>[ab]+?b)c", 0, "abbc", "1-4 01feffff"},
        {"a[a-z]*z9", 0, "a1azaz9", "2-7 0101ffe6e6ffff"},
    });
}

TEST(RegEx, CapturesAndRefersToGroups)
{
    check({
        {"()", 0, "a", "0-0 0-0"},
        {"(a|ab)(c|bcd)(d*)", 0, "abcd", "0-4 0-1 1-4 4-4 ffffffff"},
        {"(a)|b", 0, "b", "0-1 * ff"},
        {"(?:(a)|b)\\1c", 0, "bc", "0-2 * ffff"},
        {"(a+)\\1", 0, "aaaaa", "0-4 0-2 ffffffff"},
        {"(a)\\10", 0, "aa0", "0-3 0-1 ffffff"},
        {"(?:a(b)|a(c))(?:d|\\2)", 0, "acc", "0-3 * 1-2 ffffff"},
        {"(?<name-1>x)\\k<name-1>", 0, "xx", "0-2 0-1 ffff"},
        {"(?'a'x)(?P<b>y)\\k'b'(?P=a)", 0, "xyyx", "0-4 0-1 1-2 ffffffff"},
        {"(?<a>x)(?<a>y)\\k<a>", 0, "xyx", "0-3 0-1 1-2 ffffff"},
        {"(x)(?<a>y)(z)\\k<a>\\3", 0, "xyzyz", "0-5 0-1 1-2 2-3 ffffffffff"},
        {"(?:a(b))?c\\1", 0, "ac", "1-2 * 01ff"},
        {"(a)", 8, "a", "none"},
    });
}

TEST(RegEx, LooksAround)
{
    check({
        {"^a$", 0, "a\n", "none"},
        {"\\Aa|b\\Z", 0, "ab\nb", "0-1 ff"},
        {"\\`a\\'", 0, "a", "0-1 ff"},
        {"\\bb\\B.\\B", 0, "ab bcd", "3-5 010101ff01"},
        {"\\<.\\>", 0, "ab -c", "4-5 0101010101"},
        {"\\>", 0, "ab", "2-2 0101"},
        {"(?=(a+))a*b\\1", 0, "baaabac", "3-6 3-4 010101ffffff"},
        {"(?!(a)b)a", 0, "abac", "2-3 * 0101ff"},
        {"(?<=a+)b", 0, "caab", "3-4 010101ff"},
        {"(?<=([a-c]+)(\\d+))x", 0, "ab12x", "4-5 0-2 2-4 01010101ff"},
        {"(?<=(\\w)\\1)c", 0, "abbc", "3-4 2-3 010101ff"},
        {"(?<=\\b(\\w+)=)\\d", 0, "key=1", "4-5 0-3 01010101f6"},
        {"(?<!a|b.)c", 0, "acbxcc", "5-6 0101010101ff"},
        {"(?<=(?<=b(a))c)d", 0, "abcd", "3-4 0-1 010101ff"},
        {"(?<=a(?=b))b", 0, "ab", "none"},
        {"(?<=a*?)$", 0, "aa", "2-2 0101"},
        {"(?<=(?i:A))b", 0, "ab", "1-2 01ff"},
        {"(?<=(a){2})b", 0, "aab", "2-3 0-1 0101ff"},
    });
}

TEST(RegEx, ObeysItsFlags)
{
    check({
        {"ab[c-d]\\1", 1, "ABC", "error"},
        {"a([B-C])\\1", 1, "ACc", "0-3 1-2 fffeff"},
        {"[^a]", 1, "a", "0-1 01"},
        {"@[`{]", 1, "`[", "none"},
        {"(?i:ABC)d", 0, "abcd", "0-4 ffffffff"},
        {"(?i:ABC)d", 0, "abcD", "none"},
        {"a(?-i:b)c", 1, "AbC", "0-3 ffffff"},
        {"a(?-i:b)c", 1, "ABC", "none"},
        {"(?ii-i:a)", 1, "Aa", "1-2 01ff"},
        {"(?i:a|b)+c", 0, "aBc", "0-3 ffffff"},
        {"a.b", 2, "a\rbacb", "3-6 010101ff01ff"},
        {"^b", 4, "a\nb", "2-3 0101ff"},
        {"^b", 4, "a\rb", "none"},
        {"a$", 4, "a\r\n", "0-1 ff"},
        {"^$", 4, "a\n", "2-2 0101"},
        {"(?:^>)[\\r]?$", 4, "a>\n>\r\n", "3-5 010101ffff"},
        {"^b|c", 0, "bc", "0-1 ff"},
        {"abc", 16, "ab", "* ffff"},
        {"abc", 16, "ax", "* 0101"},
        {"(a)bc", 16, "xa", "* 1-2 01ff"},
        {"(a)[b]", 16, "ab", "0-2 0-1 ffff"},
        {"a+", 16, "ba", "* 01ff"},
        {"a+?b", 16, "aa", "* ffff"},
        {"^x(?!ab)", 16, "xa", "none"},
        {"(?<=xa)b", 16, "ab", "1-2 01ff"},
        {"(?>a+)$", 16, "aa", "0-2 ffff"},
    });
}

TEST(RegEx, WalksThroughTheMatchesOfASubject)
{
    ZKRegEx::Pattern const pattern(*ZKRegEx::COMPILE_EXPRESSION("(?<first>a)?(b|a)*"));
    ZKPtr<ZKRegEx::Matcher> const matcher = pattern.createMatcher("caab", 0);
    EXPECT_TRUE(matcher->getResult().isSuccess());
    for (int round = 0; round < 2; round++)
    {
        for (char const* expected : {"0-0 * *", "1-4 1-2 3-4 01ffffff", "4-4 * * 01010101"})
        {
            EXPECT_TRUE(matcher->matchNext().isSuccess());
            EXPECT_EQ(outcome(*matcher, 3), expected);
        }
        EXPECT_TRUE(matcher->matchNext().isErr());
        EXPECT_EQ(outcome(*matcher, 3), "* * *");
    }
    matcher->matchNext();
    EXPECT_TRUE(matcher->matchNext().isSuccess());

    String text("kept");
    int start, end;
    EXPECT_TRUE(matcher->getCapture("first", text).isSuccess());
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(matcher->getCapture("2", text).isSuccess());
    EXPECT_EQ(text, "b");
    for (char const* name : {"", "0", "1", "second"})
    {
        EXPECT_TRUE(matcher->getCapture(name, text).isErr()) << name;
        EXPECT_TRUE(matcher->getCapture(name, start, end).isErr()) << name;
    }
    EXPECT_TRUE(matcher->getCapture(3, text).isErr());
    EXPECT_EQ(text, "b");
    EXPECT_TRUE(matcher->match().isSuccess());
    EXPECT_EQ(outcome(*matcher, 1), "0-0");
    EXPECT_TRUE(pattern.match("", 0).isSuccess());
}

TEST(RegEx, FormatsReplacements)
{
    struct
    {
        char const* format;
        char const* output;
    } const cases[] = {
        {"<$1>", "<c>"},
        {"$&\\0", "bcbc"},
        {"$`|\\'", "a|d"},
        {"\\k<name>$k<none>", "c"},
        {"$9$2", ""},
        {"${name}x", "[name]x"},
        {"${", "{"},
        {"$$\\\\\\n", "$\\\n"},
        {"x$", "x"},
        {"x\\yz", "x"},
        {"\\x41\\cA$.", "A\x01."},
        {"$k<name", ""},
    };

    struct : RE_ResolveCallback
    {
        String& resolveRegExVariable(String& value, String const& name) const override
        {
            value.format("[%s]", name.c_str());
            return value;
        }
    } const resolver;

    ZKPtr<ZKRegEx::Matcher> const matcher = ZKRegEx::CREATE_MATCHER("b(?<name>c)(x)?", "abcd", 0);
    matcher->match();
    String out;
    for (auto const& each : cases)
    {
        ZKPtr<ZKRegEx::Formatter> const formatter = ZKRegEx::COMPILE_FORMATTER(each.format);
        EXPECT_EQ(formatter ? formatter->format(matcher, resolver, out) : String(""), each.output) << each.format;
    }
    EXPECT_EQ(ZKRegEx::COMPILE_SUBSTITUTION("<$1>")->format(matcher, out), "a<c>d");
    EXPECT_EQ(ZKRegEx::COMPILE_SUBSTITUTION("")->format(matcher, out), "ad");
    EXPECT_EQ(ZKRegEx::COMPILE_FORMATTER("-${name}")->format(matcher, out), "-");
    EXPECT_EQ(ZKRegEx::COMPILE_FORMATTER("x")->format(ZKPtr<ZKRegEx::Matcher>(), out), "");
    for (char const* format : {"", "$", "\\", "$y"})
        EXPECT_FALSE(ZKRegEx::COMPILE_FORMATTER(format)) << format;

    ZKPtr<ZKRegEx::Matcher> const zeros = ZKRegEx::CREATE_MATCHER("b", String("abc\0d", 5, 0, 5), 0);
    zeros->match();
    EXPECT_EQ(ZKRegEx::COMPILE_FORMATTER("$'")->format(zeros, out), "c");
    EXPECT_TRUE(zeros->matchNext().isErr());
    EXPECT_EQ(ZKRegEx::COMPILE_FORMATTER("$`$&$'.")->format(zeros, out), ".") << "there is no match to speak of";
}

TEST(RegEx, ConditionsChooseWithoutGoingBack)
{
    struct
    {
        char const* condition;
        char const* subject;
        int end;
    } const cases[] = {
        {"(1)b", "ab", 2},     {"(2)b", "ab", 1},     {"(one)b", "ac", -1},
        {"(?=b)b|x", "ab", 2}, {"(?=bc)x", "abd", 2}, {"(?!b)x", "ab", 2},
    };

    for (auto const& each : cases)
    {
        RE_ParseContext context;
        context.captureCount = 2;
        RE_ParseParameters parameters(each.condition);
        parameters.captureNames[1] = "one";
        parameters.captureClosed[1] = true;
        ZKPtr<RE_Matcher> condition;
        ASSERT_TRUE(RE_Parser::parseCondition(context, parameters, condition).isSuccess()) << each.condition;
        ZKPtr<RE_Matcher> const group(new RE_CaptureGroupMatcher(new RE_CharMatcher("a"), 1));
        RE_SequenceMatcher const pattern(group, condition);
        String const subject(each.subject);
        RE_MatchContext matching;
        RE_MatchParameters subjectOf(subject);
        ASSERT_TRUE(matching.reserveWeights(subject.length()));
        bool const matched = pattern.match(matching, subjectOf, RE_NullContinuation()).isSuccess();
        EXPECT_EQ(matched ? matching.position : -1, each.end) << each.condition;
    }
    for (char const* text : {"(0)a", "(two)a", "(?a)b", "(1a", "1)a"})
    {
        RE_ParseContext context;
        RE_ParseParameters parameters(text);
        ZKPtr<RE_Matcher> condition;
        EXPECT_TRUE(RE_Parser::parseCondition(context, parameters, condition).isErr()) << text;
        EXPECT_EQ(context.position, 0u);
    }
}

TEST(AcceptanceSet, CountsAndListsItsMembers)
{
    RE_AcceptanceSet set;
    set.allowCharRange(30, 200);
    set.denyCharRange(31, 198);
    set.allowCharRange(9, 5);
    set.allowChar(255);
    set.denyChar(200);
    EXPECT_EQ(set.getCharCount(), 3u);
    EXPECT_EQ(set.getAllowed(1), 199);
    EXPECT_EQ(set.getAllowed(3), 0);
    EXPECT_EQ(set.getDenied(30), 31);
    EXPECT_EQ(set.getDenied(252), 254);
    RE_AcceptanceSet others(set);
    others.invertChars();
    set.allowChar('a');
    set.denyChars(others);
    EXPECT_FALSE(set.isCharAllowed('a'));
    others.intersectChars(set);
    EXPECT_EQ(others.getCharCount(), 0u);
    others.allowChars(set);
    EXPECT_TRUE(others.isCharAllowed(255));
    others.allowAllChars();
    EXPECT_EQ(others.getCharCount(), 256u);
    EXPECT_EQ(others.getDenied(0), 0);
}
