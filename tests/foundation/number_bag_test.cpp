#include "zekovar/foundation/number_bag.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{
constexpr unsigned int HIGHEST = 0xFFFFFFFF;

using Draw = bool (ZKNumberBag::*)(unsigned int, unsigned int, unsigned int*);

/// The numbers that `draw` gives until it fails, at most 100.
String drawn(ZKNumberBag& bag, Draw draw, unsigned int low, unsigned int high, unsigned int number = 0)
{
    String numbers;
    for (int i = 0; i < 100 && (bag.*draw)(low, high, &number); ++i)
        numbers.concatf("%u ", number);
    return numbers;
}
}

TEST(NumberBag, GivesEachNumberOnceUntilItIsBack)
{
    unsigned int number = 5;
    for (unsigned int first : {0u, 10u, HIGHEST - 2})
    {
        ZKNumberBag bag(first, first + 2);
        ZKNumberBag const full(bag);
        EXPECT_FALSE(bag.returnNumber(first) || bag.returnNumber(first + 3) || bag.returnNumber(first - 1));
        for (unsigned int i = 0; i < 3; ++i)
            EXPECT_TRUE(bag.getNumber(&number) && number == first + i && !bag.isInBag(number));
        EXPECT_FALSE(bag.getNumber(&number) || bag.getNumber(first + 1) || bag.getNumber(first + 3));
        EXPECT_TRUE(bag.returnNumber(first + 1) && bag.getNumber(first + 1));
        bag = full;
        EXPECT_TRUE(bag.isInBag(first + 1)) << "copies don't share";
    }
    ZKNumberBag nothing(5, 0);
    EXPECT_FALSE(nothing.getNumber(&number) || nothing.getNumber(5u) || nothing.returnNumber(5) ||
                 nothing.getNumberRoundRobin(&number) || nothing.getEvenNumberPairInRange(0, HIGHEST, &number));
}

TEST(NumberBag, SearchesInARangeBehindItsStart)
{
    ZKNumberBag bag(10, 200);
    Draw const above = &ZKNumberBag::getNumberInRange;
    EXPECT_EQ(drawn(bag, above, 0, 12), "11 12 ");
    EXPECT_EQ(drawn(bag, above, 198, HIGHEST), "199 200 ");
    bag.returnNumber(200);
    EXPECT_EQ(listed(drawn(bag, above, 201, 300), drawn(bag, above, 0, 9), drawn(bag, above, 30, 20)), "||");
    EXPECT_EQ(drawn(bag, above, 200, 200), "200 ") << "nothing lies above it";
}

TEST(NumberBag, RoundRobinComesBackAsLateAsPossible)
{
    ZKNumberBag bag(10, 73);
    unsigned int number = 0;
    for (unsigned int i = 0; i < 130; ++i)
        ASSERT_TRUE(bag.getNumberRoundRobin(&number) && number == 10 + i % 64 && bag.returnNumber(number)) << i;
    EXPECT_EQ(drawn(bag, &ZKNumberBag::getNumberInRangeRoundRobin, 70, 300, 71), "72 73 70 71 ");
}

TEST(NumberBag, PairsAreEvenAndWholeAndCrossWords)
{
    Draw const next = &ZKNumberBag::getEvenNumberPairInRangeRoundRobin;
    for (unsigned int first : {1u, 2u})
    {
        ZKNumberBag bag(first, 67);
        bag.getNumber(5u);
        EXPECT_EQ(drawn(bag, &ZKNumberBag::getEvenNumberPairInRange, 0, 10), "2 6 8 ");
        EXPECT_TRUE(bag.isInBag(4) && bag.isInBag(10) && !bag.isInBag(8) && !bag.isInBag(9));
        EXPECT_EQ(drawn(bag, next, 32, 66, 60), "62 64 32 34 36 38 40 42 44 46 48 50 52 54 56 58 60 ");
    }
    ZKNumberBag bag(HIGHEST - 9, HIGHEST);
    EXPECT_EQ(drawn(bag, next, HIGHEST - 6, HIGHEST, HIGHEST - 3), "4294967294 4294967290 4294967292 ");
}
