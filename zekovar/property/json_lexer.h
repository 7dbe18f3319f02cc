#pragma once

#include "zekovar/property/json.h"
#include "zekovar/property/text_lexer.h"

namespace ZK::Property
{
/// Cuts JSON text into tokens. Behind a failure the position is that of the failed token, so it fails again.
///
/// The token text is empty at the end of the text and behind a failure, the error text behind a token.
///
///     JSON::Lexer lexer(text.c_str(), text.length());
///     for (; lexer.peek() == JSON::Lexer::Token::STRING; lexer.pop())
///         use(lexer.getTokenText());
class JSON::Lexer : public TextLexer
{
public:
    enum class Token : int
    {
        FAILED = 0, ///< no token; the error text has the reason
        END = 1,
        OBJECT_BEGIN = 2,
        OBJECT_END = 3,
        ARRAY_BEGIN = 4,
        ARRAY_END = 5,
        COLON = 6,
        COMMA = 7,
        NULL_WORD = 8, ///< as the two below by prefix: the "x" of "nullx" is the next token
        FALSE_WORD = 9,
        TRUE_WORD = 10,
        STRING = 11,
        INTEGER = 12,
        FLOATING = 13
    };

    Lexer(char const* text, int length) : TextLexer(text, length) {}

    /// The next token, which stays.
    Token peek();

    /// The next token, which is consumed.
    Token pop();

    /// Puts one token back, to be the next one; the token text stays. `FAILED` takes it away again.
    void push(Token token) { m_pushedBack = token; }

    /// @name Readers
    /// The next token of any kind, a string, a number; they don't look for a token that was put back.
    /// @{
    Token parseJsonToken();
    Token parseJsonString();
    Token parseJsonNumber();
    /// @}

private:
    Token takeChar(Token token);
    Token parseWord(char const* word, Token token, char const* reason);

    Token m_pushedBack = Token::FAILED;
};
}
