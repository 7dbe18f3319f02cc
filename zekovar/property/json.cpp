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

bool startsWith(String const& text, std::string_view prefix)
{
    return Detail::wholeText(text).starts_with(prefix);
}

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

class Reader
{
public:
    Reader(char const* text, int length) : m_lexer(text, length) {}

    /// The value is touched at the end only: the text may be part of it.
    XCode read(Value& value)
    {
        Value result;
        bool const succeeded = readValue(result, 0);
        value = succeeded ? std::move(result) : Value();
        return succeeded ? XCode() : std::move(m_failure);
    }

private:
    bool readValue(Value& value, unsigned int depth);
    bool readObject(Value& value, unsigned int depth);
    bool readArray(Value& value, unsigned int depth);
    bool readMember(Value& value, unsigned int depth);
    bool readString(Value& value);
    bool readBinary(Value& value, String const& text);
    bool readInteger(Value& value);
    bool readFloating(Value& value);
    bool refuse();

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
    XCode m_failure;
};

bool Reader::readValue(Value& value, unsigned int depth)
{
    switch (m_lexer.pop())
    {
    case Token::OBJECT_BEGIN:
        return depth < MAX_DEPTH ? readObject(value, depth + 1) : fail(Detail::tooDeep());
    case Token::ARRAY_BEGIN:
        return depth < MAX_DEPTH ? readArray(value, depth + 1) : fail(Detail::tooDeep());
    case Token::NULL_WORD:
        value = nullptr;
        return true;
    case Token::FALSE_WORD:
        value = false;
        return true;
    case Token::TRUE_WORD:
        value = true;
        return true;
    case Token::STRING:
        return readString(value);
    case Token::INTEGER:
        return readInteger(value);
    case Token::FLOATING:
        return readFloating(value);
    default:
        return refuse();
    }
}

bool Reader::readObject(Value& value, unsigned int depth)
{
    value.copyOnWrite(Type::OBJECT);
    if (m_lexer.peek() == Token::OBJECT_END)
    {
        m_lexer.pop();
        return true;
    }
    for (;;)
    {
        if (!readMember(value, depth))
            return false;
        Token const next = m_lexer.pop();
        if (next == Token::OBJECT_END)
            return true;
        if (next != Token::COMMA)
            return fail("Expecing ',' or '}'");
    }
}

bool Reader::readMember(Value& value, unsigned int depth)
{
    if (m_lexer.pop() != Token::STRING)
        return fail(m_lexer.getErrorText());
    String key = m_lexer.takeTokenText();
    if (m_lexer.pop() != Token::COLON)
        return fail("Expecting ':'");
    Value member;
    if (!readValue(member, depth))
        return false;
    value.setMember(std::move(key), std::move(member));
    return true;
}

bool Reader::readArray(Value& value, unsigned int depth)
{
    value.copyOnWrite(Type::ARRAY);
    if (m_lexer.peek() == Token::ARRAY_END)
    {
        m_lexer.pop();
        return true;
    }
    for (;;)
    {
        Value element;
        if (!readValue(element, depth))
            return false;
        value.add(std::move(element));
        Token const next = m_lexer.pop();
        if (next == Token::ARRAY_END)
            return true;
        if (next != Token::COMMA)
            return fail("Expecing ',' or ']'");
    }
}

bool Reader::readString(Value& value)
{
    String text = m_lexer.takeTokenText();
    if (startsWith(text, Detail::BINARY_PREFIX))
        return readBinary(value, text);
    if (startsWith(text, Detail::XCODE_PREFIX))
        value = Detail::parseXCode(text.substring(Detail::XCODE_PREFIX.size()));
    else
        value = std::move(text);
    return true;
}

bool Reader::readBinary(Value& value, String const& text)
{
    TString<char> bytes;
    XCode code = testExpression(isBase64(text, Detail::BINARY_PREFIX.size()));
    if (code.isSuccess())
        code = Base64::decode(bytes, text.substring(Detail::BINARY_PREFIX.size()));
    if (code.isErr())
    {
        code.extendString("Invalid binary string", ": ");
        return fail(std::move(code));
    }
    value = std::move(bytes);
    return true;
}

bool Reader::readInteger(Value& value)
{
    long long number;
    if (!m_lexer.parseStringToInt(number))
        return fail(m_lexer.getErrorText());
    value = number;
    return true;
}

bool Reader::readFloating(Value& value)
{
    double number;
    if (!m_lexer.parseStringToFloat(number))
        return fail(m_lexer.getErrorText());
    value = number;
    return true;
}

bool Reader::refuse()
{
    return fail(String(String::Formatted(), "Expecting value, got '%s': %s", m_lexer.getTokenText().c_str(),
                       m_lexer.getErrorText().c_str()));
}

class Writer
{
public:
    Writer(bool pretty, unsigned int step) : m_pretty(pretty), m_step(step) {}

    XCode write(Value const& value, unsigned int level, unsigned int depth);

    std::string const& text() const { return m_text; }

private:
    XCode writeContainer(Value const& value, unsigned int level, unsigned int depth);
    XCode writeBinary(TString<char> const& bytes);
    void writeCode(XCode const& code);
    void writeText(String const& text);
    void startLine(unsigned int level);

    bool m_pretty;
    unsigned int m_step;
    std::string m_text;
};

XCode Writer::write(Value const& value, unsigned int level, unsigned int depth)
{
    switch (value.getType())
    {
    case Type::INVALID:
        break;
    case Type::NULL_VALUE:
        m_text += "null";
        break;
    case Type::BOOLEAN:
        m_text += value.getBoolOr(false) ? "true" : "false";
        break;
    case Type::INTEGER:
        Detail::appendInteger(m_text, value.getInt64Or(0));
        break;
    case Type::FLOATING:
        Detail::appendFloating(m_text, value.getFloatOr(0));
        break;
    case Type::XCODE:
        writeCode(*value.asXCode());
        break;
    case Type::STRING:
        writeText(*value.asString());
        break;
    case Type::BINARY:
        return writeBinary(*value.asBinary());
    case Type::ARRAY:
    case Type::OBJECT:
        return depth < MAX_DEPTH ? writeContainer(value, level, depth + 1) : Detail::tooDeep();
    }
    return XCODE_SUCCESS;
}

XCode Writer::writeContainer(Value const& value, unsigned int level, unsigned int depth)
{
    bool const isArray = value.isArray();
    m_text += isArray ? '[' : '{';
    bool isFirst = true;
    for (unsigned int i = 0, size = value.size(); i < size; ++i)
    {
        Value::Member const* const member = isArray ? nullptr : value.memberAt(i);
        Value const& element = isArray ? value[i] : member->value;
        if (element.isInvalid())
            continue;
        if (!std::exchange(isFirst, false))
            m_text += ',';
        startLine(level + m_step);
        if (!isArray)
        {
            writeText(member->key);
            m_text += m_pretty ? ": " : ":";
        }
        if (XCode code = write(element, level + m_step, depth); code.isErr())
            return code;
    }
    startLine(level);
    m_text += isArray ? ']' : '}';
    return XCODE_SUCCESS;
}

XCode Writer::writeBinary(TString<char> const& bytes)
{
    String digits;
    XCode code = Base64::encode(digits, bytes, 0);
    if (code.isSuccess())
        m_text.append("\"").append(Detail::BINARY_PREFIX).append(Detail::wholeText(digits)).append("\"");
    return code;
}

void Writer::writeCode(XCode const& code)
{
    m_text.append("\"").append(Detail::XCODE_PREFIX);
    Detail::appendInteger(m_text, code.getRawValue());
    m_text += ':';
    Detail::appendEscaped(m_text, Detail::untilZero(code.toString()), true);
    m_text += '"';
}

void Writer::writeText(String const& text)
{
    m_text += '"';
    Detail::appendEscaped(m_text, Detail::untilZero(text), true);
    m_text += '"';
}

void Writer::startLine(unsigned int level)
{
    if (m_pretty)
        m_text.append("\n").append(level, ' ');
}
}

XCode JSON::decode(Value& value, String const& text)
{
    return Reader(text.c_str(), text.length()).read(value);
}

XCode JSON::decode(Value& value, TString<char> const& text)
{
    return Reader(text.data(), text.length()).read(value);
}

XCode JSON::encode(String& out, Value const& value, bool pretty, unsigned int level, unsigned int step)
{
    Writer writer(pretty, step);
    XCode code = writer.write(value, level, 0);
    XCode const appended = Detail::appendTo(out, writer.text());
    return code.isErr() ? code : appended;
}

XCode JSON::encode(TString<char>& out, Value const& value)
{
    Writer writer(false, 0);
    XCode code = writer.write(value, 0, 0);
    return code.isErr() ? code : Detail::appendTo(out, writer.text());
}

String Value::toJson() const
{
    String out;
    JSON::encode(out, *this, false, 0, 2);
    return out;
}

XCode Value::toJson(TString<char>& out) const
{
    return JSON::encode(out, *this);
}

XCode Value::fromJson(String const& text)
{
    return JSON::decode(*this, text);
}

XCode Value::fromJson(TString<char> const& text)
{
    return JSON::decode(*this, text);
}

String Value::dump(unsigned int level, unsigned int step) const
{
    String out;
    JSON::encode(out, *this, true, level, step);
    return out;
}
}
