#include "zekovar/foundation/int_set.h"

#include "tests/string_printer.h"

#include <climits>
#include <gtest/gtest.h>

namespace
{
ZKIntSet setOf(char const* text)
{
    ZKIntSet set;
    EXPECT_TRUE(set.setup(text, INT_MIN, INT_MAX)) << text;
    return set;
}

/// The set and its size, or the error and the set that should have stayed.
String setUp(char const* text)
{
    ZKIntSet set(7);
    XCode const code = set.setup(text, -5, 9);
    return code ? String::stringOfFormat("%s #%lld", set.toString().c_str(), set.size())
                : String::stringOfFormat("%s, %s", code.toString().c_str(), set.toString().c_str());
}

String combined(char const* left, char const* right)
{
    ZKIntSet const a = setOf(left), b = setOf(right);
    return listed((a + b).toString(), (a - b).toString(), (a & b).toString());
}
}

TEST(IntSet, ReadsAndPrintsRanges)
{
    EXPECT_EQ(listed(setUp("1..3,5,7.."), setUp(" 3 , 0x1 ..\t2 "), setUp("..2,1..4,,-3"), setUp(".."), setUp("")),
              "1..3,5,7..9 #7|1..3 #3|-5..4 #10|-5..9 #15| #0");
    for (char const* text : {"1,x", "x..2", "3..1", "1,2x", "1-3", "1..2..3"})
        EXPECT_EQ(setUp(text), "INVALID FORMAT, 7") << text;
    for (char const* text : {"-6", "2..10", "12..", "4294967297", "..-4294967295"})
        EXPECT_EQ(setUp(text), "OUT OF RANGE, 7") << text;
}

TEST(IntSet, OperatorsHoldAtTheEndsOfInt)
{
    EXPECT_EQ(combined("1..9", "4..5"), "1..9|1..3,6..9|4..5");
    EXPECT_EQ(combined("1..3,5..7,9", "3..5,7..9"), "1..9|1..2,6|3,5,7,9");
    EXPECT_EQ(combined("1..2,4", "3"), "1..4|1..2,4|");
    EXPECT_EQ(combined("..", "..-2147483648,2147483647"),
              "-2147483648..2147483647|-2147483647..2147483646|-2147483648,2147483647");
    EXPECT_EQ(combined("-2147483648,2147483647", ".."), "-2147483648..2147483647||-2147483648,2147483647");
    EXPECT_EQ(combined("..-1", "0.."), "-2147483648..2147483647|-2147483648..-1|");
    ZKIntSet set = setOf("..");
    EXPECT_TRUE(set.size() == 1LL << 32 && (set -= set).isEmpty());
}

TEST(IntSet, IteratesToTheLastInt)
{
    ZKIntSet const set = setOf("-2147483648,5..6,2147483646..");
    std::vector<int> const wanted = {INT_MIN, 5, 6, INT_MAX - 1, INT_MAX};
    EXPECT_EQ(std::vector<int>(set.begin(), set.end()), wanted);
    for (int number : wanted)
        EXPECT_TRUE(set.contains(number) && !(set - number).contains(number)) << number;
    EXPECT_FALSE(set.contains(4) || set.contains(7) || ZKIntSet().contains(0));
}
