#include "zekovar/property/store.h"

#include <cmath>
#include <cstdlib>

namespace ZK::Property
{
namespace
{
bool isContainer(Value const& value)
{
    return value.isArray() || value.isObject();
}

/// A container whose text isn't finished, and the element that comes next.
struct Level
{
    Value const* container;
    unsigned int next;
};

String textOf(Value const& root)
{
    String text;
    std::vector<Level> levels;
    auto const open = [&](Value const& container)
    {
        text += container.isArray() ? '[' : '{';
        levels.push_back({&container, 0});
    };
    open(root);
    while (!levels.empty())
    {
        Level& level = levels.back();
        Value const& container = *level.container;
        if (level.next == container.size())
        {
            text += container.isArray() ? ']' : '}';
            levels.pop_back();
            continue;
        }
        if (level.next > 0)
            text += ',';
        Value::Member const* const member = container.memberAt(level.next);
        if (member != nullptr)
            text.concat(member->key) += ':';
        Value const& element = member != nullptr ? member->value : container[level.next];
        level.next++;
        if (isContainer(element))
            open(element);
        else
            text.concat(element.toString());
    }
    return text;
}

// A number that no code can have is a failure, and doesn't become a success by losing its upper bits.
XCode codeOfNumber(long long number)
{
    return number >= 0 && number <= XCODE_FAILURE ? XCode(static_cast<unsigned int>(number)) : XCode(XCODE_FAILURE);
}

XCode codeOfText(String const& text)
{
    XCode code;
    if (!text.isEmpty())
    {
        code.set(XCODE_FAILURE);
        code.setString(text);
    }
    return code;
}

String textOfBytes(Value const& value)
{
    return Value::BINARY_TO_STRING(*value.asBinary());
}

bool isWhole(String const& text, char const* end)
{
    return end == text.c_str() + text.length();
}
}

long long Value::FLOAT_TO_INT64_SATURATE(double value)
{
    constexpr double LIMIT = 9223372036854775808.0; // 2 to the 63rd
    if (std::isnan(value))
        return 0;
    if (value >= LIMIT)
        return std::numeric_limits<long long>::max();
    return value < -LIMIT ? std::numeric_limits<long long>::min() : std::llrint(value);
}

bool Value::STRING_TO_BOOL(String const& text)
{
    String const lower = text.lowerCase();
    return lower == "true" || lower == "enabled" || lower == "enable" || lower == "yes" || lower == "on";
}

long long Value::STRING_TO_INT(String const& text, long long fallback)
{
    char* end = nullptr;
    long long const number = std::strtoll(text.c_str(), &end, 0);
    return !text.isEmpty() && isWhole(text, end) ? number : fallback;
}

double Value::STRING_TO_FLOAT(String const& text, double fallback)
{
    char* end = nullptr;
    double const number = std::strtod(text.c_str(), &end);
    return isWhole(text, end) ? number : fallback;
}

String Value::BINARY_TO_STRING(TString<char> const& bytes)
{
    int const size = bytes.length();
    if (size == 0)
        return String();
    // no zero byte needs to follow them
    return String(bytes.data(), size, 0, static_cast<int>(strnlen(bytes.data(), static_cast<std::size_t>(size))));
}

bool Value::BINARY_TO_BOOL(TString<char> const& bytes)
{
    for (int i = 0; i < bytes.length(); i++)
    {
        if (bytes.data()[i] != 0)
            return true;
    }
    return false;
}

XCode Value::getXCodeOr(XCode const& fallback) const
{
    XCode const* const code = asXCode();
    return code != nullptr ? *code : fallback;
}

String Value::getStringOr(String const& fallback) const
{
    String const* const text = asString();
    return text != nullptr ? *text : fallback;
}

TString<char> Value::getBinaryOr(TString<char> const& fallback) const
{
    TString<char> const* const bytes = asBinary();
    return bytes != nullptr ? *bytes : fallback;
}

bool Value::toBoolOr(bool fallback) const
{
    switch (getType())
    {
    case Type::INVALID:
        return fallback;
    case Type::NULL_VALUE:
        return true;
    case Type::BOOLEAN:
        return m_payload.boolean;
    case Type::INTEGER:
        return m_payload.integer != 0;
    case Type::FLOATING:
        return m_payload.floating != 0.0;
    case Type::XCODE:
        return asXCode()->isSuccess();
    case Type::STRING:
        return STRING_TO_BOOL(*asString());
    case Type::BINARY:
        return BINARY_TO_BOOL(*asBinary());
    default:
        return size() != 0;
    }
}

long long Value::toInt64Or(long long fallback) const
{
    switch (getType())
    {
    case Type::INVALID:
        return fallback;
    case Type::NULL_VALUE:
        return 1;
    case Type::BOOLEAN:
        return m_payload.boolean;
    case Type::INTEGER:
        return m_payload.integer;
    case Type::FLOATING:
        return FLOAT_TO_INT64_SATURATE(m_payload.floating);
    case Type::XCODE:
        return asXCode()->getRawValue();
    case Type::STRING:
        return STRING_TO_INT(*asString(), fallback);
    case Type::BINARY:
        return STRING_TO_INT(textOfBytes(*this), fallback);
    default:
        return size();
    }
}

double Value::toFloatOr(double fallback) const
{
    switch (getType())
    {
    case Type::INVALID:
        return fallback;
    case Type::FLOATING:
        return m_payload.floating;
    case Type::STRING:
        return STRING_TO_FLOAT(*asString(), fallback);
    case Type::BINARY:
        return STRING_TO_FLOAT(textOfBytes(*this), fallback);
    default:
        return static_cast<double>(toInt64Or(0));
    }
}

XCode Value::toXCodeOr(XCode const& fallback) const
{
    switch (getType())
    {
    case Type::INVALID:
        return fallback;
    case Type::INTEGER:
    case Type::FLOATING:
        return codeOfNumber(toInt64Or(0));
    case Type::XCODE:
        return *asXCode();
    case Type::STRING:
        return codeOfText(*asString());
    case Type::BINARY:
        return codeOfText(textOfBytes(*this));
    default:
        return testExpression(toBoolOr(true));
    }
}

String Value::toStringOr(String const& fallback) const
{
    switch (getType())
    {
    case Type::INVALID:
        return fallback;
    case Type::INTEGER:
        return String::stringOf(m_payload.integer);
    case Type::FLOATING:
        return String::stringOf(m_payload.floating);
    case Type::XCODE:
        return asXCode()->toString();
    case Type::STRING:
        return *asString();
    case Type::BINARY:
        return textOfBytes(*this);
    case Type::ARRAY:
    case Type::OBJECT:
        return textOf(*this);
    default:
        return String::stringOf(toBoolOr(true));
    }
}

TString<char> Value::toBinaryOr(TString<char> const& fallback) const
{
    if (isInvalid() || getType() == Type::BINARY)
        return getBinaryOr(fallback);
    String const text = toString();
    return TString<char>(text.c_str(), text.length());
}

bool Value::convertToBoolOr(bool fallback)
{
    if (getType() != Type::BOOLEAN)
        *this = toBoolOr(fallback);
    return getBoolOr(fallback);
}

long long Value::convertToInt64Or(long long fallback)
{
    if (getType() != Type::INTEGER)
        *this = toInt64Or(fallback);
    return getInt64Or(fallback);
}

int Value::convertToIntOr(int fallback)
{
    if (getType() != Type::INTEGER)
        *this = toIntOr(fallback);
    return getIntOr(fallback);
}

unsigned int Value::convertToUIntOr(unsigned int fallback)
{
    if (getType() != Type::INTEGER)
        *this = toUIntOr(fallback);
    return getUIntOr(fallback);
}

double Value::convertToFloatOr(double fallback)
{
    if (getType() != Type::FLOATING)
        *this = toFloatOr(fallback);
    return getFloatOr(fallback);
}

XCode Value::convertToXCodeOr(XCode const& fallback)
{
    if (getType() != Type::XCODE)
        *this = toXCodeOr(fallback);
    return getXCodeOr(fallback);
}

String Value::convertToStringOr(String const& fallback)
{
    if (getType() != Type::STRING)
        *this = toStringOr(fallback);
    return getStringOr(fallback);
}

TString<char> Value::convertToBinaryOr(TString<char> const& fallback)
{
    if (getType() != Type::BINARY)
        *this = toBinaryOr(fallback);
    return getBinaryOr(fallback);
}

Value parse(String const& text)
{
    if (text.isEmpty())
        return Value();
    if (text == "false" || text == "true")
        return text == "true";
    char* end = nullptr;
    long long const integer = std::strtoll(text.c_str(), &end, 10);
    if (isWhole(text, end))
        return integer;
    double const floating = std::strtod(text.c_str(), &end);
    if (isWhole(text, end))
        return floating;
    return text;
}
}
