#include "zekovar/foundation/string.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"

#include <gtest/gtest.h>

#include <bit>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace
{

String ofLength(int length)
{
    return String::repeat("x", static_cast<unsigned>(length));
}

std::string joined(ZKVector<String> const& pieces)
{
    return String::join(pieces, "|").c_str();
}

bool isInline(String const& text)
{
    auto const* const object = reinterpret_cast<char const*>(&text);
    return text.c_str() > object && text.c_str() < object + sizeof text;
}

TEST(String, CapacityFollowsTheLengthInSteps)
{
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(8), 15);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(15), 15);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(16), 31);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(4094), 4095);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(4095), 4096);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(5000), 8192);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(8192), 8192);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(-1), 0);
    EXPECT_EQ(String::Store::CAPACITY_FOR_LENGTH(std::numeric_limits<int>::max()), String::Store::MAX_LENGTH);

    EXPECT_TRUE(isInline(ofLength(7)));
    EXPECT_FALSE(isInline(ofLength(8)));
    EXPECT_EQ(ofLength(8).capacity(), 15);
    EXPECT_EQ(String("text", 100).capacity(), 127);
    EXPECT_EQ(String("text", 100).length(), 4);
    EXPECT_EQ(String(nullptr, 100).capacity(), 7);

    String grown("text", 100);
    EXPECT_EQ(String(grown).capacity(), 7) << "a copy is sized by the length";
    grown = "a";
    EXPECT_EQ(grown.capacity(), 127) << "assignment keeps the buffer";
    EXPECT_EQ(grown.reserve(500).capacity(), 511);
    EXPECT_EQ(grown, "a");
}

TEST(String, ConstructsFromTextAndPartsOfIt)
{
    EXPECT_EQ(String(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(String('\0'), "");
    EXPECT_EQ(String('c'), "c");
    EXPECT_EQ(String(String::Formatted(), "%s-%d", "some longer text", 5), "some longer text-5");
    EXPECT_EQ(String("abcdef", -3, 2), "ab");
    EXPECT_EQ(String("abcdef", 4, 100), "ef");
    EXPECT_EQ(String("abcdef", 100, 2), "");
    EXPECT_EQ(String("abcdef", 1, -1), "");
    EXPECT_EQ(String("abcdef", 3, 1, 100), "bc") << "what lies behind the size isn't read";
    EXPECT_EQ(String("abcdef", -1, 0, 3), "");
    for (int length = 0; length < 40; ++length)
        EXPECT_EQ(std::string(static_cast<std::size_t>(length), 'x'), String(ofLength(length)).c_str());
}

TEST(String, MoveConstructionEmptiesAndMoveAssignmentSwaps)
{
    for (String const& text : {String("short"), String("longer than inline")})
    {
        String source(text);
        String target(std::move(source));
        EXPECT_EQ(target, text);
        EXPECT_EQ(source, "");

        String other("old text of it");
        other = std::move(target);
        EXPECT_EQ(other, text);
        EXPECT_EQ(target, "old text of it");

        String& same = other;
        other = std::move(same);
        EXPECT_EQ(other, text);
        other = same;
        EXPECT_EQ(other, text);
    }
    String text("0123456789");
    text = text.c_str() + 2;
    EXPECT_EQ(text, "23456789");
    text = 'c';
    EXPECT_EQ(text, "c");
    text = '\0';
    EXPECT_EQ(text, String::s_empty);
    text = static_cast<char const*>(nullptr);
    EXPECT_TRUE(text.isEmpty());
}

TEST(String, NativeAllocSetsTheLengthOrSaysThatItCannot)
{
    String text("abc");
    EXPECT_TRUE(text.native_alloc(5));
    EXPECT_EQ(text.length(), 5);
    EXPECT_EQ(std::strncmp(text.c_str(), "abc", 3), 0) << "what fits keeps its text";
    EXPECT_EQ(text.c_str()[5], '\0');
    EXPECT_TRUE(text.native_alloc(100));
    EXPECT_EQ(text.length(), 100);
    std::memset(text.data(), 'y', 100);
    EXPECT_EQ(text.replace('y', 'x'), ofLength(100));
    EXPECT_FALSE(text.native_alloc(std::numeric_limits<int>::max()));
    EXPECT_EQ(text, ofLength(100));
    EXPECT_TRUE(text.native_alloc(-1));
    EXPECT_EQ(text, "");
    EXPECT_EQ(String::repeat("abcd", 0x40000000), "");
}

TEST(String, ComparesInTheStatedDirectionsAndWithNull)
{
    char const* const null = nullptr;
    EXPECT_GT(String("abc").compareTo("abd"), 0);
    EXPECT_LT(String("ABD").compareToIgnoreCase("abc"), 0);
    EXPECT_TRUE(String("abc") < String("abd"));
    EXPECT_FALSE(String("abc") < String("abc"));
    EXPECT_TRUE(String("abc") == String("abc"));
    EXPECT_TRUE(String("") == null);
    EXPECT_FALSE(String("a") == null);
    EXPECT_TRUE(String("aBc").equalsIgnoreCase("AbC"));
    EXPECT_TRUE(String("aBc").equalsIgnoreCase(String("AbC")));
    EXPECT_FALSE(String("aBc").equalsIgnoreCase(String("AbCd")));
    EXPECT_TRUE(String("").equalsIgnoreCase(null));

    String const text("abcabc");
    EXPECT_TRUE(text.startsWith("abc") && text.startsWith("abc", 3) && text.startsWith("", 6));
    EXPECT_FALSE(text.startsWith("abc", 4) || text.startsWith("", -1) || text.startsWith("", 7));
    EXPECT_TRUE(text.endsWith("cabc") && text.endsWith(""));
    EXPECT_FALSE(text.endsWith("xabcabc") || text.endsWith("ab"));
    EXPECT_TRUE(text.regionMatches(3, "xab", 1, 2) && text.regionMatches(true, 3, "xAB", 1, 2));
    EXPECT_FALSE(text.regionMatches(3, "xAB", 1, 2) || text.regionMatches(3, "xab", 1, 3));
    EXPECT_FALSE(text.regionMatches(-1, "a", 0, 1) || text.regionMatches(0, "a", -1, 1) ||
                 text.regionMatches(0, "a", 0, -1) || text.regionMatches(std::numeric_limits<int>::max(), "a", 0, 1));
}

TEST(String, FindsFromBothEndsWithinBounds)
{
    String const text("abc.ABC.abc");
    EXPECT_EQ(text.indexOf('a'), 0);
    EXPECT_EQ(text.indexOf('a', -5), 0);
    EXPECT_EQ(text.indexOf('a', 1), 8);
    EXPECT_EQ(text.indexOf('a', 11), -1);
    EXPECT_EQ(text.indexOf('\0'), -1);
    EXPECT_EQ(text.indexOf("abc", 1), 8);
    EXPECT_EQ(text.indexOf("abc", 9), -1);
    EXPECT_EQ(text.indexOf("", 11), 11);
    EXPECT_EQ(text.indexOf(ispunct), 3);
    EXPECT_EQ(text.indexOf(ispunct, 4), 7);
    EXPECT_EQ(text.indexOfIgnoreCase("abc", 1), 4);
    EXPECT_EQ(text.indexOfIgnoreCase("abcd"), -1);
    EXPECT_EQ(text.lastIndexOf('b'), 9);
    EXPECT_EQ(text.lastIndexOf('b', 8), 1);
    EXPECT_EQ(text.lastIndexOf('b', 100), 9);
    EXPECT_EQ(text.lastIndexOf('b', -1), -1);
    EXPECT_EQ(text.lastIndexOf("abc"), 8);
    EXPECT_EQ(text.lastIndexOf("abc", 7), 0);
    EXPECT_EQ(text.lastIndexOf("abc", -1), -1);
    EXPECT_EQ(String("ab").lastIndexOf("abc"), -1);
    EXPECT_EQ(text.lastIndexOf(isupper), 6);
    EXPECT_EQ(text.lastIndexOf(isupper, 5), 5);
    EXPECT_EQ(text.lastIndexOfIgnoreCase("abc", 7), 4);
    EXPECT_EQ(String("  x ").getFirstNonWhiteSpace(isspace), 2);
    EXPECT_EQ(String("  ").getFirstNonWhiteSpace(isspace), 2);
    EXPECT_EQ(String("  x ").getLastNonWhiteSpace(isspace), 2);
    EXPECT_EQ(String("  ").getLastNonWhiteSpace(isspace), -1);

    String const high("\xE9");
    EXPECT_EQ(high.indexOf([](int character) { return character == 0xE9 ? 1 : 0; }), 0) << "as unsigned character";
    EXPECT_EQ(high.indexOf(static_cast<String::Predicate>(nullptr)), -1);
}

TEST(String, AccessOutOfRangeGivesNothing)
{
    String const text("abc");
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[3], '\0');
    EXPECT_EQ(text[-1], '\0');
    char target[4] = "...";
    EXPECT_EQ(text.getChars(1, 100, target), 2);
    EXPECT_STREQ(target, "bc.");
    EXPECT_EQ(text.getChars(-5, 1, target), 1);
    EXPECT_EQ(text.getChars(2, 1, target), 0);
    EXPECT_EQ(text.getChars(0, 3, nullptr), 0);
}

TEST(String, ZeroBytesCountForTheLengthButEndASearch)
{
    String text("ab\0cd", 5, 0, 5);
    text.concat("\0e", 2);
    EXPECT_EQ(text.length(), 7);
    EXPECT_EQ(text.toHex(), "61620063640065");
    EXPECT_EQ(text.indexOf('c'), -1);
    EXPECT_EQ(text.indexOf("cd"), -1);
    EXPECT_EQ(text.compareTo("ab"), 0);
    EXPECT_FALSE(text == String("ab"));
}

TEST(String, AppendsAndInsertsAlsoPartsOfItself)
{
    String text;
    (text += "abc") += 'd';
    text.concat(text).concat("xyz", 2).concat("xyz", 0).concat(nullptr, 5) += '\0';
    text += static_cast<char const*>(nullptr);
    EXPECT_EQ(text, "abcdabcdxy");
    text += text.c_str() + 2;
    EXPECT_EQ(text, "abcdabcdxycdabcdxy");

    EXPECT_EQ(String("bd").insert(1, 'c').insert(0, "a").insert(4, String("e")), "abcde");
    EXPECT_EQ(String("ab").insert(3, "x").insert(-1, "x").insert(0, '\0').insert(0, ""), "ab");

    // every part of itself at every place, with and without room
    std::string const model = "0123456789";
    for (int index = 0; index <= 10; ++index)
    {
        for (unsigned offset = 0; offset < 10; ++offset)
        {
            std::string const expected = std::string(model).insert(static_cast<unsigned>(index), model.substr(offset));
            String tight(model.c_str());
            EXPECT_EQ(tight.insert(index, tight.c_str() + offset), expected.c_str());
            String roomy(model.c_str(), 100);
            EXPECT_EQ(roomy.insert(index, roomy.c_str() + offset), expected.c_str());
        }
    }
}

TEST(String, DeletesAndTrimsWithinBounds)
{
    EXPECT_EQ(String("abcdef").deleteRegion(4), "abcd");
    EXPECT_EQ(String("abcdef").deleteRegion(-1), "");
    EXPECT_EQ(String("abcdef").deleteRegion(6), "abcdef");
    EXPECT_EQ(String("abcdef").deleteRegion(-3, 2), "cdef");
    EXPECT_EQ(String("abcdef").deleteRegion(4, 100), "abcd");
    EXPECT_EQ(String("abcdef").deleteRegion(3, 3), "abcdef");
    EXPECT_EQ(String("xxaxx").trim('x'), "a");
    EXPECT_EQ(String("xxx").trim('x'), "");
    EXPECT_EQ(String("xax").trim('\0'), "xax");
    EXPECT_EQ(String(" \t a b\n").trim(isspace), "a b");
    EXPECT_EQ(String(" a ").leftTrim(isspace), "a ");
    EXPECT_EQ(String(" a ").rightTrim(isspace), " a");
    EXPECT_EQ(String("abcdef").toCommonPrefix("abxy"), "ab");
    EXPECT_EQ(String("ab").commonPrefix("abc"), "ab");
}

TEST(String, ReplacesWhatDoesNotOverlapFromTheLeft)
{
    EXPECT_EQ(String("a-b-c").replace('-', '+'), "a+b+c");
    EXPECT_EQ(String("a-b").replace('-', '\0'), "a-b");
    EXPECT_EQ(String("aaaaa").replace("aa", "bb"), "bbbba");
    EXPECT_EQ(String("aaaaa").replace("aa", "b"), "bba");
    EXPECT_EQ(String("a,b,").replace(",", " and "), "a and b and ");
    EXPECT_EQ(String("abc").replace("abc", ""), "");
    EXPECT_EQ(String("abc").replace("", "x"), "abc");
    EXPECT_EQ(String("").replace("a", "x"), "");
    String text("ab");
    EXPECT_EQ(text.replace("a", text), "abb");
    EXPECT_EQ(text.replace(text, "longer than before"), "longer than before");
    EXPECT_EQ(text.replace(text, text), "longer than before");
}

TEST(String, ChangesCaseOfAsciiLettersOnly)
{
    EXPECT_EQ(String("aBc\xC4[`{@").upperCase(), "ABC\xC4[`{@");
    EXPECT_EQ(String("aBc\xC4[`{@").lowerCase(), "abc\xC4[`{@");
    EXPECT_EQ(String("camelCaseText").sentence(), "Camel Case Text");
    EXPECT_EQ(String("HTTP Server").sentence(), "H T T P Server");
    EXPECT_EQ(String("").sentence(), "");
}

TEST(String, FormatsAlsoItself)
{
    String text("start");
    EXPECT_EQ(text.format("<%s>", text.c_str()), "<start>");
    EXPECT_EQ(text.concatf("[%s]", text.c_str()), "<start>[<start>]");
    EXPECT_EQ(String("keep").concatf("%s", ""), "keep");
    text = ofLength(300);
    EXPECT_EQ(text.concatf("%s!", text.c_str()), ofLength(600) += "!");
    EXPECT_EQ(text.format("%s", text.c_str() + 1), ofLength(599) += "!");
    int const capacity = text.capacity();
    EXPECT_EQ(text.format("%s", ""), "");
    EXPECT_EQ(text.capacity(), capacity);
    char const* const null = nullptr;
    EXPECT_EQ(String("text").format(null), "");
    EXPECT_EQ(String("text").concatf(null), "text");
    EXPECT_EQ(String::stringOfFormat("%05d", 42), "00042");
}

TEST(String, CutsPiecesAlsoIntoItself)
{
    String const text("key=a=b");
    EXPECT_EQ(text.substring(4), "a=b");
    EXPECT_EQ(text.substring(-1), "");
    EXPECT_EQ(text.substring(7), "");
    EXPECT_EQ(text.substring(-4, 3), "key");
    EXPECT_EQ(text.substring(4, 100), "a=b");
    EXPECT_EQ(text.substring(3, 3), "");
    EXPECT_EQ(text.before('='), "key");
    EXPECT_EQ(text.after('='), "a=b");
    EXPECT_EQ(text.before('#'), text);
    EXPECT_EQ(text.after('#'), "");

    String left;
    String right(text);
    EXPECT_EQ(right.split('=', left, right), 3);
    EXPECT_EQ(left, "key");
    EXPECT_EQ(right, "a=b");
    EXPECT_EQ(String("a::b::c").split("::", left, right), 1);
    EXPECT_EQ(right, "b::c");
    EXPECT_LT(text.split("::", left, right), 0);
    EXPECT_EQ(left, text);
    EXPECT_EQ(right, "");
}

TEST(String, SplitsWithoutEmptyPiecesAndJoins)
{
    ZKVector<String> pieces;
    String(", a, b,, c").splitAtString(pieces, ", ");
    EXPECT_EQ(joined(pieces), "a|b,|c");
    String(", a, b,, c").splitAtChars(pieces, " ,");
    EXPECT_EQ(joined(pieces), "a|b|c");
    String("a b").splitAtString(pieces, "");
    EXPECT_EQ(joined(pieces), "a b");
    String(" ,, ").splitAtChars(pieces, " ,");
    EXPECT_EQ(pieces.size(), 0u);
    String("").splitAtChars(pieces, "");
    EXPECT_EQ(pieces.size(), 0u);
    pieces.add("first element of it|second|third");
    pieces[0].splitAtString(pieces, "|");
    EXPECT_EQ(joined(pieces), "first element of it|second|third");
    EXPECT_EQ(pieces.size(), 3u);
    EXPECT_EQ(String::repeat("ab", 3), "ababab");
    EXPECT_EQ(String::repeat("", 3), "");
}

TEST(String, ReadsNumbersAsSscanfDoes)
{
    int value = 7;
    EXPECT_TRUE(String(" 0x10 rest").toInteger(value).isSuccess());
    EXPECT_EQ(value, 16);
    EXPECT_EQ(String("none").toInteger(value).getValue(), XCODE_FAILURE);
    EXPECT_EQ(value, 16);
    EXPECT_EQ(String("010").toInt32(), 8);
    EXPECT_EQ(String("none").toInt16(), -1);
    EXPECT_EQ(String("").toInt64(), -1);
    EXPECT_EQ(String("none").toUInt16(), 0);
    EXPECT_EQ(String("-0x12").toInt8(), -0x12);
    EXPECT_EQ(String("0xFFFFFFFFFF").toInt64(), 0xFFFFFFFFFFLL);
    EXPECT_EQ(String("010").toInt64(), 10);
    EXPECT_EQ(String("0xFF").toUInt8(), 0xFF);
    EXPECT_EQ(String("0XFF").toUInt(), 0u) << "only a lower-case x makes it hexadecimal";
    EXPECT_EQ(String("4294967295").toUInt32(), 4294967295u);
    EXPECT_EQ(String("18446744073709551615").toUInt64(), 18446744073709551615ull);
    EXPECT_TRUE(String("true").toBool() && String("2").toBool());
    EXPECT_FALSE(String("True").toBool() || String("0").toBool() || String("").toBool());
}

TEST(String, ReadsRangesWithDefaultsForOpenSides)
{
    bool isRange = false;
    int first = 0;
    int last = 0;
    EXPECT_TRUE(String("3..9").toNumberRange(isRange, first, last, 1, 99).isSuccess());
    EXPECT_TRUE(isRange && first == 3 && last == 9);
    String("..9").toNumberRange(isRange, first, last, 1, 99);
    EXPECT_TRUE(isRange && first == 1 && last == 9);
    String("x..").toNumberRange(isRange, first, last, 1, 99);
    EXPECT_TRUE(isRange && first == -1 && last == 99);
    EXPECT_TRUE(String("5").toNumberRange(isRange, first, last, 1, 99).isSuccess());
    EXPECT_TRUE(!isRange && first == 5 && last == 5);
}

TEST(String, TextOfEveryKindOfValue)
{
    char buffer[] = "buffer";
    char* const pointer = buffer;
    EXPECT_EQ(String::stringOf(true), "true");
    EXPECT_EQ(String::stringOf('c'), "c");
    EXPECT_EQ(String::stringOf("literal"), "literal");
    EXPECT_EQ(String::stringOf(pointer), "buffer");
    EXPECT_EQ(String::stringOf(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(String::stringOf(static_cast<signed char>(-5)), "-5");
    EXPECT_EQ(String::stringOf(static_cast<unsigned char>(200)), "200");
    EXPECT_EQ(String::stringOf(static_cast<short>(-300)), "-300");
    EXPECT_EQ(String::stringOf(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(String::stringOf(XCODE_FAILURE), "2147483647");
    EXPECT_EQ(String::stringOf(std::numeric_limits<long long>::min()), "-9223372036854775808");
    EXPECT_EQ(String::stringOf(~0ULL), "18446744073709551615");
    EXPECT_EQ(String::stringOf(2.5f), "2.5");
    EXPECT_EQ(String::stringOf(static_cast<void*>(buffer)), String(String::Formatted(), "%p", pointer));
    EXPECT_EQ(String::stringOf(String("copy")), "copy");
    EXPECT_EQ(String::stringOf("literal", 1, 3), "ite");
    EXPECT_EQ(String::stringOfErrno(ENOENT), std::strerror(ENOENT));
}

TEST(String, TextOfDoublesIsThatOfPrintf)
{
    auto const expectSame = [](double value)
    {
        char expected[64];
        std::snprintf(expected, sizeof expected, "%g", value);
        ASSERT_STREQ(String::stringOf(value).c_str(), expected);
    };
    for (double const value : {0.0,
                               0.5,
                               1.0,
                               100.0,
                               99999.95,
                               100000.5,
                               999999.4,
                               999999.5,
                               1e6,
                               0.0001,
                               0.00009999995,
                               1e15,
                               1e21,
                               1e22,
                               123456.5,
                               1234565.0,
                               9.999995,
                               0.1 + 0.2,
                               std::numeric_limits<double>::infinity(),
                               std::nan(""),
                               std::numeric_limits<double>::denorm_min(),
                               std::numeric_limits<double>::max()})
    {
        expectSame(value);
        expectSame(-value);
    }
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i)
    {
        expectSame(std::bit_cast<double>(random()));
        double const whole = static_cast<double>(random() % 20000000);
        expectSame(whole * std::pow(10.0, static_cast<int>(random() % 40) - 20));
        expectSame(std::nextafter(whole / 2, 0));
    }
}

TEST(String, HexGoesBothWaysWithoutZeroBytes)
{
    EXPECT_EQ(String("a\xFFz").toHex(), "61ff7a");
    EXPECT_EQ(String::stringOfHex("61Ff7a"), "a\xFFz");
    EXPECT_EQ(String::stringOfHex("610062"), "ab");
    EXPECT_EQ(String::stringOfHex("616"), "");
    EXPECT_EQ(String::stringOfHex("61 6"), "");
}

TEST(String, HexDumpAlignsTheCharactersOfAShortRow)
{
    EXPECT_EQ(String("0123456789abcdefAB\n").toHexDump(7),
              "00000000:  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66 |0123456789abcdef|\n"
              "00000010:  41 42 0a                                         |AB.|");
    EXPECT_EQ(String("0123456789").toHexDump(6), "30 31 32 33 34 35 36 37  38 39                   |0123456789|");
    EXPECT_EQ(String("0123456789abcdefAB").toHexDump(4), "|0123456789abcdef|\n|AB|");
    EXPECT_EQ(String("01234567").toHexDump(6), "30 31 32 33 34 35 36 37                         |01234567|")
        << "a half row has no blank before its ninth byte, and none makes up for it";
    EXPECT_EQ(String("AB").toHexDump(1), "00000000:  ");
    EXPECT_EQ(String::HEX_DUMP(nullptr, 5, 7), "");
    EXPECT_EQ(String::HEX_DUMP("abc", -1, 7), "");
}

TEST(String, DistanceCountsEditsAndSwapsOfNeighbours)
{
    EXPECT_EQ(String("kitten").calcDistance("sitting"), 3);
    EXPECT_EQ(String("abcd").calcDistance("acbd"), 1);
    EXPECT_EQ(String("ca").calcDistance("abc"), 3) << "a swapped pair isn't changed again";
    EXPECT_EQ(String("").calcDistance("abc"), 3);
    EXPECT_EQ(String("abc").calcDistance("abc"), 0);
    EXPECT_EQ(ofLength(4000).calcDistance(ofLength(4001)), 1) << "the matrix of it would not fit a stack";
}

}
