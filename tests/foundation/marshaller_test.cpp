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
    XCode code(5);
    code.setString("why");
    ZKMarshaller marshaller;
    ASSERT_TRUE(marshaller.marshal(-2) && marshaller.marshal("ab", 2) && marshaller.marshal(String("text")) &&
                marshaller.marshal(code) && marshaller.marshal(XCode(XCODE_ERRNO + 2)) && marshaller.marshal(String()));
    EXPECT_EQ(bytesOf(marshaller), word(-2) + word(2) + "ab" + word(4) + "text" + word(5) + word(3) + "why" +
                                       word(0x11000002) + word(0) + word(0))
        << "what a value says of itself isn't its text";

    int number = 0;
    char block[3] = {};
    String text, kept("kept");
    XCode plain;
    ASSERT_TRUE(marshaller.unmarshal(number) && marshaller.unmarshal(block, 2) && marshaller.unmarshal(text) &&
                marshaller.unmarshal(code) && marshaller.unmarshal(plain) && marshaller.unmarshal(kept));
    EXPECT_EQ(listed(number, block, text, code.toString(), code.getRawValue(), plain.getRawValue(), kept,
                     marshaller.getLength()),
              "-2|ab|text|why|5|285212674|kept|0");
}

TEST(Marshaller, WhatIsNotThereFailsAndLeavesTheTargetAlone)
{
    for (std::string const& bytes : {std::string("abc"), word(5) + "abcd", word(0x7FFFFFFF)})
    {
        ZKMarshaller packed;
        packed.marshal(bytes.data(), static_cast<unsigned int>(bytes.size()));
        int number = 0;
        packed.unmarshal(number); // leaves the bytes without their length
        unsigned int const left = bytes.size() < 4 ? 3 : packed.getLength() - 4;
        String text("kept");
        ZKMarshaller first(packed);
        EXPECT_TRUE(first.unmarshal(text).isErr() && text == "kept" && first.getLength() == left);
        ZKMarshaller second(packed);
        EXPECT_TRUE(second.unmarshal(&number, 3).isErr() && second.getLength() == left);
        XCode code = XCODE_HTTP;
        EXPECT_TRUE(packed.unmarshal(code).isErr() && code == XCODE_HTTP);
    }
    ZKMarshaller marshaller;
    EXPECT_FALSE(marshaller.marshal("", 0xFFFFFFFF) || marshaller.marshal(nullptr, 1) || marshaller.getLength() > 0);
}

TEST(Marshaller, CopiesShareUntilOneChanges)
{
    ZKMarshaller original(100);
    original.marshal(String("text"));
    ZKMarshaller copy(original);
    unsigned char const* const data = original.getData();
    EXPECT_EQ(copy.getData(), data);

    String text;
    EXPECT_TRUE(copy.unmarshal(text) && original.copyOnWrite());
    EXPECT_EQ(original.getData(), data) << "the last holder needs no copy";
    original.marshal(original.getData(), 8);
    EXPECT_EQ(bytesOf(original), word(4) + "text" + word(8) + word(4) + "text");
    EXPECT_TRUE(original.clear() && original.getLength() == 0);
}

TEST(Marshaller, BufferUsesTheGapInFrontAndDoesNotGrowWhileItIsDrained)
{
    auto* buffer = new ZKMarshaller::Buffer(100);
    buffer->addTail("header payload", 14);
    buffer->removeHeader(7);
    ZKMarshaller::Buffer* const clone = buffer->clone();
    for (ZKMarshaller::Buffer* each : {buffer, clone})
    {
        unsigned char const* const payload = each->getData();
        EXPECT_TRUE(each->addHeader("front: ", 7) && each->getData() == payload - 7) << "the payload stays in place";
        EXPECT_EQ(each->getCapacity(), buffer->getCapacity());
    }
    clone->release();
    char end[3];
    EXPECT_TRUE(buffer->removeTail(end, 3) && end[0] == 'o' && buffer->removeTail(12).isErr());
    unsigned int const capacity = buffer->getCapacity();
    for (int i = 0; i < 100000; ++i)
        buffer->addTail(&i, sizeof i), buffer->removeHeader(sizeof i);
    EXPECT_EQ(buffer->getCapacity(), capacity) << "neither the gap nor a new start costs room";
    buffer->release();
}
