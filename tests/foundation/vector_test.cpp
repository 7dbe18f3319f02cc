#include "zekovar/foundation/vector.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{
/// Texts too long to lie inline, so that a use of freed memory shows.
ZKVector<String> threeTexts()
{
    ZKVector<String> vector;
    for (char const* text : {"first element", "second element", "third element"})
        vector.add(text);
    return vector;
}
}

TEST(Vector, GrowsByItsGrainAndRefusesWhatCannotBe)
{
    ZKVector<int> vector(0);
    vector.add(1);
    EXPECT_EQ(vector.capacity(), 2u) << "a grain of 0 is the default one";
    EXPECT_TRUE(vector.enlarge(4) && vector.enlarge(0) && !vector.enlarge(0xFFFFFFFE));
    EXPECT_EQ(vector.capacity(), 6u);

    vector[0xFFFFFFFF] = 7;
    EXPECT_EQ(vector[0xFFFFFFFF], 0) << "the spare value keeps nothing";
    EXPECT_TRUE(vector.size() == 1 && vector[0] == 1);
    EXPECT_FALSE(ZKVector<bool>(3).enlarge(0xFFFFFFFE)) << "a size at which the next index wraps";
}

TEST(Vector, IndexPastTheEndExtendsWithDefaultValues)
{
    ZKVector<int> numbers;
    EXPECT_TRUE(numbers[5] == 0 && numbers.size() == 6);

    ZKVector<String> texts = threeTexts();
    texts.clear();
    EXPECT_EQ(texts[2], "") << "what was there before doesn't come back";
    EXPECT_EQ(std::as_const(texts)[100], "");
    EXPECT_EQ(texts.size(), 3u);
}

TEST(Vector, TakesItsOwnElementsAsArguments)
{
    ZKVector<String> vector = threeTexts();
    for (int i = 0; i < 9; i++)
        vector.add(vector[0]);
    EXPECT_EQ(vector[11], "first element");

    vector.remove(vector[0]);
    ASSERT_EQ(vector.size(), 2u) << "equal elements go, however the value moves meanwhile";
    EXPECT_TRUE(vector[0] == "second element" && vector[1] == "third element");
    EXPECT_EQ(vector[2], "") << "the places behind are cleared";
}

TEST(Vector, AssignmentCopiesElementsAndNeverShrinks)
{
    ZKVector<String> source = threeTexts();
    ZKVector<String> target(8);
    target = source;
    EXPECT_EQ(target.capacity(), 8u) << "the own grain";
    source.clear();
    EXPECT_EQ(source.capacity(), 4u);
    EXPECT_EQ(target[2], "third element");

    ZKVector<String> copy(target);
    target = source;
    EXPECT_TRUE(target.size() == 0 && target.capacity() == 8 && target[0] == "");

    ZKVector<String> moved(std::move(copy));
    EXPECT_TRUE(moved[0] == "first element" && copy.size() == 0);
}
