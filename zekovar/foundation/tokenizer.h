#pragma once

#include "zekovar/foundation/string.h"

#include <vector>

/// Splits a text into tokens at delimiters, and keeps quoted ones together.
///
/// Delimiters and quotes are sets of characters. Quotes count only at the start of a token, and only if both sets have
/// characters; any of the closing ones ends what any of the opening ones began, and without one the token goes to the
/// end of the text. A plain value without a lock.
///
///     StringTokenizer words("say \"hello world\" twice", " ", false, false, "\"", "\"");
///     for (String word; words.nextToken(word);)
///         use(word); // say, hello world, twice
class StringTokenizer
{
public:
    /// Delimiters are blank, tab, newline and carriage return; no quotes, no tokens yet.
    StringTokenizer();
    explicit StringTokenizer(String const& text);
    StringTokenizer(String const& text, String const& delimiters);

    /// With `returnDelims` delimiters become tokens, too (the first one for a run of them), and quotes stay on their
    /// tokens. With `returnEmpty` each delimiter counts for itself, and the empty texts beside them are tokens.
    StringTokenizer(String const& text, String const& delimiters, bool returnDelims, bool returnEmpty,
                    String const& open, String const& close);

    StringTokenizer(StringTokenizer const&) = default;
    StringTokenizer& operator=(StringTokenizer const&) = default;
    virtual ~StringTokenizer() = default;

    /// Splits `text` in place of what was there. It may be one of the own tokens.
    void setString(String const& text);

    /// As above, with these delimiters from now on.
    void setString(String const& text, String const& delimiters);

    /// Takes the tokens as they are.
    void setTokens(std::vector<String> const& tokens);
    void setTokens(ZKVector<String> const& tokens);

    /// Number of all tokens, whether or not `nextToken` has given them.
    unsigned int countTokens() const { return static_cast<unsigned int>(m_tokens.size()); }

    bool hasMoreTokens() const { return m_next < m_tokens.size(); }

    /// Gives the next token and moves on; false at the end, with `token` unchanged.
    bool nextToken(String& token);

    std::vector<String> const& getTokens() const { return m_tokens; }

    /// Sets `tokens` to all tokens.
    void getTokens(ZKVector<String>& tokens) const;

    /// Sets `target` to the tokens with the first delimiter between them. With quotes in use, a token that holds a
    /// delimiter is put into the first opening and the first closing one. With `returnDelims` the tokens are joined as
    /// they are.
    void buildString(String& target) const;

private:
    class Scanner;

    bool usesQuotes() const { return !m_open.isEmpty() && !m_close.isEmpty(); }

    String tokenToString(String const& token) const;

    String m_delimiters;
    String m_open;
    String m_close;
    bool m_returnDelims;
    bool m_returnEmpty;
    std::vector<String> m_tokens;
    unsigned int m_next;
};
