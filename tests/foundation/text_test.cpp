#include "zekovar/foundation/text.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/report_text.h"
#include "zekovar/foundation/text_check.h"

#include <climits>
#include <gtest/gtest.h>

namespace
{
constexpr unsigned int FAILURE = 0x7fffffff;

/// The text, or "null".
String printed(int value, unsigned int base)
{
    char buffer[34];
    char const* const text = i32toa(value, buffer, base);
    return text != nullptr ? text : "null";
}
}

TEST(Text, NumbersCarryTheirBaseBehindThem)
{
    struct
    {
        int value;
        char const* binary;
        char const* octal;
        char const* decimal;
        char const* hexadecimal;
    } const cases[] = {{0, "0b", "0o", "0", "0h"},
                       {255, "11111111b", "377o", "255", "FFh"},
                       {-5, "11111111111111111111111111111011b", "null", "-5", "null"},
                       {INT_MIN, "10000000000000000000000000000000b", "null", "-2147483648", "null"}};

    for (auto const& each : cases)
    {
        EXPECT_EQ(printed(each.value, 2), each.binary);
        EXPECT_EQ(printed(each.value, 8), each.octal);
        EXPECT_EQ(printed(each.value, 10), each.decimal);
        EXPECT_EQ(printed(each.value, 16), each.hexadecimal);
        EXPECT_EQ(valueOf32(each.binary), each.value);
        EXPECT_EQ(valueOf32(each.decimal), each.value);
    }
    EXPECT_EQ(printed(5, 3), "null");
    char buffer[66];
    EXPECT_STREQ(i16toa(SHRT_MIN, buffer, 10), "-32768");
    EXPECT_STREQ(i16toa(-1, buffer, 2), "1111111111111111b");
    EXPECT_EQ(u_valueOf64(u_i64toa(ULLONG_MAX - 1, buffer, 2)), ULLONG_MAX - 1);
    EXPECT_EQ(u_i32toa(5, nullptr, 10), nullptr);
}

TEST(Text, NumbersAreReadByTheirMarkerAndChecked)
{
    struct
    {
        char const* text;
        int value;
        bool isValid;
    } const cases[] = {{"11b", 3, false},       {"FFh", 255, false},
                       {"-1fx", -31, false},    {"17o", 15, false},
                       {"12k", 12, false},      {"-10", -10, true},
                       {"007", 7, false},       {"", 0, false},
                       {nullptr, 0, false},     {"-", 0, false},
                       {"b", 0, false},         {"2147483647", INT_MAX, true},
                       {"-0", 0, false},        {"-2147483648", INT_MIN, true},
                       {"4294967296", 0, false}};

    for (auto const& each : cases)
    {
        unsigned int code = 1;
        EXPECT_EQ(validValueOf32(&code, each.text), each.value) << (each.text != nullptr ? each.text : "null");
        EXPECT_EQ(code, each.isValid ? 0 : FAILURE) << (each.text != nullptr ? each.text : "null");
    }
    unsigned int code = 1;
    EXPECT_EQ(validValueOf16(&code, "65535"), -1);
    EXPECT_EQ(code, FAILURE);
    EXPECT_EQ(u_validRangeValueOf16(&code, "65535", 0, 65535), 65535);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(validRangeValueOf32(&code, "-7", -6, 6), -7);
    EXPECT_EQ(code, FAILURE);
    EXPECT_EQ(validRangeValueOf32(nullptr, "5", 0, 9), 0);
    EXPECT_EQ(u_validValueOf32(nullptr, "4294967295"), UINT_MAX);
}

TEST(Text, WordsFillExactlyTheRoomThatWasAskedFor)
{
    unsigned int const data[] = {0x01AB, 0xFFFFFFFF, 3};

    struct
    {
        int size;
        int bytesPerLine;
        char const* text;
    } const cases[] = {{8, 8, "0x000001AB 0xFFFFFFFF \n\n"},
                       {12, 8, "0x000001AB 0xFFFFFFFF \n0x00000003 \n"},
                       {7, 0, "0x000001AB \n\n"},
                       {3, 16, ""}};

    for (auto const& each : cases)
    {
        std::string room(static_cast<std::size_t>(nbrOfChars_forDataChunk2String(each.size, each.bytesPerLine)), '#');
        dataChunk2String(data, room.data(), static_cast<unsigned int>(each.size), each.bytesPerLine);
        EXPECT_STREQ(room.c_str(), each.text);
        EXPECT_LE(std::strlen(each.text) + 1, room.size());
    }
    EXPECT_EQ(nbrOfChars_forDataChunk2String(INT_MAX, 4), 0);
}

TEST(Text, PowersOfTwoAreRoundedUpTo)
{
    static_assert(nextHigherPowerOf2(0) == 1 && nextHigherPowerOf2(5) == 8 && nextHigherPowerOf2(8) == 8);
    static_assert(nextHigherPowerOf2(0x80000000) == 0x80000000 && nextHigherPowerOf2(0x80000001) == 0);
}

TEST(TextCheck, TellsWhatPasses)
{
    struct
    {
        unsigned int (*check)(char const*);
        char const* text;
        bool passes;
    } const cases[] = {{e164Number, "", true},
                       {e164Number, "0911#*?AZ", true},
                       {e164Number, "12a", false},
                       {e164Number, nullptr, false},
                       {validateTimeString, "2024-99-99T23:59:59", true},
                       {validateTimeString, "2024-01-01 12:00:00", false},
                       {validateTimeString, "2024-01-01T24:00:00", false},
                       {validateTime, " 23: 59:59 behind", true},
                       {validateTime, "23 :59:59", false},
                       {validateTime, "23:60:00", false},
                       {validateTime, "23:59:99999999999999999999", false},
                       {validateTime, "", false},
                       {validateDate, "2035-12-31", true},
                       {validateDate, "1998-12-31", false},
                       {validateDate, "2000-0-1", false},
                       {validateDate, "2000-1-4294967297", false}};

    for (auto const& each : cases)
        EXPECT_EQ(each.check(each.text), each.passes ? 0 : FAILURE) << (each.text != nullptr ? each.text : "null");

    unsigned int address = 7;
    EXPECT_EQ(convIPStr2IPUl("10.0.0", address), FAILURE);
    EXPECT_EQ(address, 7u);
    EXPECT_EQ(convIPStr2IPUl("192.168.1.300", address), 0u);
    EXPECT_EQ(address, 0xC0A8012Cu);
    char text[16];
    convIPUL2IPStr(0xFFFEFDFC, text);
    EXPECT_STREQ(text, "255.254.253.252");
}

TEST(ReportText, ShapesLines)
{
    EXPECT_STREQ(SPACES(3), "   ");
    EXPECT_EQ(std::strlen(SPACES(0xFFFFFFFF)), 250u);
    EXPECT_EQ(std::strlen(STARS(253)), 252u);
    EXPECT_EQ(INDENT("a\n\nb\nc", 2, false), "  a\n\n  b\n  c");
    EXPECT_EQ(INDENT("a\nb\n", 1, true), "a\n b\n");

    struct
    {
        unsigned int value;
        char const* text;
    } const cases[] = {{0, "0"},     {1, "1st"},   {3, "3rd"},   {4, "4th"},     {11, "11th"},
                       {20, "20th"}, {21, "21nd"}, {31, "31rd"}, {101, "101st"}, {4000000000, "4000000000th"}};

    for (auto const& each : cases)
        EXPECT_EQ(ORDINAL_NUMBER(each.value), each.text);
}
