#include "zekovar/foundation/text.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/report_text.h"
#include "zekovar/foundation/text_check.h"

#include <climits>
#include <gtest/gtest.h>

namespace
{
constexpr unsigned int FAILURE = 0x7fffffff;

/// The number in base 2, 8, 10 and 16; "null" where there is no text.
String printed(int value)
{
    char room[34];
    String texts;
    for (unsigned int base : {2, 8, 10, 16})
        texts.concatf("%s ", i32toa(value, room, base) != nullptr ? room : "null");
    return texts;
}

/// The number that is read, and whether it passes as a valid one.
String read(char const* text)
{
    unsigned int code = 1;
    int const value = validValueOf32(&code, text);
    return String::stringOfFormat("%d %s", value, code == 0 ? "valid" : code == FAILURE ? "invalid" : "?");
}

void expectAll(unsigned int (*check)(char const*), unsigned int result, std::initializer_list<char const*> texts)
{
    for (char const* text : texts)
        EXPECT_EQ(check(text), result) << (text != nullptr ? text : "null");
}
}

TEST(Text, NumbersCarryTheirBaseBehindThem)
{
    EXPECT_EQ(printed(0), "0b 0o 0 0h ");
    EXPECT_EQ(printed(255), "11111111b 377o 255 FFh ");
    EXPECT_EQ(printed(-5), "11111111111111111111111111111011b null -5 null ");
    EXPECT_EQ(printed(INT_MIN), "10000000000000000000000000000000b null -2147483648 null ");
    char room[66];
    EXPECT_STREQ(i16toa(SHRT_MIN, room, 10), "-32768");
    EXPECT_STREQ(i16toa(-1, room, 2), "1111111111111111b");
    EXPECT_EQ(u_valueOf64(u_i64toa(ULLONG_MAX - 1, room, 2)), ULLONG_MAX - 1);
    EXPECT_TRUE(u_i32toa(5, nullptr, 10) == nullptr && u_i32toa(5, room, 3) == nullptr && reverse(nullptr) == nullptr);
}

TEST(Text, NumbersAreReadByTheirMarkerAndChecked)
{
    EXPECT_EQ(listed(read("11b"), read("17o"), read("FFh"), read("-1fx"), read("12k"), read("007")),
              "3 invalid|15 invalid|255 invalid|-31 invalid|12 invalid|7 invalid");
    EXPECT_EQ(listed(read(""), read(nullptr), read("-"), read("-b"), read("-0"), read("4294967296")),
              "0 invalid|0 invalid|0 invalid|0 invalid|0 invalid|0 invalid");
    EXPECT_EQ(listed(read("-10"), read("2147483647"), read("-2147483648")),
              "-10 valid|2147483647 valid|-2147483648 valid");
    EXPECT_EQ(valueOf32("11111111111111111111111111111011b"), -5);
    unsigned int code = 1;
    EXPECT_TRUE(validValueOf16(&code, "65535") == -1 && code == FAILURE);
    EXPECT_TRUE(u_validRangeValueOf16(&code, "65535", 0, 65535) == 65535 && code == 0);
    EXPECT_TRUE(validRangeValueOf32(&code, "-7", -6, 6) == -7 && code == FAILURE);
    EXPECT_TRUE(validRangeValueOf32(nullptr, "5", 0, 9) == 0 && u_validValueOf32(nullptr, "4294967295") == UINT_MAX);
}

TEST(Text, WordsFillExactlyTheRoomThatWasAskedFor)
{
    auto const dump = [](int size, int bytesPerLine)
    {
        unsigned int const data[] = {0x01AB, 0xFFFFFFFF, 3};
        std::string room(static_cast<std::size_t>(nbrOfChars_forDataChunk2String(size, bytesPerLine)), '#');
        dataChunk2String(data, room.data(), static_cast<unsigned int>(size), bytesPerLine);
        EXPECT_LT(room.find('\0'), room.size());
        return String(room.c_str());
    };
    EXPECT_EQ(dump(8, 8), "0x000001AB 0xFFFFFFFF \n\n");
    EXPECT_EQ(dump(12, 8), "0x000001AB 0xFFFFFFFF \n0x00000003 \n");
    EXPECT_EQ(dump(11, 7), "0x000001AB \n0xFFFFFFFF \n\n");
    EXPECT_EQ(dump(3, 0), "");
    EXPECT_EQ(nbrOfChars_forDataChunk2String(INT_MAX, 4), 0);
    static_assert(nextHigherPowerOf2(0) == 1 && nextHigherPowerOf2(5) == 8 && nextHigherPowerOf2(8) == 8);
    static_assert(nextHigherPowerOf2(0x80000000) == 0x80000000 && nextHigherPowerOf2(0x80000001) == 0);
}

TEST(TextCheck, TellsWhatPasses)
{
    expectAll(e164Number, 0, {"", "0911#*?AZ"});
    expectAll(e164Number, FAILURE, {"12a", nullptr});
    expectAll(validateTimeString, 0, {"2024-99-99T23:59:59", "1-1--1T0:0:0 behind"});
    expectAll(validateTimeString, FAILURE, {"2024-01-01 12:00:00", "2024-01-01T24:00:00", "2024-01-01T12:00", nullptr});
    expectAll(validateTime, 0, {" 23: 59:59"});
    expectAll(validateTime, FAILURE, {"23 :59:59", "23:60:00", "23:59:99999999999999999999", ""});
    expectAll(validateDate, 0, {"2035-12-31", "1999-2-31"});
    expectAll(validateDate, FAILURE, {"1998-12-31", "2036-1-1", "2000-0-1", "2000-1-4294967297"});

    unsigned int address = 7;
    EXPECT_TRUE(convIPStr2IPUl("10.0.0", address) == FAILURE && address == 7);
    EXPECT_TRUE(convIPStr2IPUl("192.168.1.44", address) == 0 && address == 0xC0A8012C);
    char text[16];
    EXPECT_TRUE(convIPUL2IPStr(0xFFFEFDFC, text) == 0 && String(text) == "255.254.253.252");
}

TEST(ReportText, ShapesLines)
{
    EXPECT_EQ(listed(SPACES(3), LINES(2), DOUBLE_LINES(1), STARS(0)), "   |--|=|");
    EXPECT_TRUE(std::strlen(SPACES(0xFFFFFFFF)) == 250 && std::strlen(STARS(253)) == 252);
    EXPECT_EQ(listed(INDENT("a\n\nb\nc", 2, false), INDENT("a\nb\n", 1, true)), "  a\n\n  b\n  c|a\n b\n");
    String ordinals;
    for (unsigned int value : {0, 1, 3, 4, 10, 12, 20, 21, 31, 101})
        ordinals.concat(ORDINAL_NUMBER(value)).concat(" ");
    EXPECT_EQ(ordinals, "0 1st 3rd 4th 10th 12th 20th 21nd 31rd 101st ");
}
