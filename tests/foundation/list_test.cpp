#include "zekovar/foundation/list.h"

#include "tests/string_printer.h"

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
    ZKList<String> list = listOf({"b"});
    list.addFirst("a");
    EXPECT_EQ(joined(list), "a b ");

    String text;
    EXPECT_TRUE(list.pop(text) && text == "a");
    EXPECT_TRUE(list.pop(text) && text == "b");
    EXPECT_TRUE(!list.pop(text) && text == "b") << "an empty list leaves the text alone";
    list.add("again");
    EXPECT_EQ(joined(list), "again ");
    EXPECT_EQ(list.size(), 1u);
}

TEST(List, EraseMovesTheIteratorOn)
{
    ZKList<String> list = listOf({"a", "x", "b", "x"});
    ZKList<String>::Iterator it = list.begin();
    list.erase(++it);
    EXPECT_EQ(*it, "b");
    list.erase(++it);
    list.erase(it); // the end: nothing to erase
    EXPECT_EQ(joined(list), "a b ");
    EXPECT_EQ(list.size(), 2u);
    EXPECT_EQ(*--it, "b");
}

TEST(List, CopiesAreDeepAndMovesLeaveAnEmptyList)
{
    ZKList<String> list = listOf({"a", "b"});
    ZKList<String> copy(list);
    *copy.begin() = "changed";

    ZKList<String> moved(std::move(list));
    EXPECT_EQ(joined(moved), "a b ");
    list.add("c");
    EXPECT_EQ(joined(list), "c ");
    moved = copy;
    EXPECT_EQ(joined(moved), "changed b ");
}
