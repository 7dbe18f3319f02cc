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

bool isInline(String const& text)
{
    auto const* const object = reinterpret_cast<char const*>(&text);
    return text.c_str() > object && text.c_str() < object + sizeof text;
}

TEST(String, CapacityFollowsTheLengthInSteps)
{
    auto const capacityFor = [](int length) { return String::Store::CAPACITY_FOR_LENGTH(length); };
    EXPECT_EQ(listed(capacityFor(-1), capacityFor(8), capacityFor(15), capacityFor(16)), "0|15|15|31");
    EXPECT_EQ(listed(capacityFor(4094), capacityFor(4095), capacityFor(5000), capacityFor(8192)),
              "4095|4096|8192|8192");
    EXPECT_EQ(capacityFor(std::numeric_limits<int>::max()), String::Store::MAX_LENGTH);
    EXPECT_TRUE(isInline(ofLength(7)) && !isInline(ofLength(8)));
    EXPECT_EQ(ofLength(8).capacity(), 15);
    EXPECT_EQ(String(nullptr, 100).capacity(), 7);

    String grown("text", 100);
    EXPECT_EQ(listed(grown, grown.capacity()), "text|127");
    EXPECT_EQ(String(grown).capacity(), 7) << "a copy is sized by the length";
    grown = "a";
    EXPECT_EQ(grown.capacity(), 127) << "assignment keeps the buffer";
    EXPECT_EQ(grown.reserve(500).capacity(), 511);
    EXPECT_EQ(grown, "a");
}

TEST(String, ConstructsFromTextAndPartsOfIt)
{
    char const* const null = nullptr;
    EXPECT_EQ(listed(String(null), String('\0'), String('c')), "||c");
    EXPECT_EQ(String(String::Formatted(), "%s-%d", "some longer text", 5), "some longer text-5");
    EXPECT_EQ(listed(String("abcdef", -3, 2), String("abcdef", 4, 100), String("abcdef", 100, 2)), "ab|ef|");
    EXPECT_EQ(listed(String("abcdef", 1, -1), String("abcdef", -1, 0, 3)), "|");
    EXPECT_EQ(String("abcdef", 3, 1, 100), "bc") << "what lies behind the size isn't read";
    for (int length = 0; length < 40; ++length)
        EXPECT_EQ(std::string(static_cast<std::size_t>(length), 'x'), String(ofLength(length)).c_str());
}

TEST(String, AssignsItselfAndPartsOfItAndMoveAssignmentSwaps)
{
    for (String const& text : {String("short"), String("longer than inline")})
    {
        String source(text);
        String target(std::move(source));
        EXPECT_EQ(listed(target, source), listed(text, ""));

        String other("old text of it");
        other = std::move(target);
        EXPECT_EQ(listed(other, target), listed(text, "old text of it"));

        String& same = other;
        other = std::move(same);
        EXPECT_EQ(other, text);
        other = same;
        EXPECT_EQ(other, text);
    }
    String text("0123456789");
    EXPECT_EQ(text = text.c_str() + 2, "23456789");
    EXPECT_EQ(text = 'c', "c");
    EXPECT_EQ(text = static_cast<char const*>(nullptr), "");
    text = "again";
    EXPECT_EQ(text = '\0', String::s_empty);
}

TEST(String, NativeAllocSetsTheLengthOrSaysThatItCannot)
{
    String text("abc");
    EXPECT_TRUE(text.native_alloc(5));
    EXPECT_EQ(listed(text.length(), text.substring(0, 3)), "5|abc") << "what fits keeps its text";
    EXPECT_EQ(text.c_str()[5], '\0');
    EXPECT_TRUE(text.native_alloc(100));
    std::memset(text.data(), 'x', 100);
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
    EXPECT_TRUE(String("abc") < String("abd") && !(String("abc") < String("abc")));
    EXPECT_TRUE(String("") == null && !(String("a") == null) && String("").equalsIgnoreCase(null));
    EXPECT_TRUE(String("aBc").equalsIgnoreCase("AbC") && String("aBc").equalsIgnoreCase(String("AbC")));
    EXPECT_FALSE(String("aBc").equalsIgnoreCase(String("AbCd")));

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
    EXPECT_EQ(listed(text.indexOf('a'), text.indexOf('a', -5), text.indexOf('a', 1), text.indexOf('a', 11)),
              "0|0|8|-1");
    EXPECT_EQ(listed(text.indexOf("abc", 1), text.indexOf("abc", 9), text.indexOf("", 11)), "8|-1|11");
    EXPECT_EQ(listed(text.indexOf(ispunct), text.indexOf(ispunct, 4)), "3|7");
    EXPECT_EQ(listed(text.indexOfIgnoreCase("abc", 1), text.indexOfIgnoreCase("abcd")), "4|-1");
    EXPECT_EQ(listed(text.lastIndexOf('b'), text.lastIndexOf('b', 8), text.lastIndexOf('b', 100)), "9|1|9");
    EXPECT_EQ(listed(text.lastIndexOf("abc"), text.lastIndexOf("abc", 7)), "8|0");
    EXPECT_EQ(listed(text.lastIndexOf('b', -1), text.lastIndexOf("abc", -1), String("ab").lastIndexOf("abc")),
              "-1|-1|-1");
    EXPECT_EQ(listed(text.lastIndexOf(isupper), text.lastIndexOf(isupper, 5)), "6|5");
    EXPECT_EQ(text.lastIndexOfIgnoreCase("abc", 7), 4);
    EXPECT_EQ(listed(String("  x ").getFirstNonWhiteSpace(isspace), String("  ").getFirstNonWhiteSpace(isspace)),
              "2|2");
    EXPECT_EQ(listed(String("  x ").getLastNonWhiteSpace(isspace), String("  ").getLastNonWhiteSpace(isspace)), "2|-1");

    String const high("\xE9");
    EXPECT_EQ(high.indexOf([](int character) { return character == 0xE9 ? 1 : 0; }), 0) << "as unsigned character";
    EXPECT_EQ(listed(high.indexOf('\0'), high.indexOf(static_cast<String::Predicate>(nullptr))), "-1|-1");
}

TEST(String, AccessOutOfRangeGivesNothing)
{
    String const text("abc");
    EXPECT_EQ(listed(text[0], text[3], text[-1]), "a||");
    char target[4] = "...";
    EXPECT_EQ(text.getChars(1, 100, target), 2);
    EXPECT_STREQ(target, "bc.");
    EXPECT_EQ(listed(text.getChars(-5, 1, target), text.getChars(2, 1, target), text.getChars(0, 3, nullptr)), "1|0|0");
}

TEST(String, ZeroBytesCountForTheLengthButEndASearch)
{
    String const text = String("ab\0cd", 5, 0, 5).concat("\0e", 2);
    EXPECT_EQ(listed(text.length(), text.toHex()), "7|61620063640065");
    EXPECT_EQ(listed(text.indexOf('c'), text.indexOf("cd"), text.compareTo("ab")), "-1|-1|0");
    EXPECT_FALSE(text == String("ab"));
}

TEST(String, AppendsAndInsertsAlsoPartsOfItself)
{
    String text;
    (text += "abc") += 'd';
    text.concat(text).concat("xyz", 2).concat("xyz", 0).concat(nullptr, 5) += '\0';
    text += static_cast<char const*>(nullptr);
    EXPECT_EQ(text, "abcdabcdxy");
    EXPECT_EQ(text += text.c_str() + 2, "abcdabcdxycdabcdxy");

    EXPECT_EQ(String("bd").insert(1, 'c').insert(0, "a").insert(4, String("e")), "abcde");
    EXPECT_EQ(String("ab").insert(3, "x").insert(-1, "x").insert(0, '\0').insert(0, ""), "ab");

    // every part of itself at every place, with and without room
    std::string const model = "0123456789";
    for (unsigned place = 0; place < 11 * 10 * 2; ++place)
    {
        unsigned const index = place / 20;
        unsigned const offset = place / 2 % 10;
        String self(model.c_str(), place % 2 == 0 ? 10 : 100);
        self.insert(static_cast<int>(index), self.c_str() + offset);
        EXPECT_EQ(self, std::string(model).insert(index, model.substr(offset)).c_str());
    }
}

TEST(String, DeletesAndTrimsWithinBounds)
{
    auto const without = [](auto... region) { return String("abcdef").deleteRegion(region...); };
    EXPECT_EQ(listed(without(4), without(-1), without(6)), "abcd||abcdef");
    EXPECT_EQ(listed(without(-3, 2), without(4, 100), without(3, 3)), "cdef|abcd|abcdef");
    EXPECT_EQ(listed(String("xxaxx").trim('x'), String("xxx").trim('x'), String("xax").trim('\0')), "a||xax");
    EXPECT_EQ(String(" \t a b\n").trim(isspace), "a b");
    EXPECT_EQ(listed(String(" a ").leftTrim(isspace), String(" a ").rightTrim(isspace)), "a | a");
    EXPECT_EQ(listed(String("abcdef").toCommonPrefix("abxy"), String("ab").commonPrefix("abc")), "ab|ab");
}

TEST(String, ReplacesWhatDoesNotOverlapFromTheLeft)
{
    EXPECT_EQ(listed(String("a-b-c").replace('-', '+'), String("a-b").replace('-', '\0')), "a+b+c|a-b");
    EXPECT_EQ(listed(String("aaaaa").replace("aa", "bb"), String("aaaaa").replace("aa", "b")), "bbbba|bba");
    EXPECT_EQ(String("a,b,").replace(",", " and "), "a and b and ");
    EXPECT_EQ(listed(String("abc").replace("abc", ""), String("abc").replace("", "x")), "|abc");
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
    EXPECT_EQ(listed(String("camelCaseText").sentence(), String("HTTP Server").sentence(), String().sentence()),
              "Camel Case Text|H T T P Server|");
}

TEST(String, FormatsAlsoItself)
{
    String text("start");
    EXPECT_EQ(text.format("<%s>", text.c_str()), "<start>");
    EXPECT_EQ(text.concatf("[%s]", text.c_str()), "<start>[<start>]");
    text = ofLength(300);
    EXPECT_EQ(text.concatf("%s!", text.c_str()), ofLength(600) += "!");
    EXPECT_EQ(text.format("%s", text.c_str() + 1), ofLength(599) += "!");
    int const capacity = text.capacity();
    EXPECT_EQ(text.format("%s", ""), "");
    EXPECT_EQ(text.capacity(), capacity);
    char const* const null = nullptr;
    EXPECT_EQ(listed(String("a").format(null), String("b").concatf(null), String("c").concatf("%s", "")), "|b|c");
    EXPECT_EQ(String::stringOfFormat("%05d", 42), "00042");
}

TEST(String, CutsPiecesAlsoIntoItself)
{
    String const text("key=a=b");
    EXPECT_EQ(listed(text.substring(4), text.substring(-1), text.substring(7)), "a=b||");
    EXPECT_EQ(listed(text.substring(-4, 3), text.substring(4, 100), text.substring(3, 3)), "key|a=b|");
    EXPECT_EQ(listed(text.before('='), text.after('='), text.before('#'), text.after('#')), "key|a=b|key=a=b|");

    String left;
    String right(text);
    EXPECT_EQ(right.split('=', left, right), 3);
    EXPECT_EQ(listed(left, right), "key|a=b");
    EXPECT_EQ(String("a::b::c").split("::", left, right), 1);
    EXPECT_EQ(listed(left, right), "a|b::c");
    EXPECT_LT(text.split("::", left, right), 0);
    EXPECT_EQ(listed(left, right), "key=a=b|");
}

TEST(String, SplitsWithoutEmptyPiecesAndJoins)
{
    ZKVector<String> pieces;
    auto const atString = [&](String const& text, char const* separator)
    { return text.splitAtString(pieces, separator), String::join(pieces, "|"); };
    auto const atChars = [&](String const& text, char const* separators)
    { return text.splitAtChars(pieces, separators), String::join(pieces, "|"); };
    EXPECT_EQ(atString(", a, b,, c", ", "), "a|b,|c");
    EXPECT_EQ(atChars(", a, b,, c", " ,"), "a|b|c");
    EXPECT_EQ(atString("a b", ""), "a b");
    EXPECT_EQ(listed(atChars(" ,, ", " ,"), atChars("", "")), "|");
    EXPECT_EQ(pieces.size(), 0u);
    pieces.add("first element of it|second|third");
    EXPECT_EQ(atString(pieces[0], "|"), "first element of it|second|third");
    EXPECT_EQ(pieces.size(), 3u);
    EXPECT_EQ(listed(String::repeat("ab", 3), String::repeat("", 3)), "ababab|");
}

TEST(String, ReadsNumbersAsSscanfDoesAndRangesWithDefaultsForOpenSides)
{
    int value = 7;
    EXPECT_TRUE(String(" 0x10 rest").toInteger(value).isSuccess());
    EXPECT_EQ(String("none").toInteger(value), XCODE_FAILURE);
    EXPECT_EQ(value, 16);
    EXPECT_EQ(listed(String("010").toInt32(), String("-0x12").toInt8(), String("none").toInt16()), "8|-18|-1");
    EXPECT_EQ(listed(String("0xFFFFFFFFFF").toInt64(), String("010").toInt64(), String("").toInt64()),
              "1099511627775|10|-1");
    EXPECT_EQ(listed(String("0xFF").toUInt8(), String("none").toUInt16(), String("4294967295").toUInt32()),
              "255|0|4294967295");
    EXPECT_EQ(String("0XFF").toUInt(), 0u) << "only a lower-case x makes it hexadecimal";
    EXPECT_EQ(String("18446744073709551615").toUInt64(), 18446744073709551615ull);
    EXPECT_TRUE(String("true").toBool() && String("2").toBool());
    EXPECT_FALSE(String("True").toBool() || String("0").toBool() || String("").toBool());

    auto const rangeOf = [](String const& text)
    {
        bool isRange = false;
        int first = 0;
        int last = 0;
        bool const isRead = text.toNumberRange(isRange, first, last, 1, 99).isSuccess();
        return listed(isRead, isRange, first, last);
    };
    EXPECT_EQ(rangeOf("3..9"), "true|true|3|9");
    EXPECT_EQ(rangeOf("..9"), "true|true|1|9");
    EXPECT_EQ(rangeOf("x.."), "true|true|-1|99");
    EXPECT_EQ(rangeOf("5"), "true|false|5|5");
}

TEST(String, TextOfEveryKindOfValue)
{
    char buffer[] = "buffer";
    char* const pointer = buffer;
    EXPECT_EQ(listed(true, 'c', "literal", pointer, static_cast<char const*>(nullptr)), "true|c|literal|buffer|");
    EXPECT_EQ(listed(static_cast<signed char>(-5), static_cast<unsigned char>(200), 2.5f), "-5|200|2.5");
    EXPECT_EQ(listed(std::numeric_limits<int>::min(), XCODE_FAILURE), "-2147483648|2147483647");
    EXPECT_EQ(listed(std::numeric_limits<long long>::min(), ~0ULL), "-9223372036854775808|18446744073709551615");
    EXPECT_EQ(String::stringOf(static_cast<void*>(buffer)), String(String::Formatted(), "%p", pointer));
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
    using Limits = std::numeric_limits<double>;
    double const values[] = {0.0,      0.5,      1.0,      100.0,     99999.95,    100000.5,
                             999999.4, 999999.5, 1e6,      1e-4,      9.999995e-5, 1e15,
                             1e21,     1e22,     123456.5, 1234565.0, 9.999995,    0.30000000000000004};
    for (double const value : values)
        expectSame(value), expectSame(-value);
    for (double const value : {Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(), Limits::max()})
        expectSame(value), expectSame(-value);
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i)
    {
        expectSame(std::bit_cast<double>(random()));
        double const whole = static_cast<double>(random() % 20000000);
        expectSame(whole * std::pow(10.0, static_cast<int>(random() % 40) - 20));
        expectSame(std::nextafter(whole / 2, 0));
    }
}

TEST(String, HexGoesBothWaysWithoutZeroBytesAndDumpsAlignTheirCharacters)
{
    EXPECT_EQ(String("a\xFFz").toHex(), "61ff7a");
    EXPECT_EQ(listed(String::stringOfHex("61Ff7a"), String::stringOfHex("610062")), "a\xFFz|ab");
    EXPECT_EQ(listed(String::stringOfHex("616"), String::stringOfHex("61 6")), "|");

    EXPECT_EQ(String("0123456789abcdefAB\n").toHexDump(7),
              "00000000:  30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66 |0123456789abcdef|\n"
              "00000010:  41 42 0a                                         |AB.|");
    EXPECT_EQ(String("0123456789").toHexDump(6), "30 31 32 33 34 35 36 37  38 39                   |0123456789|");
    EXPECT_EQ(String("0123456789abcdefAB").toHexDump(4), "|0123456789abcdef|\n|AB|");
    EXPECT_EQ(String("01234567").toHexDump(6), "30 31 32 33 34 35 36 37                         |01234567|")
        << "a half row has no blank before its ninth byte, and none makes up for it";
    EXPECT_EQ(String("AB").toHexDump(1), "00000000:  ");
    EXPECT_EQ(listed(String::HEX_DUMP(nullptr, 5, 7), String::HEX_DUMP("abc", -1, 7)), "|");
}

TEST(String, DistanceCountsEditsAndSwapsOfNeighbours)
{
    EXPECT_EQ(listed(String("kitten").calcDistance("sitting"), String("abcd").calcDistance("acbd")), "3|1");
    EXPECT_EQ(String("ca").calcDistance("abc"), 3) << "a swapped pair isn't changed again";
    EXPECT_EQ(listed(String("").calcDistance("abc"), String("abc").calcDistance("abc")), "3|0");
    EXPECT_EQ(ofLength(4000).calcDistance(ofLength(4001)), 1) << "the matrix of it would not fit a stack";
}

}
