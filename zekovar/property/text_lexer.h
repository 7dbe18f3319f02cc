#pragma once

#include "zekovar/foundation/string.h"

#include <string_view>

namespace ZK::Property
{
/// What the lexers of JSON and of template tags have in common: a position in a text, and readers of quoted text and of
/// numbers.
///
/// A reader that fails doesn't move, and leaves its reason in the error text. The text isn't copied, must outlive the
/// lexer and may hold zero bytes; what is read doesn't depend on the locale. No lock, not even for reading the token
/// text, which is made when it is asked for; nothing recurses.
class TextLexer
{
public:
    /// The last token: decoded if it was quoted, else as it was spelled. Good until the next one is read.
    String const& getTokenText() const;

    /// As above without making it, if it stands in the input as it is.
    std::string_view viewTokenText() const
    {
        if (!m_isTokenTextMade && !m_hasEscapes)
            return {m_text + m_tokenStart, static_cast<std::size_t>(m_tokenEnd - m_tokenStart)};
        String const& text = getTokenText();
        return {text.c_str(), static_cast<std::size_t>(text.length())};
    }

    /// The token text, for a caller that keeps it; it can be taken once.
    String takeTokenText();

    /// Why the last reader failed; of no meaning after a success.
    String const& getErrorText() const { return m_errorText; }

    /// Offset of the next byte to read.
    int getPosition() const { return m_position; }

    /// Moves past what `isspace` accepts in the "C" locale.
    void skipWhitespaces()
    {
        while (!isAtEnd() && (current() == ' ' || (current() >= '\t' && current() <= '\r')))
            m_position++;
    }

    bool parseConstChar(char character)
    {
        if (isAtEnd() || current() != character)
            return false;
        m_position++;
        return true;
    }

    /// By prefix only: what follows the text doesn't matter.
    bool parseConstString(char const* text);

    /// Any byte, also a zero; false only at the end.
    bool parseAnyChar(char& character);

    bool parseAnyDigit()
    {
        if (isAtEnd() || !isDigit(current()))
            return false;
        m_position++;
        return true;
    }

    /// Makes the bytes from `start` to before `end` the token text.
    void storeParsedString(int start, int end)
    {
        m_tokenStart = start;
        m_tokenEnd = end;
        m_hasEscapes = false;
        m_isTokenTextMade = false;
    }

    /// The token text as a decimal number; the nearest number in range if it has none.
    bool parseStringToInt(long long& value);

    /// As above; what is too small becomes the nearest number, and what is too large for `double` fails.
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

    static bool isDigit(char character) { return character >= '0' && character <= '9'; }

    /// Goes back to `start` and keeps the reason; false, for the reader to return.
    bool fail(int start, String const& reason);

    char const* m_text;
    int m_length;
    int m_position = 0;
    mutable String m_tokenText;
    String m_errorText;

private:
    bool parseEscape(Quotation const& quotation, int start);
    bool parseFourHexDigits();
    bool skipDigits();
    void skipPlainText(char mark);
    String textOfToken() const;

    // the token's place, from which the text is made
    mutable bool m_isTokenTextMade = true;
    bool m_hasEscapes = false;
    int m_tokenStart = 0;
    int m_tokenEnd = 0;
};
}
