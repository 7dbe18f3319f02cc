#include "zekovar/foundation/uuid.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/random.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
constinit ZK::UUIDData s_named = {
    0x1e7be6bc,   0x6ebb, 0x4e16, {0x8c, 0xc1, 0xc1, 0x07, 0x05, 0x5e, 0x1f, 0x94}, ZK::UUIDData::STATIC_RECORD,
    "IID_Unknown"};
constinit ZK::UUIDData s_nameless = {0xa, 0xb, 0xc, {1, 2, 3, 4, 5, 6, 7, 0xff}, ZK::UUIDData::STATIC_RECORD, nullptr};
}

TEST(UUID, TextsAreTheSameOnEveryByteOrder)
{
    EXPECT_EQ(ZK::UUID(s_named).text(), "IID_Unknown");
    EXPECT_EQ(ZK::UUID(s_named).toString(true), "1e7be6bc-6ebb-4e16-8cc1-c107055e1f94-IID_Unknown");
    EXPECT_EQ(ZK::UUID(s_nameless).text(), "0000000a-000b-000c-01020304050607ff");
    EXPECT_EQ(ZK::UUID(s_nameless).toString(true), "0000000a-000b-000c-0102-0304050607ff-INVALID");
    EXPECT_EQ(ZK::UUID::INVALID().toString(false), "00000000-0000-0000-0000-000000000000");
}

TEST(UUID, ParseReversesToString)
{
    ZK::UUID id;
    ASSERT_TRUE(id.parse(ZK::UUID(s_named).toString(true)));
    EXPECT_EQ(id.text(), "IID_Unknown");
    EXPECT_EQ(id.parse("0000000a-000b-000c-0102-0304050607"), XCODE_FAILURE) << "ten fields";
    EXPECT_EQ(id, ZK::UUID(s_named));
    ASSERT_TRUE(id.parse("0000000A-000b-000c-0102-0304050607FF-"));
    EXPECT_EQ(id.toString(true), "0000000a-000b-000c-0102-0304050607ff-INVALID") << "an empty name is none";
}

TEST(UUID, CopiesShareARecordAndGiveItBack)
{
    auto* record = new ZK::UUIDData{7, 0, 0, {}, 0, ::strdup("shared")};
    ZK::UUID const keeper(*record);
    {
        ZK::UUID first(*record);
        ZK::UUID const second(first);
        EXPECT_EQ(record->useCount, 3u);
        ZK::UUID const& alias = first;
        first = alias;
        EXPECT_EQ(record->useCount, 3u);
        first = ZK::UUID(s_named);
        EXPECT_EQ(record->useCount, 2u);
    }
    EXPECT_EQ(record->useCount, 1u);
    EXPECT_EQ(s_named.useCount, ZK::UUIDData::STATIC_RECORD);
}

TEST(UUID, GeneratedOnesDifferAndAreCalledRandom)
{
    ZK::UUID const first = ZK::UUID::GENERATE();
    EXPECT_FALSE(first == ZK::UUID::GENERATE() || first == ZK::UUID::INVALID());
    EXPECT_EQ(first.text(), "random");
    EXPECT_EQ(ZKRandom(false).getPath(), ZKRandom::U_DEV_RANDOM);
    EXPECT_EQ(ZKRandom(true).getPath(), ZKRandom::DEV_RANDOM);
}
