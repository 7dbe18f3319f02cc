#include "zekovar/property/json.h"

#include "tests/property/generated_value.h"
#include "tests/string_printer.h"
#include "zekovar/property/json_lexer.h"

#include <gtest/gtest.h>
#include <string>

using ZK::Property::JSON;
using ZK::Property::Value;
using Token = JSON::Lexer::Token;

TEST(Json, ReadsTheDialectAndWritesItsShortForm)
{
    static constexpr char const* CASES[][2] = {
        {"1 2", "1"},
        {"{} x", "{}"},
        {"nullx", "null"},
        {"[ 012", nullptr},
        {"[1.0,1.,-0.5E+1,1e-400,123456789.0]", "[1,1,-5,0,1.23457e+08]"},
        {"[99999999999999999999,-99999999999999999999]", "[9223372036854775807,-9223372036854775808]"},
        {"\"\\u0041b\"", "\"b\""},
        {"\"a/b\\\"\\\\\\/\\b\\f\\n\\r\\t\x01\xff \"", "\"a\\/b\\\"\\\\\\/\\b\\f\\n\\r\\t\x01\xff \""},
        {"{\"a\":1,\"b\":[true,false,null],\"a\":{\"\":3}}", "{\"a\":{\"\":3},\"b\":[true,false,null]}"},
        {"{\"a\":\"XCODE:5:o:\\\"ps\"}", "{\"a\":\"XCODE:5:o:\\\"ps\"}"},
        {"\"XCODE:5\"", "\"XCODE:0:5\""},
        {"\"BINARY: AAEC\\n/w==\"", "\"BINARY:AAEC/w==\""},
    };
    for (auto const& [text, expected] : CASES)
    {
        Value value;
        EXPECT_EQ(value.fromJson(text).isErr(), expected == nullptr) << text;
        EXPECT_EQ(value.toJson(), expected) << text;
    }
    Value code;
    EXPECT_TRUE(code.fromJson("\"XCODE:5:oops\"").isSuccess());
    EXPECT_EQ(code.getXCodeOr(XCODE_SUCCESS).getRawValue(), 5u);
    EXPECT_EQ(code.getXCodeOr(XCODE_SUCCESS).toString(), "oops");
}

TEST(Json, TellsWhatIsWrongAndLeavesNothing)
{
    static constexpr char const* CASES[][2] = {
        {"", "Expecting value, got '': "},
        {"[1,]", "Expecting value, got ']': "},
        {"[1;", "Expecing ',' or ']'"},
        {"{\"a\":1,}", ""},
        {"{\"a\":1 \"b\"", "Expecing ',' or '}'"},
        {"{\"a\" 1}", "Expecting ':'"},
        {"{\"a\":tru", "Expecting value, got '': Expecting 'true'"},
        {"{'a'", "Invalid token '''"},
        {"[\"a\\", "Expecting value, got '': Expecting character after string escape"},
        {"\"\\x\"", "Expecting value, got '': Invalid escaped string character 'x'"},
        {"\"\\u00g0\"", "Expecting value, got '': Expecting 4 hexadecimal digits after \\u in string"},
        {"\"a", "Expecting value, got '': Expecting end of string: '\"'"},
        {"-a", "Expecting value, got '': Expecting integer digit"},
        {"1.5e+", "Expecting value, got '': Expecting exponent digit"},
        {"-1e999", "Invalid floating-point number"},
        {"\"BINARY:!!!\"", "Invalid binary string"},
    };
    for (auto const& [text, message] : CASES)
    {
        Value value = 1;
        XCode const code = value.fromJson(TString<char>(text, static_cast<int>(strlen(text))));
        EXPECT_EQ(code.getValue(), XCODE_FAILURE) << text;
        EXPECT_EQ(code.toString(), *message != '\0' ? String(message) : XCode(XCODE_FAILURE).toString()) << text;
        EXPECT_TRUE(value.isInvalid()) << text;
    }
}

TEST(Json, LexerKeepsOneTokenAndItsPlaceBehindAFailure)
{
    static constexpr char TEXT[] = " [\"a\\n\" 1.5,x";
    JSON::Lexer lexer(TEXT, sizeof(TEXT) - 1);
    EXPECT_EQ(lexer.peek(), Token::ARRAY_BEGIN);
    EXPECT_EQ(lexer.pop(), Token::ARRAY_BEGIN);
    EXPECT_EQ(lexer.pop(), Token::STRING);
    lexer.push(Token::COLON);
    EXPECT_EQ(lexer.pop(), Token::COLON);
    EXPECT_EQ(lexer.getTokenText(), "a\n");
    EXPECT_EQ(lexer.pop(), Token::FLOATING);
    long long number;
    EXPECT_FALSE(lexer.parseStringToInt(number));
    EXPECT_EQ(listed(lexer.getTokenText(), lexer.getErrorText()), "1.5|Invalid 64-bit integer");
    EXPECT_EQ(lexer.pop(), Token::COMMA);
    for (int i = 0; i < 2; i++)
    {
        EXPECT_EQ(lexer.pop(), Token::FAILED);
        EXPECT_EQ(listed(lexer.getPosition(), lexer.getTokenText(), lexer.getErrorText()), "12||Invalid token 'x'");
    }
}

TEST(Json, WritesLinesForReadersAndLeavesOutWhatIsInvalid)
{
    Value value;
    value.fromJson("{\"a\":[1,{}],\"b\":\"c\"}");
    value["a"].add(Value());
    value.setMember("x", Value());
    EXPECT_EQ(value.dump(1, 2), "{\n   \"a\": [\n     1,\n     {\n     }\n   ],\n   \"b\": \"c\"\n }");
    EXPECT_EQ(value["a"].toJson(), "[1,{}]");

    value = String("a\0b", 3, 0, 3);
    TString<char> bytes("x", 1);
    EXPECT_TRUE(value.toJson(bytes).isSuccess());
    EXPECT_EQ(String(bytes.data(), bytes.length(), 0, bytes.length()), "x\"a\"");
}

TEST(Json, BringsBackGeneratedValues)
{
    GeneratedValues values;
    for (int i = 0; i < 3000; i++)
    {
        Value const value = values.next();
        Value again;
        ASSERT_EQ(again.fromJson(value.toJson()).toString(), "") << value.toJson().c_str();
        ASSERT_TRUE(again == value) << value.toJson().c_str();
        ASSERT_EQ(again.toJson(), value.toJson());
        ASSERT_TRUE(again.fromJson(value.dump(3, 4)).isSuccess() && again == value);
    }
}

TEST(Json, ReadsWideContainersInWhateverContainsThem)
{
    Value expected;
    expected.setMember("first", {1, "a text of some length", nullptr});
    for (int size : {0, 4095, 4096, 30000, 70000})
    {
        Value wide = ZK::Property::array();
        Value named = ZK::Property::object();
        for (int i = 0; i < size; i++)
        {
            wide.add(i % 100 == 0 ? Value("a text of some length") : Value(i));
            named.setMember(String::stringOf(i), i);
        }
        expected.setMember(String::stringOf(size), {wide, named});
    }
    Value value;
    ASSERT_TRUE(value.fromJson(expected.toJson()).isSuccess());
    EXPECT_EQ(value, expected);
    ASSERT_TRUE(value.fromUbjson(expected.toUbjson()).isSuccess());
    EXPECT_EQ(value.toJson(), expected.toJson());
}

TEST(Json, KeepsTheFirstPlaceAndTheLastValueOfAKey)
{
    for (int keys : {1, 5, 12, 13, 40})
    {
        String text = "{\"same\":[]";
        String expected = "{\"same\":2";
        for (int i = 0; i < keys; i++)
        {
            text.concat(i % 2 != 0 ? ",\"same\":{}" : ",\"same key\":\"1\"")
                .concat(",\"k")
                .concat(String::stringOf(i))
                .concat("\":0");
            expected.concat(i == 0 ? ",\"same key\":\"1\"" : "")
                .concat(",\"k")
                .concat(String::stringOf(i))
                .concat("\":0");
        }
        Value value;
        ASSERT_EQ(value.fromJson(text.concat(",\"same\":2}")).toString(), "") << text.c_str();
        EXPECT_EQ(value.toJson(), expected.concat("}"));
        EXPECT_EQ(value.find("same")->getIntOr(0), 2);
        value.remove("same");
        EXPECT_EQ(value.find("same"), nullptr);
        value.setMember("k0", 1);
        EXPECT_EQ(value.size(), static_cast<unsigned int>(keys) + 1);
    }
}

TEST(Json, RefusesWhatIsNestedTooDeep)
{
    Value value = nestedArrays(ZK::Property::MAX_DEPTH);
    String const text = value.toJson();
    EXPECT_EQ(text.length(), 2 * static_cast<int>(ZK::Property::MAX_DEPTH));
    EXPECT_TRUE(value.fromJson(text).isSuccess());
    EXPECT_EQ(value.fromJson(String("[").concat(text).concat("]")).toString(), "Nested deeper than 512");
    EXPECT_TRUE(value.fromJson(std::string(1000000, '[').c_str()).isErr());
    TString<char> out;
    EXPECT_TRUE(nestedArrays(1000000).toJson(out).isErr());
    EXPECT_TRUE(out.isEmpty());
}
