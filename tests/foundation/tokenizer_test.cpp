#include "zekovar/foundation/tokenizer.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{
/// The remaining tokens, each in brackets, and what is built of all.
String shown(StringTokenizer tokenizer)
{
    String text;
    for (String token; tokenizer.nextToken(token);)
        text.concatf("[%s]", token.c_str());
    String built("before");
    tokenizer.buildString(built);
    return text.concatf(" = %s", built.c_str());
}

String split(char const* text, char const* quotes, bool returnDelims, bool returnEmpty)
{
    return shown(StringTokenizer(text, " ,", returnDelims, returnEmpty, quotes, quotes));
}
}

TEST(Tokenizer, SplitsByItsFlags)
{
    EXPECT_EQ(split(" a  b,", "", false, false), "[a][b] = a b");
    EXPECT_EQ(split("a,,b,", "", false, true), "[a][][b][] = a  b ");
    EXPECT_EQ(split("", "", false, true), "[] = ");
    EXPECT_EQ(split("a, b", "", true, false), "[a][,][b] = a,b");
    EXPECT_EQ(split("a, b", "", true, true), "[a][,][][ ][b] = a, b");
    EXPECT_EQ(split("a \"b c\" d\"e f", "\"", false, false), "[a][b c][d\"e][f] = a \"b c\" d\"e f");
    EXPECT_EQ(split("\"a\"b \"\" \"c d", "\"", false, false), "[a][b][c d] = a b \"c d\"");
    EXPECT_EQ(split("\"a b\" \"c", "\"", true, false), "[\"a b\"][ ][\"c] = \"a b\" \"c");
}

TEST(Tokenizer, StartsAnewWithEachText)
{
    StringTokenizer tokenizer("one two\tthree");
    String token;
    EXPECT_TRUE(tokenizer.nextToken(token) && token == "one" && tokenizer.countTokens() == 3);
    tokenizer.setString(tokenizer.getTokens()[2], "r");
    EXPECT_EQ(shown(tokenizer), "[th][ee] = three");
    ZKVector<String> tokens;
    tokens.add("stale");
    tokenizer.getTokens(tokens);
    tokens.add("x");
    tokenizer.setTokens(tokens);
    EXPECT_EQ(shown(tokenizer), "[th][ee][x] = threerx");
}
