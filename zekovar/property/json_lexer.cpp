#include "zekovar/property/json_lexer.h"

#include <utility>

namespace ZK::Property
{
JSON::Lexer::Token JSON::Lexer::peek()
{
    if (m_pushedBack == Token::FAILED)
        m_pushedBack = parseJsonToken();
    return m_pushedBack;
}

JSON::Lexer::Token JSON::Lexer::pop()
{
    if (m_pushedBack != Token::FAILED)
        return std::exchange(m_pushedBack, Token::FAILED);
    return parseJsonToken();
}

JSON::Lexer::Token JSON::Lexer::parseJsonToken()
{
    skipWhitespaces();
    storeParsedString(m_position, m_position);
    if (!m_errorText.isEmpty())
        m_errorText = String();
    if (isAtEnd())
        return Token::END;
    switch (char const first = current(); first)
    {
    case '{':
        return takeChar(Token::OBJECT_BEGIN);
    case '}':
        return takeChar(Token::OBJECT_END);
    case '[':
        return takeChar(Token::ARRAY_BEGIN);
    case ']':
        return takeChar(Token::ARRAY_END);
    case ':':
        return takeChar(Token::COLON);
    case ',':
        return takeChar(Token::COMMA);
    case '"':
        return parseJsonString();
    case 'n':
        return parseWord("null", Token::NULL_WORD, "Expecting 'null'");
    case 'f':
        return parseWord("false", Token::FALSE_WORD, "Expecting 'false'");
    case 't':
        return parseWord("true", Token::TRUE_WORD, "Expecting 'true'");
    default:
        if (first == '-' || isDigit(first))
            return parseJsonNumber();
        fail(m_position, String(String::Formatted(), "Invalid token '%c'", first));
        return Token::FAILED;
    }
}

JSON::Lexer::Token JSON::Lexer::parseJsonString()
{
    static constexpr Quotation QUOTATION = {'"',
                                            true,
                                            "\"\\/",
                                            "Expecting start of string: '\"'",
                                            "Expecting end of string: '\"'",
                                            "Expecting character after string escape",
                                            "Invalid escaped string character '%c'"};
    return parseQuoted(QUOTATION) ? Token::STRING : Token::FAILED;
}

JSON::Lexer::Token JSON::Lexer::parseJsonNumber()
{
    bool isFloating;
    if (!parseNumber(isFloating))
        return Token::FAILED;
    return isFloating ? Token::FLOATING : Token::INTEGER;
}

inline JSON::Lexer::Token JSON::Lexer::takeChar(Token token)
{
    storeParsedString(m_position, m_position + 1);
    m_position++;
    return token;
}

JSON::Lexer::Token JSON::Lexer::parseWord(char const* word, Token token, char const* reason)
{
    int const start = m_position;
    if (!parseConstString(word))
    {
        fail(start, reason);
        return Token::FAILED;
    }
    storeParsedString(start, m_position);
    return token;
}
}
