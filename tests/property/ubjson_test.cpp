#include "zekovar/property/ubjson.h"

#include "tests/property/generated_value.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

using namespace std::literals;
using ZK::Property::UBJSON;
using ZK::Property::Value;

namespace
{
TString<char> bytesOf(std::string_view bytes)
{
    return {bytes.data(), static_cast<int>(bytes.size())};
}

std::string encoded(Value const& value)
{
    TString<char> const bytes = value.toUbjson();
    return {bytes.data(), static_cast<size_t>(bytes.length())};
}
}

TEST(Ubjson, WritesTheSmallestForm)
{
    struct
    {
        Value value;
        std::string_view bytes;
    } const cases[] = {
        {127, "i\x7f"sv},
        {128, "U\x80"sv},
        {256, "I\x01\x00"sv},
        {-129, "I\xff\x7f"sv},
        {32768, "l\x00\x00\x80\x00"sv},
        {2147483648LL, "L\x00\x00\x00\x00\x80\x00\x00\x00"sv},
        {-1.5, "D\xbf\xf8\x00\x00\x00\x00\x00\x00"sv},
        {"", "Si\x00"sv},
        {"a", "Ca"sv},
        {"ab", "Si\002ab"sv},
        {bytesOf("a\0b"sv), "[$U#i\003a\0b"sv},
        {Value{1, Value{"k", "v"}}, "[i\x01[CkCv]]"sv},
        {Value{Value{"key", nullptr}}, "{i\x03keyZ}"sv},
        {Value(), ""sv},
        {Value{1, Value()}, ""sv},
    };

    for (auto const& each : cases)
        EXPECT_EQ(encoded(each.value), each.bytes);
    TString<char> out;
    EXPECT_TRUE(UBJSON::encodeObject(out, 5).isErr());
}

TEST(Ubjson, ReadsEveryFormAndTellsWhatIsWrong)
{
    struct
    {
        std::string_view bytes;
        char const* json; // what is read, also in front of a failure
        char const* failure;
    } const cases[] = {
        {"[i\x05\xff"sv, "[5]", "Unsupported value marker: '.' (0XFF)"},
        {"[$i#U\x02\x01\x02rest"sv, "[1,2]", ""},
        {"[#U\x01i\x05"sv, "[5]", ""},
        {"[#i\x03NZN"sv, "[null]", ""},
        {"[NZ]"sv, "[null]", ""},
        {"[$N#l\x7f\xff\xff\xff"sv, "[]", ""},
        {"[$Z#i\x02", "[null,null]", ""},
        {"[$[#i\x02]d\x3f\x00\x00\x00]"sv, "[[],[0.5]]", ""},
        {"{$C#i\x02i\001axx"sv, "", "Expecting length: Unsupported number marker: 'x' (0X78)"},
        {"{i\001aNi\001bd\x3f\x00\x00\x00}"sv, "{\"b\":0.5}", ""},
        {"SU\x09XCODE:7:x"sv, "\"XCODE:7:x\"", ""},
        {"C\x00"sv, "\"\"", ""},
        {"Hi\00212"sv, "12", ""},
        {"Hi\0040x1F"sv, "31", ""},
        {"Hi\024-9999999999999999999"sv, "-9223372036854775808", ""},
        {"Hi\0031.5"sv, "", "Invalid high-precision number"},
        {"", "", "Expecting value marker"},
        {"I\x01"sv, "", "Expecting Int16"},
        {"D\x01"sv, "", "Expecting Double"},
        {"C", "", "Expecting character"},
        {"S", "", "Expecting length: Expecting marker for a number"},
        {"Sl\x01"sv, "", "Expecting length: Expecting Int32"},
        {"Si\xff"sv, "", "Negative length"},
        {"SL\x00\x00\x00\x00\x80\x00\x00\x00"sv, "", "Length violation"},
        {"[$U#l\x7f\xff\xff\xff"sv, "", "Length violation"},
        {"[$", "[]", "Expecting array marker after marker: '$'"},
        {"[$i]", "[]", "Expecting array size after array marker; missing marker '$'"},
        {"[#Z", "[]",
         "Expecting array size after marker: '#': Expecting length: Unsupported number marker: 'Z' (0X5A)"},
        {"[i\x01"sv, "[1]", "Expecting array end marker: ']'"},
        {"[$Z#l\x7f\xff\xff\xff"sv, "[]", "Expecting array size after marker: '#': Length violation"},
        {"[i\x01[i\x02]{i\001a[i\x03"sv, "[1,[2]]", "Expecting array end marker: ']'"},
        {"[i\x01[i\x02I"sv, "[1]", "Expecting Int16"},
        {"{$", "", "Expecting object marker after marker: '$'"},
        {"{", "", "Expecting object end marker: '}'"},
    };

    for (auto const& each : cases)
    {
        Value value;
        XCode const code = value.fromUbjson(bytesOf(each.bytes));
        EXPECT_EQ(code.toString(), each.failure) << each.bytes;
        EXPECT_EQ(value.toJson(), each.json) << each.bytes;
    }
    Value value = 1;
    EXPECT_EQ(value.fromUbjson(bytesOf("N")).getRawValue(), 0x11000002u);
    EXPECT_EQ(value.toJson(), "1");
}

TEST(Ubjson, BringsBackGeneratedValues)
{
    GeneratedValues values;
    for (int i = 0; i < 3000; i++)
    {
        Value const value = values.next();
        Value again;
        ASSERT_EQ(again.fromUbjson(value.toUbjson()).toString(), "") << value.toJson().c_str();
        ASSERT_TRUE(again == value) << value.toJson().c_str();
        ASSERT_EQ(again.toJson(), value.toJson());
    }
}

TEST(Ubjson, RefusesWhatIsNestedTooDeepAndCountsThatTheInputCannotHold)
{
    Value value = nestedArrays(ZK::Property::MAX_DEPTH);
    EXPECT_TRUE(value.fromUbjson(value.toUbjson()).isSuccess());
    EXPECT_EQ(encoded(value).size(), 2 * ZK::Property::MAX_DEPTH);
    EXPECT_EQ(value.fromUbjson(bytesOf("[" + encoded(value) + "]")).toString(), "Nested deeper than 512");
    EXPECT_TRUE(value.fromUbjson(bytesOf(std::string(1000000, '['))).isErr());

    // many small counts add up
    std::string counts;
    for (int i = 0; i < 100; i++)
        counts += "[$T#I\x7f\xff"sv;
    EXPECT_EQ(value.fromUbjson(bytesOf("[" + counts + "]")).toString(),
              "Expecting array size after marker: '#': Length violation");
    EXPECT_EQ(value.size(), 2u);
}
