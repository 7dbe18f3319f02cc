#include "zekovar/property/json.h"

#include "zekovar/foundation/base64.h"
#include "zekovar/property/json_lexer.h"
#include "zekovar/property/text_form.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace ZK::Property
{
namespace
{
using Token = JSON::Lexer::Token;
using Type = Value::Type;

/// Whether `Base64` would take each character for what it is; blanks and line ends may stand between them.
bool isBase64(String const& text, size_t from)
{
    std::string_view const digits = Detail::wholeText(text).substr(from);
    return std::all_of(digits.begin(), digits.end(),
                       [](char digit)
                       {
                           return (digit >= 'A' && digit <= 'Z') || (digit >= 'a' && digit <= 'z') ||
                                  (digit >= '0' && digit <= '9') ||
                                  (digit != '\0' && std::strchr("+/= \t\r\n", digit) != nullptr);
                       });
}

/// Each function gives an "Invalid" value behind a failure, and never else.
class Reader
{
public:
    Reader(char const* text, int length) : m_lexer(text, length) {}

    Value readValue(unsigned int depth);

    XCode& failure() { return m_failure; }

private:
    Value readObject(unsigned int depth);
    bool readMember(Value& object, unsigned int depth);
    Value readArray(unsigned int depth);
    Value readString();
    Value readBinary(String const& text);
    Value readInteger();
    Value readFloating();
    Value refuse();

    Value fail(XCode&& failure)
    {
        m_failure = std::move(failure);
        return {};
    }

    Value fail(String const& message)
    {
        XCode failure(XCODE_FAILURE);
        failure.setString(message);
        return fail(std::move(failure));
    }

    JSON::Lexer m_lexer;
    XCode m_failure;
};

Value Reader::readValue(unsigned int depth)
{
    switch (m_lexer.pop())
    {
    case Token::OBJECT_BEGIN:
        return depth < MAX_DEPTH ? readObject(depth + 1) : fail(Detail::tooDeep());
    case Token::ARRAY_BEGIN:
        return depth < MAX_DEPTH ? readArray(depth + 1) : fail(Detail::tooDeep());
    case Token::NULL_WORD:
        return nullptr;
    case Token::FALSE_WORD:
        return false;
    case Token::TRUE_WORD:
        return true;
    case Token::STRING:
        return readString();
    case Token::INTEGER:
        return readInteger();
    case Token::FLOATING:
        return readFloating();
    default:
        return refuse();
    }
}

Value Reader::readObject(unsigned int depth)
{
    Value object;
    object.copyOnWrite(Type::OBJECT);
    if (m_lexer.peek() == Token::OBJECT_END)
    {
        m_lexer.pop();
        return object;
    }
    while (readMember(object, depth))
    {
        Token const next = m_lexer.pop();
        if (next == Token::OBJECT_END)
            return object;
        if (next != Token::COMMA)
            return fail("Expecing ',' or '}'");
    }
    return {};
}

bool Reader::readMember(Value& object, unsigned int depth)
{
    if (m_lexer.pop() != Token::STRING)
    {
        fail(m_lexer.getErrorText());
        return false;
    }
    String key = m_lexer.takeTokenText();
    if (m_lexer.pop() != Token::COLON)
    {
        fail("Expecting ':'");
        return false;
    }
    Value member = readValue(depth);
    if (member.isInvalid())
        return false;
    object.setMember(std::move(key), std::move(member));
    return true;
}

Value Reader::readArray(unsigned int depth)
{
    Value array;
    array.copyOnWrite(Type::ARRAY);
    if (m_lexer.peek() == Token::ARRAY_END)
    {
        m_lexer.pop();
        return array;
    }
    for (;;)
    {
        Value element = readValue(depth);
        if (element.isInvalid())
            return {};
        array.add(std::move(element));
        Token const next = m_lexer.pop();
        if (next == Token::ARRAY_END)
            return array;
        if (next != Token::COMMA)
            return fail("Expecing ',' or ']'");
    }
}

Value Reader::readString()
{
    String text = m_lexer.takeTokenText();
    if (Detail::wholeText(text).starts_with(Detail::BINARY_PREFIX))
        return readBinary(text);
    if (Detail::wholeText(text).starts_with(Detail::XCODE_PREFIX))
        return Detail::parseXCode(text.substring(Detail::XCODE_PREFIX.size()));
    return text;
}

Value Reader::readBinary(String const& text)
{
    TString<char> bytes;
    XCode code = testExpression(isBase64(text, Detail::BINARY_PREFIX.size()));
    if (code.isSuccess())
        code = Base64::decode(bytes, text.substring(Detail::BINARY_PREFIX.size()));
    if (code.isSuccess())
        return bytes;
    code.extendString("Invalid binary string", ": ");
    return fail(std::move(code));
}

Value Reader::readInteger()
{
    long long number;
    return m_lexer.parseStringToInt(number) ? Value(number) : fail(m_lexer.getErrorText());
}

Value Reader::readFloating()
{
    double number;
    return m_lexer.parseStringToFloat(number) ? Value(number) : fail(m_lexer.getErrorText());
}

Value Reader::refuse()
{
    return fail(String(String::Formatted(), "Expecting value, got '%s': %s", m_lexer.getTokenText().c_str(),
                       m_lexer.getErrorText().c_str()));
}

/// `value` is touched at the end only: the text may be part of it.
XCode decodeText(Value& value, char const* text, int length)
{
    Reader reader(text, length);
    value = reader.readValue(0);
    return value.isInvalid() ? std::move(reader.failure()) : XCode();
}
}

XCode JSON::decode(Value& value, String const& text)
{
    return decodeText(value, text.c_str(), text.length());
}

XCode JSON::decode(Value& value, TString<char> const& text)
{
    return decodeText(value, text.data(), text.length());
}

XCode Value::fromJson(String const& text)
{
    return JSON::decode(*this, text);
}

XCode Value::fromJson(TString<char> const& text)
{
    return JSON::decode(*this, text);
}
}
