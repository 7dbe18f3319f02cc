#include "zekovar/foundation/list.h"

#include "zekovar/foundation/string.h"

#include <gtest/gtest.h>

namespace
{
String joined(ZKList<String> const& list)
{
    String text;
    for (String const& element : list)
        text.concat(element).concat(" ");
    return text;
}

ZKList<String> listOf(std::initializer_list<char const*> texts)
{
    ZKList<String> list;
    for (char const* text : texts)
        list.add(text);
    return list;
}
}

TEST(List, KeepsTheOrderOfAddingAndPopsFromTheFront)
{
    ZKList<String> list = listOf({"b", "c"});
    list.addFirst("a");
    EXPECT_EQ(joined(list), "a b c ");

    String text;
    EXPECT_TRUE(list.pop(text));
    EXPECT_EQ(text, "a");
    EXPECT_EQ(list.size(), 2u);
    EXPECT_TRUE(list.pop(text) && list.pop(text));
    text = "untouched";
    EXPECT_FALSE(list.pop(text));
    EXPECT_EQ(text, "untouched");
    list.add("again");
    EXPECT_EQ(joined(list), "again ");
}

TEST(List, EraseMovesTheIteratorOn)
{
    ZKList<String> list = listOf({"a", "x", "x", "b", "x"});
    for (ZKList<String>::Iterator it = list.begin(); it != list.end();)
    {
        if (*it == "x")
            list.erase(it);
        else
            ++it;
    }
    EXPECT_EQ(joined(list), "a b ");
    EXPECT_EQ(list.size(), 2u);

    ZKList<String>::Iterator end = list.end();
    list.erase(end);
    EXPECT_EQ(list.size(), 2u) << "there is nothing to erase at the end";
    --end;
    EXPECT_EQ(*end, "b");
}

TEST(List, CopiesAreDeepAndMovesLeaveAnEmptyList)
{
    ZKList<String> list = listOf({"a", "b"});
    ZKList<String> copy(list);
    *copy.begin() = "changed";
    EXPECT_EQ(joined(list), "a b ");

    ZKList<String> moved(std::move(list));
    EXPECT_EQ(joined(moved), "a b ");
    EXPECT_EQ(joined(list), "");
    list.add("c");
    EXPECT_EQ(joined(list), "c ");

    moved = copy;
    EXPECT_EQ(joined(moved), "changed b ");
}
