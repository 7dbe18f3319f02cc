#pragma once

#include "zekovar/property/text_lexer.h"

namespace ZK::Property::Template
{
/// Splits what stands inside a tag into words: literals as in JSON, and names, which an apostrophe quotes.
///
/// A word that begins with `null`, `true` or `false` is read as that literal and what follows as another word.
///
///     ExpressionLexer lexer("item 'two words' 5", 18);
///     while (lexer.pop() > ExpressionLexer::END)
///         print(lexer.getTokenText()); // item, two words, 5
class ExpressionLexer : public TextLexer
{
public:
    enum Token : int
    {
        ERROR = 0, ///< the reason stands in the error text
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

    /// Puts one token back, to be the next one.
    void push(Token token) { m_pushedBack = token; }

private:
    Token parseToken();
    bool parseString();
    bool parseQuotedIdentifier();
    bool parseIdentifier();

    Token m_pushedBack = ERROR; // ERROR if there is none
};
}
