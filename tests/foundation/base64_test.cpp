#include "zekovar/foundation/base64.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

namespace
{
String encoded(std::string const& bytes, unsigned int lineLength)
{
    String text("before");
    EXPECT_TRUE(Base64::encode(text, TString<char>(bytes.data(), static_cast<int>(bytes.size())), lineLength));
    return text;
}

/// What fits into `room` bytes, and whether that was all.
String decoded(char const* text, unsigned int room)
{
    char out[10] = {};
    XCode const code = Base64::decode(text, reinterpret_cast<unsigned char*>(out), room);
    EXPECT_EQ(std::strlen(out), room) << "nothing is written behind what counts";
    return String::stringOfFormat("%s %s", out, code ? "all" : "cut");
}
}

TEST(Base64, EncodesTheVectorsOfTheRfcInLines)
{
    EXPECT_EQ(listed(encoded("", 0), encoded("", 4), encoded("f", 0), encoded("fo", 0), encoded("\xFB\xFF\xBF", 0)),
              "||Zg==|Zm8=|+/+/");
    EXPECT_EQ(listed(encoded("foo", 4), encoded("foobar", 11), encoded("foobarf", 8), encoded("foobar", 3)),
              "Zm9v\r\n|Zm9vYmFy\r\n|Zm9vYmFy\r\nZg==\r\n|Zm9v\r\nYmFy\r\n");
    TString<unsigned char> back;
    EXPECT_TRUE(Base64::decode(back, encoded("foobarf", 8)) && back.length() == 7 && back[6] == 'f');
    String text("foo");
    EXPECT_TRUE(Base64::encode(reinterpret_cast<unsigned char const*>(text.c_str()), 3, 0, text));
    EXPECT_EQ(text, "Zm9v");
}

TEST(Base64, DecodesWhatIsThere)
{
    EXPECT_EQ(listed(decoded("Z m\t9-v_", 3), decoded("Zg==Zm8=", 3), decoded("Zm9vYmE", 5)),
              "foo all|ffo all|fooba all");
    EXPECT_EQ(listed(decoded("Z", 0), decoded("====", 0), decoded("\xFF\x80=", 0)), " all| all| all");
    EXPECT_EQ(listed(decoded("Zm9vYmF", 4), decoded("Zm9vYmFyZm9v", 8), decoded("+/+/", 3)),
              "foo cut|foobar cut|\xFB\xFF\xBF all");
}
