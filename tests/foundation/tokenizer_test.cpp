#include "zekovar/foundation/tokenizer.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/vector.h"

#include <gtest/gtest.h>

namespace
{
/// The tokens, each in brackets.
String bracketed(StringTokenizer tokenizer)
{
    String text;
    for (String token; tokenizer.nextToken(token);)
        text.concatf("[%s]", token.c_str());
    return text;
}
}

TEST(Tokenizer, SplitsByItsFlags)
{
    struct
    {
        char const* text;
        char const* quotes;
        bool returnDelims;
        bool returnEmpty;
        char const* tokens;
        char const* built;
    } const cases[] = {
        {" a  b,", "", false, false, "[a][b]", "a b"},
        {"a,,b,", "", false, true, "[a][][b][]", "a  b "},
        {"", "", false, true, "[]", ""},
        {"a, b", "", true, false, "[a][,][b]", "a,b"},
        {"a, b", "", true, true, "[a][,][][ ][b]", "a, b"},
        {"a \"b c\" d\"e f", "\"", false, false, "[a][b c][d\"e][f]", "a \"b c\" d\"e f"},
        {"\"a\"b \"\" \"c d", "\"", false, false, "[a][b][c d]", "a b \"c d\""},
        {"\"a b\" \"c", "\"", true, false, "[\"a b\"][ ][\"c]", "\"a b\" \"c"},
    };

    for (auto const& each : cases)
    {
        StringTokenizer const tokenizer(each.text, " ,", each.returnDelims, each.returnEmpty, each.quotes, each.quotes);
        EXPECT_EQ(bracketed(tokenizer), each.tokens);
        String built("before");
        tokenizer.buildString(built);
        EXPECT_EQ(built, each.built);
    }
}

TEST(Tokenizer, StartsAnewWithEachText)
{
    StringTokenizer tokenizer("one two\tthree");
    String token;
    tokenizer.nextToken(token);
    tokenizer.setString(tokenizer.getTokens()[2], "r");
    EXPECT_EQ(bracketed(tokenizer), "[th][ee]");
    ZKVector<String> tokens;
    tokens.add("stale");
    tokenizer.getTokens(tokens);
    EXPECT_EQ(tokens.size(), 2u);
    tokens.add("x r");
    tokenizer.setTokens(tokens);
    EXPECT_EQ(bracketed(tokenizer), "[th][ee][x r]");
    EXPECT_EQ(tokenizer.countTokens(), 3u);
}
