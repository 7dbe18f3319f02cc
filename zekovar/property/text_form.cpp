#include "zekovar/property/text_form.h"

#include "zekovar/property/value.h"

#include <array>
#include <charconv>
#include <climits>

namespace ZK::Property::Detail
{
namespace
{
constexpr int FLOATING_DIGITS = 6;

/// What follows the backslash for each byte; 0 where none is written.
constexpr std::array<char, 256> makeEscapes()
{
    std::array<char, 256> letters{};
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['/'] = '/';
    letters['\b'] = 'b';
    letters['\f'] = 'f';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    return letters;
}

constexpr std::array<char, 256> ESCAPES = makeEscapes();

void appendFloating(std::string& out, double value)
{
    char digits[32];
    auto const result = std::to_chars(digits, std::end(digits), value, std::chars_format::general, FLOATING_DIGITS);
    out.append(digits, static_cast<size_t>(result.ptr - digits));
}
}

void appendEscaped(std::string& out, std::string_view text, bool withSlash)
{
    size_t written = 0;
    for (size_t i = 0; i < text.size(); ++i)
    {
        char const letter = ESCAPES[static_cast<unsigned char>(text[i])];
        if (letter == '\0' || (letter == '/' && !withSlash))
            continue;
        out.append(text, written, i - written);
        out += '\\';
        out += letter;
        written = i + 1;
    }
    out.append(text, written);
}

void appendPlain(std::string& out, Value const& value)
{
    switch (value.getType())
    {
    case Value::Type::NULL_VALUE:
        out += "null";
        break;
    case Value::Type::BOOLEAN:
        out += value.getBoolOr(false) ? "true" : "false";
        break;
    case Value::Type::INTEGER:
        appendInteger(out, value.getInt64Or(0));
        break;
    case Value::Type::FLOATING:
        appendFloating(out, value.getFloatOr(0));
        break;
    default:
        break;
    }
}

void appendInteger(std::string& out, long long value)
{
    char digits[24];
    char const* const end = std::to_chars(digits, std::end(digits), value).ptr;
    out.append(digits, static_cast<size_t>(end - digits));
}

XCode parseXCode(String const& text)
{
    int const colon = text.indexOf(':');
    XCode code(String(text.c_str(), 0, colon).toUInt32());
    String const message = text.substring(colon + 1);
    if (!message.isEmpty())
        code.setString(message);
    return code;
}

XCode tooDeep()
{
    XCode code(XCODE_FAILURE);
    code.setStringF("Nested deeper than %u", MAX_DEPTH);
    return code;
}

XCode appendTo(String& out, std::string const& text)
{
    if (text.size() > static_cast<size_t>(String::Store::MAX_LENGTH))
        return XCODE_FAILURE;
    int const length = out.length();
    out.concat(text.data(), static_cast<int>(text.size()));
    return testExpression(static_cast<size_t>(out.length() - length) == text.size());
}

XCode appendTo(TString<char>& out, std::string const& text)
{
    if (text.size() > INT_MAX)
        return XCODE_FAILURE;
    int const length = out.length();
    out.insert(length, text.data(), static_cast<int>(text.size()));
    return testExpression(static_cast<size_t>(out.length() - length) == text.size());
}
}
