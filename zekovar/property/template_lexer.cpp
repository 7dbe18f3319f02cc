#include "zekovar/property/template_lexer.h"

using ZK::Property::Template::ExpressionLexer;

namespace
{

bool isNameStart(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') || character == '_';
}

bool isNamePart(char character)
{
    return isNameStart(character) || (character >= '0' && character <= '9') || character == '-' || character == '.' ||
           character == '/';
}
}

ExpressionLexer::Token ExpressionLexer::peek()
{
    if (m_pushedBack == Token::FAILED)
        m_pushedBack = parseToken();
    return m_pushedBack;
}

ExpressionLexer::Token ExpressionLexer::pop()
{
    Token const token = peek();
    m_pushedBack = Token::FAILED;
    return token;
}

ExpressionLexer::Token ExpressionLexer::parseToken()
{
    skipWhitespaces();
    if (isAtEnd())
        return Token::END;
    char const first = current();
    if (first == '"')
        return parseString() ? Token::STRING : Token::FAILED;
    if (first == '\'')
        return parseQuotedIdentifier() ? Token::IDENTIFIER : Token::FAILED;
    if (first == '-' || isDigit(first))
    {
        bool isFloating;
        if (!parseNumber(isFloating))
            return Token::FAILED;
        return isFloating ? Token::FLOATING : Token::INTEGER;
    }
    if (parseWord("null"))
        return Token::NULL_WORD;
    if (parseWord("true"))
        return Token::TRUE_WORD;
    if (parseWord("false"))
        return Token::FALSE_WORD;
    return parseIdentifier() ? Token::IDENTIFIER : Token::FAILED;
}

bool ExpressionLexer::parseWord(char const* word)
{
    int const start = m_position;
    if (!parseConstString(word))
        return false;
    storeParsedString(start, m_position);
    return true;
}

bool ExpressionLexer::parseString()
{
    static constexpr Quotation STRING_QUOTATION = {'"',
                                                   true,
                                                   "\"\\/'",
                                                   "Expecting start of string: '\"'",
                                                   "Expecting end of string: '\"'",
                                                   "Expecting character after string escape",
                                                   "Invalid escaped string character '%c'"};
    return parseQuoted(STRING_QUOTATION);
}

bool ExpressionLexer::parseQuotedIdentifier()
{
    static constexpr Quotation NAME_QUOTATION = {'\'',
                                                 false,
                                                 "\"\\/'",
                                                 "Expecting start of quoted identifier: \"'\"",
                                                 "Expecting end of identifier: \"'\"",
                                                 "Expecting character after identifier escape",
                                                 "Invalid escaped identifier character '%c'"};
    return parseQuoted(NAME_QUOTATION);
}

bool ExpressionLexer::parseIdentifier()
{
    int const start = m_position;
    if (isAtEnd() || !isNameStart(current()))
        return fail(start, "Invalid identifier");
    while (!isAtEnd() && isNamePart(current()))
        m_position++;
    storeParsedString(start, m_position);
    return true;
}
