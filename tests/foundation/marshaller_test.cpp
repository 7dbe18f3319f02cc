#include "zekovar/foundation/marshaller.h"

#include "tests/string_printer.h"

#include <gtest/gtest.h>
#include <string>

namespace
{
std::string bytesOf(ZKMarshaller const& marshaller)
{
    return {reinterpret_cast<char const*>(marshaller.getData()), marshaller.getLength()};
}

std::string word(uint32_t value)
{
    return {reinterpret_cast<char const*>(&value), sizeof value};
}
}

TEST(Marshaller, ValuesComeBackInTheOrderOfTheirStatedForm)
{
    XCode coded(5);
    coded.setString("why");
    ZKMarshaller marshaller;
    ASSERT_TRUE(marshaller.marshal(-2) && marshaller.marshal("ab", 2) && marshaller.marshal(String("text")) &&
                marshaller.marshal(coded) && marshaller.marshal(XCode(XCODE_ERRNO + 2)) &&
                marshaller.marshal(String()));
    EXPECT_EQ(bytesOf(marshaller), word(-2) + word(2) + "ab" + word(4) + "text" + word(5) + word(3) + "why" +
                                       word(0x11000002) + word(0) + word(0))
        << "what a value says of itself isn't its text";

    int number = 0;
    char block[2];
    String text;
    String kept("kept");
    XCode code;
    XCode plain;
    ASSERT_TRUE(marshaller.unmarshal(number) && marshaller.unmarshal(block, 2) && marshaller.unmarshal(text) &&
                marshaller.unmarshal(code) && marshaller.unmarshal(plain) && marshaller.unmarshal(kept));
    EXPECT_EQ(number, -2);
    EXPECT_EQ(std::string(block, 2), "ab");
    EXPECT_EQ(text, "text");
    EXPECT_EQ(code.toString(), "why");
    EXPECT_EQ(code.getRawValue(), 5u);
    EXPECT_EQ(plain.getRawValue(), 0x11000002u);
    EXPECT_EQ(kept, "kept");
    EXPECT_EQ(marshaller.getLength(), 0u);
}

TEST(Marshaller, WhatIsNotThereFailsAndLeavesTheTargetAlone)
{
    struct
    {
        std::string bytes;
        unsigned int left;
    } const cases[] = {{"abc", 3}, {word(5) + "abcd", 4}, {word(0x7FFFFFFF), 0}};

    for (auto const& [bytes, left] : cases)
    {
        ZKMarshaller packed;
        packed.marshal(bytes.data(), static_cast<unsigned int>(bytes.size()));
        int length;
        ASSERT_TRUE(packed.unmarshal(length));
        String text("kept");
        ZKMarshaller marshaller(packed);
        EXPECT_EQ(marshaller.unmarshal(text), XCODE_FAILURE);
        EXPECT_EQ(text, "kept");
        EXPECT_EQ(marshaller.getLength(), left) << "only the length may be consumed";
        char block[3];
        marshaller = packed;
        EXPECT_EQ(marshaller.unmarshal(block, 3), XCODE_FAILURE);
        EXPECT_EQ(marshaller.getLength(), left);
        XCode code = XCODE_HTTP;
        EXPECT_EQ(packed.unmarshal(code), XCODE_FAILURE);
        EXPECT_EQ(code, XCODE_HTTP);
    }
    ZKMarshaller marshaller;
    EXPECT_FALSE(marshaller.marshal("", 0xFFFFFFFF) || marshaller.marshal(nullptr, 1));
    EXPECT_EQ(marshaller.getLength(), 0u) << "no length stays of what wasn't packed";
}

TEST(Marshaller, CopiesShareUntilOneChanges)
{
    ZKMarshaller original(100);
    original.marshal(String("text"));
    ZKMarshaller copy(original);
    EXPECT_EQ(copy.getData(), original.getData());

    String text;
    EXPECT_TRUE(copy.unmarshal(text));
    EXPECT_EQ(bytesOf(original), word(4) + "text");
    unsigned char const* const data = original.getData();
    EXPECT_TRUE(original.copyOnWrite());
    EXPECT_EQ(original.getData(), data) << "the last holder needs no copy";
    original.marshal(original.getData(), 8);
    EXPECT_EQ(bytesOf(original), word(4) + "text" + word(8) + word(4) + "text");
    original.clear();
    EXPECT_EQ(ZKMarshaller().getLength() + original.getLength(), 0u);
}

TEST(Marshaller, BufferUsesTheGapInFrontAndDoesNotGrowWhileItIsDrained)
{
    auto* buffer = new ZKMarshaller::Buffer(100);
    buffer->addTail("header payload", 14);
    buffer->removeHeader(7);
    unsigned char const* const payload = buffer->getData();
    ZKMarshaller::Buffer* const clone = buffer->clone();
    for (ZKMarshaller::Buffer* each : {buffer, clone})
    {
        unsigned char const* const before = each->getData();
        EXPECT_TRUE(each->addHeader("front: ", 7));
        EXPECT_EQ(each->getData(), before - 7) << "the payload stays where it is";
        EXPECT_EQ(each->getCapacity(), clone->getCapacity());
    }
    EXPECT_EQ(buffer->getData() + 7, payload);
    char end[4] = {};
    EXPECT_TRUE(buffer->removeTail(end, 3));
    EXPECT_STREQ(end, "oad");
    EXPECT_EQ(buffer->removeTail(12), XCODE_FAILURE);

    for (int i = 0; i < 100000; ++i)
        buffer->addTail(&i, sizeof i), buffer->removeHeader(sizeof i);
    EXPECT_LT(buffer->getCapacity(), 500u);
    clone->release();
    buffer->release();
}
