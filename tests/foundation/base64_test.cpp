#include "zekovar/foundation/base64.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

TEST(Base64, EncodesTheVectorsOfTheRfcInLines)
{
    struct
    {
        char const* bytes;
        unsigned int lineLength;
        char const* text;
    } const cases[] = {{"", 0, ""},
                       {"", 4, ""},
                       {"f", 0, "Zg=="},
                       {"fo", 0, "Zm8="},
                       {"foobar", 0, "Zm9vYmFy"},
                       {"foo", 4, "Zm9v\r\n"},
                       {"foobar", 11, "Zm9vYmFy\r\n"},
                       {"foobarf", 8, "Zm9vYmFy\r\nZg==\r\n"},
                       {"foobar", 3, "Zm9v\r\nYmFy\r\n"}};

    for (auto const& each : cases)
    {
        TString<char> const bytes(each.bytes, static_cast<int>(std::strlen(each.bytes)));
        String text("before");
        EXPECT_TRUE(Base64::encode(text, bytes, each.lineLength));
        EXPECT_EQ(text, each.text);
        TString<char> back("before", 6);
        EXPECT_TRUE(Base64::decode(back, text));
        EXPECT_EQ(std::string(back.data(), static_cast<std::size_t>(back.length())), each.bytes);
    }
}

TEST(Base64, DecodesWhatIsThere)
{
    struct
    {
        char const* text;
        unsigned int room;
        char const* bytes;
        bool fits;
    } const cases[] = {
        {"Z m\t9-v_", 3, "foo", true},        {"Zg==Zm8=", 3, "ffo", true}, {"Zm9vYmE", 5, "fooba", true},
        {"Zm9vYmF", 4, "foo", false},         {"Z", 0, "", true},           {"====", 0, "", true},
        {"Zm9vYmFyZm9v", 8, "foobar", false}, {"\xFF\x80=", 0, "", true}};

    for (auto const& each : cases)
    {
        unsigned char out[10] = {};
        unsigned int size = each.room;
        EXPECT_EQ(Base64::decode(each.text, out, size).isSuccess(), each.fits) << each.text;
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), size), each.bytes);
        EXPECT_EQ(out[size], 0) << "nothing is written behind what counts";
    }
}

TEST(Base64, EveryByteComesBackAtEveryLength)
{
    TString<unsigned char> bytes;
    for (int i = 0; i < 300; ++i)
    {
        bytes += static_cast<unsigned char>(i * 7);
        String text;
        TString<unsigned char> back;
        ASSERT_TRUE(Base64::encode(text, bytes, 76) && Base64::decode(back, text));
        ASSERT_EQ(back.length(), bytes.length());
        ASSERT_EQ(std::memcmp(back.data(), bytes.data(), static_cast<std::size_t>(bytes.length())), 0) << i;
    }
}
