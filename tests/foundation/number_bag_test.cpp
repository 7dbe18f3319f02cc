#include "zekovar/foundation/number_bag.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{
constexpr unsigned int HIGHEST = 0xFFFFFFFF;

/// The numbers above `base` that `draw` gives until it fails, at most 100.
template <class Draw>
String drawn(unsigned int base, unsigned int number, Draw draw)
{
    String numbers;
    for (int i = 0; i < 100 && draw(&number); ++i)
        numbers.concatf("%u ", number - base);
    return numbers;
}
}

TEST(NumberBag, GivesEachNumberOnceUntilItIsBack)
{
    for (unsigned int first : {0u, 10u, HIGHEST - 2})
    {
        ZKNumberBag bag(first, first + 2);
        EXPECT_FALSE(bag.returnNumber(first) || bag.returnNumber(first + 3) || bag.returnNumber(first - 1));
        ZKNumberBag const full(bag);
        EXPECT_EQ(drawn(first, 0, [&](unsigned int* number) { return bag.getNumber(number); }), "0 1 2 ");
        EXPECT_TRUE(!bag.isInBag(first + 1) && bag.returnNumber(first + 1) && bag.isInBag(first + 1));
        EXPECT_TRUE(bag.getNumber(first + 1) && !bag.getNumber(first + 1) && !bag.getNumber(first + 3));
        bag = full;
        EXPECT_TRUE(bag.isInBag(first + 1)) << "copies don't share";
    }
    ZKNumberBag nothing(5, 0);
    unsigned int number = 5;
    EXPECT_FALSE(nothing.getNumber(&number) || nothing.getNumber(5u) || nothing.returnNumber(5) ||
                 nothing.getNumberRoundRobin(&number) || nothing.getEvenNumberPairInRange(0, HIGHEST, &number));
}

TEST(NumberBag, SearchesInARangeBehindItsStart)
{
    ZKNumberBag bag(10, 200);
    auto const above = [&](unsigned int low, unsigned int high)
    { return drawn(0, 0, [&](unsigned int* number) { return bag.getNumberInRange(low, high, number); }); };
    EXPECT_EQ(above(0, 12), "11 12 ");
    EXPECT_EQ(above(198, HIGHEST), "199 200 ");
    bag.returnNumber(200);
    EXPECT_TRUE(above(201, 300) == "" && above(0, 9) == "" && above(30, 20) == "");
    EXPECT_EQ(above(200, 200), "200 ") << "nothing lies above it";
}

TEST(NumberBag, RoundRobinComesBackAsLateAsPossible)
{
    ZKNumberBag bag(10, 73);
    unsigned int number = 0;
    for (unsigned int i = 0; i < 130; ++i)
        ASSERT_TRUE(bag.getNumberRoundRobin(&number) && number == 10 + i % 64 && bag.returnNumber(number)) << i;
    EXPECT_EQ(drawn(0, 71, [&](unsigned int* each) { return bag.getNumberInRangeRoundRobin(70, 300, each); }),
              "72 73 70 71 ");
}

TEST(NumberBag, PairsAreEvenAndWholeAndCrossWords)
{
    for (unsigned int first : {1u, 2u})
    {
        ZKNumberBag bag(first, 67);
        bag.getNumber(5u);
        auto const pairs = [&](unsigned int* number) { return bag.getEvenNumberPairInRange(0, 10, number); };
        EXPECT_EQ(drawn(0, 0, pairs), "2 6 8 ");
        EXPECT_TRUE(bag.isInBag(4) && bag.isInBag(10) && !bag.isInBag(8) && !bag.isInBag(9));
        auto const next = [&](unsigned int* number) { return bag.getEvenNumberPairInRangeRoundRobin(32, 66, number); };
        EXPECT_EQ(drawn(0, 60, next), "62 64 32 34 36 38 40 42 44 46 48 50 52 54 56 58 60 ");
    }
    ZKNumberBag bag(HIGHEST - 9, HIGHEST);
    auto const next = [&](unsigned int* number)
    { return bag.getEvenNumberPairInRangeRoundRobin(HIGHEST - 6, HIGHEST, number); };
    EXPECT_EQ(drawn(HIGHEST - 9, HIGHEST - 3, next), "8 4 6 ");
}
