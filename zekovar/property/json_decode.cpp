#include "zekovar/property/json.h"

#include "zekovar/foundation/base64.h"
#include "zekovar/property/builder.h"
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
bool isBase64(std::string_view digits)
{
    return std::all_of(digits.begin(), digits.end(),
                       [](char digit)
                       {
                           return (digit >= 'A' && digit <= 'Z') || (digit >= 'a' && digit <= 'z') ||
                                  (digit >= '0' && digit <= '9') ||
                                  (digit != '\0' && std::strchr("+/= \t\r\n", digit) != nullptr);
                       });
}

/// Each function puts one value on the builder's stack; on a failure it gives false.
class Reader
{
public:
    Reader(char const* text, int length) : m_lexer(text, length), m_length(static_cast<std::size_t>(length)) {}

    bool readValue(unsigned int depth);

    Value takeValue() { return m_builder.take(); }

    XCode& failure() { return m_failure; }

private:
    bool readObject(unsigned int depth);
    bool readKey();
    bool readArray(unsigned int depth);
    bool readString();
    bool readBinary(std::string_view digits);
    bool readInteger();
    bool readFloating();
    bool refuse();

    /// Whether the next token is this character, which is then consumed.
    bool nextIs(char character)
    {
        m_lexer.skipWhitespaces();
        return m_lexer.parseConstChar(character);
    }

    template <class T>
    bool add(T&& value)
    {
        m_builder.add(std::forward<T>(value));
        return true;
    }

    bool fail(XCode&& failure)
    {
        m_failure = std::move(failure);
        return false;
    }

    bool fail(String const& message)
    {
        XCode failure(XCODE_FAILURE);
        failure.setString(message);
        return fail(std::move(failure));
    }

    JSON::Lexer m_lexer;
    std::size_t m_length;
    Value::Store::Builder m_builder;
    XCode m_failure;
};

bool Reader::readValue(unsigned int depth)
{
    switch (m_lexer.parseJsonToken())
    {
    case Token::OBJECT_BEGIN:
        return depth < MAX_DEPTH ? readObject(depth + 1) : fail(Detail::tooDeep());
    case Token::ARRAY_BEGIN:
        return depth < MAX_DEPTH ? readArray(depth + 1) : fail(Detail::tooDeep());
    case Token::NULL_WORD:
        return add(nullptr);
    case Token::FALSE_WORD:
        return add(false);
    case Token::TRUE_WORD:
        return add(true);
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

bool Reader::readObject(unsigned int depth)
{
    std::size_t const start = m_builder.size();
    for (bool isEnd = nextIs('}'); !isEnd; isEnd = nextIs('}'))
    {
        if (m_builder.size() > start && !nextIs(','))
            return fail("Expecing ',' or '}'");
        if (!readKey() || !readValue(depth))
            return false;
    }
    m_builder.endObject(start);
    return true;
}

bool Reader::readKey()
{
    if (m_lexer.parseJsonToken() != Token::STRING)
        return fail(m_lexer.getErrorText());
    m_builder.addKey(m_lexer.viewTokenText());
    return nextIs(':') || fail("Expecting ':'");
}

bool Reader::readArray(unsigned int depth)
{
    std::size_t const start = m_builder.size();
    for (bool isEnd = nextIs(']'); !isEnd; isEnd = nextIs(']'))
    {
        if (m_builder.size() > start && !nextIs(','))
            return fail("Expecing ',' or ']'");
        if (!readValue(depth))
            return false;
        m_builder.noteProgress(static_cast<std::size_t>(m_lexer.getPosition()), m_length);
    }
    m_builder.endArray(start);
    return true;
}

bool Reader::readString()
{
    std::string_view const text = m_lexer.viewTokenText();
    if (text.starts_with(Detail::BINARY_PREFIX))
        return readBinary(text.substr(Detail::BINARY_PREFIX.size()));
    if (text.starts_with(Detail::XCODE_PREFIX))
        return add(Detail::parseXCode(Detail::toString(text.substr(Detail::XCODE_PREFIX.size()))));
    m_builder.addText(text);
    return true;
}

bool Reader::readBinary(std::string_view digits)
{
    TString<char> bytes;
    XCode code = testExpression(isBase64(digits));
    if (code.isSuccess())
        code = Base64::decode(bytes, Detail::toString(digits));
    if (code.isSuccess())
        return add(std::move(bytes));
    code.extendString("Invalid binary string", ": ");
    return fail(std::move(code));
}

bool Reader::readInteger()
{
    long long number;
    return m_lexer.parseStringToInt(number) ? add(number) : fail(m_lexer.getErrorText());
}

bool Reader::readFloating()
{
    double number;
    return m_lexer.parseStringToFloat(number) ? add(number) : fail(m_lexer.getErrorText());
}

bool Reader::refuse()
{
    return fail(String(String::Formatted(), "Expecting value, got '%s': %s", m_lexer.getTokenText().c_str(),
                       m_lexer.getErrorText().c_str()));
}

/// `value` is touched at the end only: the text may be part of it.
XCode decodeText(Value& value, char const* text, int length)
{
    Reader reader(text, length);
    if (!reader.readValue(0))
    {
        value = Value();
        return std::move(reader.failure());
    }
    value = reader.takeValue();
    return XCode();
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
