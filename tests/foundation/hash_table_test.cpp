#include "zekovar/foundation/hash_table.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>

namespace
{
using Table = ZKStringHashTable<int>;

String listed(Table const& table)
{
    String text;
    for (auto const& entry : table)
        text.concatf("%s=%d ", entry.key().c_str(), entry.value());
    return text;
}
}

TEST(HashTable, HashesTextByShiftAndXor)
{
    EXPECT_EQ(StringHash()(""), 0u);
    EXPECT_EQ(StringHash()("ab"), (0x61u ^ 0x61u << 5 ^ 0x62u));
    EXPECT_EQ(StringHash()("\xff"), 0xFFu) << "bytes are unsigned";
}

TEST(HashTable, IteratesInTheOrderOfAddingAndFindsTheOldest)
{
    Table table;
    for (char const* key : {"zebra", "ant", "mole"})
        table.add(key, key[0]);
    table.add("ant", 1);
    EXPECT_EQ(listed(table), "zebra=122 ant=97 mole=109 ant=1 ");

    int value = 7;
    EXPECT_TRUE(!table.get("bee", value) && value == 7);
    EXPECT_TRUE(table.get("ant", value) && value == 97);
    table.set("ant", 2);
    table.set("bee", 3);
    EXPECT_EQ(listed(table), "zebra=122 ant=2 mole=109 ant=1 bee=3 ");
    EXPECT_TRUE(table.remove("ant", value) && value == 2);
    EXPECT_EQ(listed(table), "zebra=122 mole=109 ant=1 bee=3 ");
    EXPECT_TRUE(table.remove("ant") && !table.remove("ant", value));
}

TEST(HashTable, LongChainsKeepTheirEntries)
{
    ZKIntHashTable<int> table(3);
    for (int i = -100; i < 100; i++)
        table.add(i, i * 2);
    for (int i = -100; i < 100; i += 2)
        EXPECT_TRUE(table.remove(i));
    for (int i = -100; i < 100; i++)
    {
        int value = 0;
        EXPECT_EQ(table.get(i, value), i % 2 != 0);
        EXPECT_EQ(value, i % 2 != 0 ? i * 2 : 0);
    }
    EXPECT_EQ(table.size(), 100u);
}

TEST(HashTable, IteratorMovesOnFromWhatItErases)
{
    Table table;
    for (char const* key : {"a", "b", "c"})
        table.add(key, 0);
    Table::Iterator it = table.end();
    table.erase(it);
    EXPECT_TRUE(table.get("b", it));
    table.erase(it);
    EXPECT_EQ(it.key(), "c");
    table.erase(it);
    EXPECT_EQ(it, table.end());

    Table const& constant = table;
    Table::ConstIterator position;
    EXPECT_TRUE(constant.get("a", position));
    EXPECT_TRUE(table.remove(position.key())) << "the key may lie in the entry itself";
    EXPECT_TRUE(!constant.get("a", position) && position == constant.end());
}

TEST(HashTable, CopiesAreDeepAndMovesLeaveAnEmptyTable)
{
    Table table;
    table.add("a", 1);
    table.add("b", 2);
    Table copy(table);
    copy.set("a", 5);

    Table moved(std::move(table));
    EXPECT_EQ(listed(moved), "a=1 b=2 ");
    table.add("c", 3);
    EXPECT_EQ(listed(table), "c=3 ");
    moved = copy;
    EXPECT_EQ(listed(moved), "a=5 b=2 ");
    moved.clear();
    moved._add(new Table::Node("d", 4)) = 6;
    EXPECT_EQ(listed(moved), "d=6 ");

    ZKPtrHashTable<String> pointers(0);
    pointers.add(nullptr, "null");
    EXPECT_TRUE(pointers.contains(nullptr) && !pointers.contains(&table));
}
