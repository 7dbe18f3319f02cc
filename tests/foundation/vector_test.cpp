#include "zekovar/foundation/vector.h"

#include "zekovar/foundation/string.h"

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

TEST(Vector, GrowsByItsGrain)
{
    ZKVector<int> vector;
    EXPECT_EQ(vector.capacity(), 0u);
    vector.add(1);
    EXPECT_EQ(vector.capacity(), 2u);
    vector.add(2);
    vector.add(3);
    EXPECT_EQ(vector.capacity(), 4u);

    ZKVector<int> direct(0);
    EXPECT_TRUE(direct.enlarge(4));
    EXPECT_EQ(direct.capacity(), 6u) << "a grain of 0 is the default one";
    EXPECT_EQ(direct.size(), 0u);
}

TEST(Vector, EnlargeNeverLosesElementsAndRefusesWhatCannotBe)
{
    ZKVector<String> vector = threeTexts();
    EXPECT_TRUE(vector.enlarge(0));
    EXPECT_EQ(vector.size(), 3u);
    EXPECT_EQ(vector[2], "third element");
    EXPECT_FALSE(vector.enlarge(0xFFFFFFFF));
    EXPECT_FALSE(vector.enlarge(0xFFFFFFFE));

    vector[0xFFFFFFFF] = "lost";
    EXPECT_EQ(vector[0xFFFFFFFF], "") << "the spare value keeps nothing";
    EXPECT_EQ(vector.size(), 3u);
    EXPECT_EQ(vector.capacity(), 4u);
}

TEST(Vector, IndexPastTheEndExtendsWithDefaultValues)
{
    ZKVector<int> numbers;
    EXPECT_EQ(numbers[5], 0);
    EXPECT_EQ(numbers.size(), 6u);
    for (int number : numbers)
        EXPECT_EQ(number, 0);

    ZKVector<String> texts = threeTexts();
    texts.clear();
    EXPECT_EQ(texts[2], "") << "what was there before doesn't come back";

    ZKVector<String> const& constant = texts;
    EXPECT_EQ(constant[100], "");
    EXPECT_EQ(texts.size(), 3u);
}

TEST(Vector, TakesItsOwnElementsAsArguments)
{
    ZKVector<String> vector = threeTexts();
    for (int i = 0; i < 9; i++)
        vector.add(vector[0]);
    EXPECT_EQ(vector[0], "first element");
    EXPECT_EQ(vector[11], "first element");

    vector.remove(vector[0]);
    ASSERT_EQ(vector.size(), 2u) << "equal elements go, however the value moves meanwhile";
    EXPECT_EQ(vector[0], "second element");
}

TEST(Vector, RemoveTakesEveryEqualElementAndClearsTheTail)
{
    ZKVector<String> vector;
    for (char const* text : {"x", "a", "x", "b", "x"})
        vector.add(text);
    vector.remove("x");
    ASSERT_EQ(vector.size(), 2u);
    EXPECT_EQ(vector[0], "a");
    EXPECT_EQ(vector[1], "b");
    EXPECT_EQ(vector[4], "");
    EXPECT_TRUE(vector.contains("b"));
    EXPECT_FALSE(vector.contains("x"));
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
    EXPECT_EQ(target.size(), 0u);
    EXPECT_EQ(target.capacity(), 8u);
    EXPECT_EQ(target[0], "");
    EXPECT_EQ(copy[0], "first element");

    ZKVector<String> moved(std::move(copy));
    EXPECT_EQ(moved.size(), 3u);
    EXPECT_EQ(copy.size(), 0u);
}
