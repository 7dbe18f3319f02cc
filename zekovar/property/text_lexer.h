#pragma once

#include "zekovar/foundation/string.h"

#include <cstring>

namespace ZK::Property
{
/// What the lexers of JSON and of template tags have in common: a position in a text, and readers of quoted text and of
/// numbers.
///
/// A reader that fails doesn't move, and leaves its reason in the error text. The text isn't copied and may hold zero
/// bytes. No lock; nothing recurses.
class TextLexer
{
public:
    /// The last token: decoded if it was quoted, else as it was spelled.
    String const& getTokenText() const { return m_tokenText; }

    /// Why the last reader failed; of no meaning after a success.
    String const& getErrorText() const { return m_errorText; }

    /// Offset of the next byte to read.
    int getPosition() const { return m_position; }

    /// Moves past what `isspace` accepts.
    void skipWhitespaces();

    bool parseConstChar(char character);

    /// By prefix only: what follows the text doesn't matter.
    bool parseConstString(char const* text);

    /// Any byte, also a zero; false only at the end.
    bool parseAnyChar(char& character);

    bool parseAnyDigit();

    /// Makes the bytes from `start` to before `end` the token text.
    void storeParsedString(int start, int end);

    /// The token text as a decimal number; the nearest number in range if it has none.
    bool parseStringToInt(long long& value);
    bool parseStringToFloat(double& value);

protected:
    /// One kind of quoted text. `badEscape` has a "%c" for the letter.
    struct Quotation
    {
        char mark;
        bool hasUnicode;    ///< "\u" with four hexadecimal digits, which are checked and dropped
        char const* quotes; ///< characters that stand for themselves behind a backslash
        char const* startMissing;
        char const* endMissing;
        char const* escapeMissing;
        char const* badEscape;
    };

    TextLexer(char const* text, int length) : m_text(text), m_length(length) {}

    ~TextLexer() = default;

    /// Reads a text with its quotation marks; the token text is what stands between them, with the escapes replaced.
    bool parseQuoted(Quotation const& quotation);

    /// "-", "0" or digits, "." with any number of digits, an exponent; the spelling becomes the token text.
    bool parseNumber(bool& isFloating);

    bool isAtEnd() const { return m_position >= m_length; }

    char current() const { return m_text[m_position]; }

    /// Goes back to `start` and keeps the reason; false, for the reader to return.
    bool fail(int start, char const* reason);

    char const* m_text;
    int m_length;
    int m_position = 0;
    String m_tokenText;
    String m_errorText;

private:
    bool parseEscape(Quotation const& quotation, int start);
    bool parseFourHexDigits();
    bool skipDigits();
};
}
