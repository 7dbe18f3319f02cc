#include "zekovar/property/text_lexer.h"

#include <cctype>
#include <cstdlib>

using ZK::Property::TextLexer;

namespace
{

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

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
}

bool TextLexer::fail(int start, char const* reason)
{
    m_position = start;
    m_errorText = reason;
    return false;
}

void TextLexer::skipWhitespaces()
{
    while (!isAtEnd() && isspace(static_cast<unsigned char>(current())))
        m_position++;
}

bool TextLexer::parseConstChar(char character)
{
    if (isAtEnd() || current() != character)
        return false;
    m_position++;
    return true;
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

bool TextLexer::parseAnyDigit()
{
    if (isAtEnd() || !isDigit(current()))
        return false;
    m_position++;
    return true;
}

void TextLexer::storeParsedString(int start, int end)
{
    m_tokenText = "";
    m_tokenText.concat(m_text + start, end - start);
}

bool TextLexer::parseStringToInt(long long& value)
{
    char* end;
    value = std::strtoll(m_tokenText.c_str(), &end, 10);
    return (!m_tokenText.isEmpty() && *end == '\0') || fail(m_position, "Invalid 64-bit integer");
}

bool TextLexer::parseStringToFloat(double& value)
{
    char* end;
    value = std::strtod(m_tokenText.c_str(), &end);
    return (!m_tokenText.isEmpty() && *end == '\0') || fail(m_position, "Invalid floating-point number");
}

bool TextLexer::parseQuoted(Quotation const& quotation)
{
    int const start = m_position;
    if (!parseConstChar(quotation.mark))
        return fail(start, quotation.startMissing);
    m_tokenText = "";
    while (!isAtEnd())
    {
        int const run = m_position;
        while (!isAtEnd() && current() != quotation.mark && current() != '\\')
            m_position++;
        m_tokenText.concat(m_text + run, m_position - run);
        if (parseConstChar(quotation.mark))
            return true;
        if (parseConstChar('\\') && !parseEscape(quotation, start))
            return false;
    }
    return fail(start, quotation.endMissing);
}

bool TextLexer::parseEscape(Quotation const& quotation, int start)
{
    char letter;
    if (!parseAnyChar(letter))
        return fail(start, quotation.escapeMissing);
    if (letter == 'u' && quotation.hasUnicode)
        return parseFourHexDigits() || fail(start, "Expecting 4 hexadecimal digits after \\u in string");
    if (char const control = controlOf(letter))
        m_tokenText += control;
    else if (letter != '\0' && std::strchr(quotation.quotes, letter) != nullptr)
        m_tokenText += letter;
    else
    {
        m_position = start;
        m_errorText.format(quotation.badEscape, letter);
        return false;
    }
    return true;
}

bool TextLexer::parseFourHexDigits()
{
    for (int i = 0; i < 4; i++)
    {
        char digit;
        if (!parseAnyChar(digit) || !isxdigit(static_cast<unsigned char>(digit)))
            return false;
    }
    return true;
}

bool TextLexer::skipDigits()
{
    int const first = m_position;
    while (parseAnyDigit())
    {
    }
    return m_position > first;
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
