#include "zekovar/property/text_lexer.h"

#include <bit>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <utility>

using ZK::Property::TextLexer;

namespace
{
constexpr int UNICODE_DIGITS = 4;

/// The byte that a letter behind a backslash stands for, 0 for none.
char controlOf(char letter)
{
    switch (letter)
    {
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return '\0';
    }
}

/// Sets the top bit of each byte of `word` that is `character`, and perhaps of some above the first of these.
uint64_t findByte(uint64_t word, char character)
{
    constexpr uint64_t ONES = 0x0101010101010101;
    uint64_t const difference = word ^ (ONES * static_cast<unsigned char>(character));
    return (difference - ONES) & ~difference & (ONES * 0x80);
}

/// Whether all of the text is a number; `isInRange` tells whether `value` was set to it.
template <class T>
bool parseWhole(std::string_view text, T& value, bool& isInRange)
{
    char const* const last = text.data() + text.size();
    auto const [end, error] = std::from_chars(text.data(), last, value);
    isInRange = error == std::errc();
    return error != std::errc::invalid_argument && end == last;
}

/// Reads a number whose size `std::from_chars` refuses. False if it is too large.
bool parseExtreme(String const& text, double& value)
{
    // the "C" locale is a constant of the C library: nothing is made here, and nothing to be freed
    static locale_t const plain = newlocale(LC_ALL_MASK, "C", nullptr);
    value = strtod_l(text.c_str(), nullptr, plain);
    return std::isfinite(value);
}
}

bool TextLexer::fail(int start, String const& reason)
{
    m_position = start;
    m_errorText = reason;
    return false;
}

String const& TextLexer::getTokenText() const
{
    if (!std::exchange(m_isTokenTextMade, true))
        m_tokenText = textOfToken();
    return m_tokenText;
}

String TextLexer::takeTokenText()
{
    return std::exchange(m_isTokenTextMade, true) ? std::move(m_tokenText) : textOfToken();
}

bool TextLexer::parseConstString(char const* text)
{
    std::size_t const size = std::strlen(text);
    if (size > static_cast<std::size_t>(m_length - m_position) || std::memcmp(m_text + m_position, text, size) != 0)
        return false;
    m_position += static_cast<int>(size);
    return true;
}

bool TextLexer::parseAnyChar(char& character)
{
    if (isAtEnd())
        return false;
    character = m_text[m_position++];
    return true;
}

bool TextLexer::parseStringToInt(long long& value)
{
    std::string_view const text = viewTokenText();
    bool isInRange;
    if (!parseWhole(text, value, isInRange))
        return fail(m_position, "Invalid 64-bit integer");
    using Limits = std::numeric_limits<long long>;
    if (!isInRange)
        value = text.front() == '-' ? Limits::min() : Limits::max();
    return true;
}

bool TextLexer::parseStringToFloat(double& value)
{
    bool isInRange;
    if (!parseWhole(viewTokenText(), value, isInRange) || (!isInRange && !parseExtreme(getTokenText(), value)))
        return fail(m_position, "Invalid floating-point number");
    return true;
}

/// Goes to the next quotation mark or backslash, or to the end. Eight bytes at a time: most of a document is quoted.
inline void TextLexer::skipPlainText(char mark)
{
    char const* text = m_text + m_position;
    char const* const end = m_text + m_length;
    for (uint64_t word; end - text >= 8; text += 8)
    {
        std::memcpy(&word, text, 8);
        uint64_t const found = findByte(word, mark) | findByte(word, '\\');
        if (found == 0)
            continue;
        // only the lowest bit set is sure, and that is the first byte on such a machine alone
        if constexpr (std::endian::native == std::endian::little)
        {
            m_position = static_cast<int>(text - m_text) + std::countr_zero(found) / 8;
            return;
        }
        break;
    }
    while (text != end && *text != mark && *text != '\\')
        ++text;
    m_position = static_cast<int>(text - m_text);
}

bool TextLexer::parseQuoted(Quotation const& quotation)
{
    int const start = m_position;
    if (!parseConstChar(quotation.mark))
        return fail(start, quotation.startMissing);
    bool hasEscapes = false;
    for (;;)
    {
        skipPlainText(quotation.mark);
        if (parseConstChar(quotation.mark))
            break;
        if (!parseConstChar('\\'))
            return fail(start, quotation.endMissing);
        if (!parseEscape(quotation, start))
            return false;
        hasEscapes = true;
    }
    storeParsedString(start + 1, m_position - 1);
    m_hasEscapes = hasEscapes;
    return true;
}

bool TextLexer::parseEscape(Quotation const& quotation, int start)
{
    char letter;
    if (!parseAnyChar(letter))
        return fail(start, quotation.escapeMissing);
    if (letter == 'u' && quotation.hasUnicode)
        return parseFourHexDigits() || fail(start, "Expecting 4 hexadecimal digits after \\u in string");
    if (controlOf(letter) != '\0' || (letter != '\0' && std::strchr(quotation.quotes, letter) != nullptr))
        return true;
    m_position = start;
    m_errorText.format(quotation.badEscape, letter);
    return false;
}

bool TextLexer::parseFourHexDigits()
{
    for (int i = 0; i < UNICODE_DIGITS; i++)
    {
        char digit;
        if (!parseAnyChar(digit) || !isxdigit(static_cast<unsigned char>(digit)))
            return false;
    }
    return true;
}

bool TextLexer::skipDigits()
{
    int position = m_position; // not the member: each byte read could be a part of it, for all the compiler knows
    while (position < m_length && isDigit(m_text[position]))
        position++;
    return position > std::exchange(m_position, position);
}

bool TextLexer::parseNumber(bool& isFloating)
{
    int const start = m_position;
    isFloating = false;
    parseConstChar('-');
    if (!parseConstChar('0') && !skipDigits())
        return fail(start, "Expecting integer digit");
    if (parseConstChar('.'))
    {
        isFloating = true;
        skipDigits();
    }
    if (parseConstChar('e') || parseConstChar('E'))
    {
        isFloating = true;
        if (!parseConstChar('+'))
            parseConstChar('-');
        if (!skipDigits())
            return fail(start, "Expecting exponent digit");
    }
    storeParsedString(start, m_position);
    return true;
}

String TextLexer::textOfToken() const
{
    String text(m_text, m_tokenEnd, m_tokenStart, m_tokenEnd - m_tokenStart);
    if (!m_hasEscapes || text.isEmpty()) // also empty if memory is out
        return text;
    char* out = text.data();
    for (int i = m_tokenStart; i < m_tokenEnd; ++i)
    {
        if (m_text[i] != '\\')
        {
            *out++ = m_text[i];
            continue;
        }
        char const letter = m_text[++i];
        if (letter == 'u')
            i += UNICODE_DIGITS;
        else
            *out++ = controlOf(letter) != '\0' ? controlOf(letter) : letter;
    }
    text.deleteRegion(static_cast<int>(out - text.data()));
    return text;
}
