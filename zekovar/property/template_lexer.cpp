#include "zekovar/property/template_lexer.h"

#include <cctype>

using ZK::Property::Template::ExpressionLexer;

namespace
{

bool isNameStart(char character)
{
    return isalpha(static_cast<unsigned char>(character)) || character == '_';
}

bool isNamePart(char character)
{
    return isalnum(static_cast<unsigned char>(character)) || character == '_' || character == '-' || character == '.' ||
           character == '/';
}
}

ExpressionLexer::Token ExpressionLexer::peek()
{
    if (m_pushedBack == ERROR)
        m_pushedBack = parseToken();
    return m_pushedBack;
}

ExpressionLexer::Token ExpressionLexer::pop()
{
    Token const token = peek();
    m_pushedBack = ERROR;
    return token;
}

ExpressionLexer::Token ExpressionLexer::parseToken()
{
    skipWhitespaces();
    if (isAtEnd())
        return END;
    char const first = current();
    if (first == '"')
        return parseString() ? STRING : ERROR;
    if (first == '\'')
        return parseQuotedIdentifier() ? IDENTIFIER : ERROR;
    if (first == '-' || isdigit(static_cast<unsigned char>(first)))
    {
        bool isFloating;
        if (!parseNumber(isFloating))
            return ERROR;
        return isFloating ? FLOATING : INTEGER;
    }
    if (parseConstString("null"))
        return NULL_WORD;
    if (parseConstString("true"))
        return TRUE_WORD;
    if (parseConstString("false"))
        return FALSE_WORD;
    return parseIdentifier() ? IDENTIFIER : ERROR;
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
