#pragma once

#include "zekovar/property/text_lexer.h"

namespace ZK::Property::Template
{
/// Splits what stands inside a tag into words: literals as in JSON, and names, which an apostrophe quotes.
///
/// A word that begins with `null`, `true` or `false` is read as that literal and what follows as another word.
///
///     ExpressionLexer lexer("item 'two words' 5", 18);
///     for (; lexer.peek() == ExpressionLexer::Token::IDENTIFIER; lexer.pop())
///         print(lexer.getTokenText()); // item, two words
class ExpressionLexer : public TextLexer
{
public:
    enum class Token : int
    {
        FAILED = 0, ///< no token; the error text has the reason
        END = 1,
        NULL_WORD = 2,
        FALSE_WORD = 3,
        TRUE_WORD = 4,
        STRING = 5,
        INTEGER = 6,
        FLOATING = 7,
        IDENTIFIER = 8
    };

    /// The text isn't copied and must outlive the lexer.
    ExpressionLexer(char const* text, int length) : TextLexer(text, length) {}

    /// The next token, which stays.
    Token peek();

    /// The next token, which is consumed.
    Token pop();

    /// Puts one token back, to be the next one; the token text stays.
    void push(Token token) { m_pushedBack = token; }

private:
    Token parseToken();
    bool parseWord(char const* word);
    bool parseString();
    bool parseQuotedIdentifier();
    bool parseIdentifier();

    Token m_pushedBack = Token::FAILED; // FAILED if there is none
};
}
