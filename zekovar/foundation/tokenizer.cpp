#include "zekovar/foundation/tokenizer.h"

#include "zekovar/foundation/vector.h"

#include <array>
#include <utility>

namespace
{
/// Tells in one step whether a character belongs to a set.
class CharacterSet
{
public:
    explicit CharacterSet(String const& characters)
    {
        for (int i = 0; i < characters.length(); ++i)
            m_members[static_cast<unsigned char>(characters.c_str()[i])] = true;
    }

    bool contains(char character) const { return m_members[static_cast<unsigned char>(character)]; }

private:
    std::array<bool, 256> m_members{};
};
}

/// Walks through one text.
class StringTokenizer::Scanner
{
public:
    Scanner(StringTokenizer const& tokenizer, String const& text)
        : m_tokenizer(tokenizer),
          m_delimiters(tokenizer.m_delimiters),
          m_open(tokenizer.m_open),
          m_close(tokenizer.m_close),
          m_position(text.c_str()),
          m_end(m_position + text.length())
    {
    }

    std::vector<String> scan()
    {
        for (;;)
        {
            scanToken();
            if (m_position == m_end)
                return std::move(m_tokens);
            scanDelim();
        }
    }

private:
    void add(char const* start, char const* end)
    {
        if (start != end || m_tokenizer.m_returnEmpty)
            m_tokens.emplace_back().concat(start, static_cast<int>(end - start));
    }

    char const* find(char const* position, CharacterSet const& set) const
    {
        while (position != m_end && !set.contains(*position))
            ++position;
        return position;
    }

    void scanToken()
    {
        char const* const start = m_position;
        if (start == m_end || !m_tokenizer.usesQuotes() || !m_open.contains(*start))
        {
            m_position = find(start, m_delimiters);
            add(start, m_position);
            return;
        }
        char const* const closing = find(start + 1, m_close);
        m_position = closing != m_end ? closing + 1 : m_end;
        if (m_tokenizer.m_returnDelims)
            add(start, m_position);
        else
            add(start + 1, closing);
    }

    /// Finds none where a token follows its neighbour's closing quote.
    void scanDelim()
    {
        if (!m_delimiters.contains(*m_position))
            return;
        if (m_tokenizer.m_returnDelims)
            add(m_position, m_position + 1);
        ++m_position;
        while (!m_tokenizer.m_returnEmpty && m_position != m_end && m_delimiters.contains(*m_position))
            ++m_position;
    }

    StringTokenizer const& m_tokenizer;
    CharacterSet const m_delimiters;
    CharacterSet const m_open;
    CharacterSet const m_close;
    char const* m_position;
    char const* m_end;
    std::vector<String> m_tokens;
};

StringTokenizer::StringTokenizer() : m_delimiters(" \t\n\r"), m_returnDelims(false), m_returnEmpty(false), m_next(0)
{
}

StringTokenizer::StringTokenizer(String const& text) : StringTokenizer()
{
    setString(text);
}

StringTokenizer::StringTokenizer(String const& text, String const& delimiters)
    : StringTokenizer(text, delimiters, false, false, String(), String())
{
}

StringTokenizer::StringTokenizer(String const& text, String const& delimiters, bool returnDelims, bool returnEmpty,
                                 String const& open, String const& close)
    : m_delimiters(delimiters),
      m_open(open),
      m_close(close),
      m_returnDelims(returnDelims),
      m_returnEmpty(returnEmpty),
      m_next(0)
{
    setString(text);
}

void StringTokenizer::setString(String const& text)
{
    m_tokens = Scanner(*this, text).scan();
    m_next = 0;
}

void StringTokenizer::setString(String const& text, String const& delimiters)
{
    m_delimiters = delimiters;
    setString(text);
}

void StringTokenizer::setTokens(std::vector<String> const& tokens)
{
    m_tokens = tokens;
    m_next = 0;
}

void StringTokenizer::setTokens(ZKVector<String> const& tokens)
{
    m_tokens.assign(tokens.begin(), tokens.end());
    m_next = 0;
}

bool StringTokenizer::nextToken(String& token)
{
    if (!hasMoreTokens())
        return false;
    token = m_tokens[m_next++];
    return true;
}

void StringTokenizer::getTokens(ZKVector<String>& tokens) const
{
    tokens.clear();
    for (String const& token : m_tokens)
        tokens.add(token);
}

void StringTokenizer::buildString(String& target) const
{
    String built;
    for (String const& token : m_tokens)
    {
        if (m_returnDelims)
        {
            built += token;
            continue;
        }
        if (&token != m_tokens.data())
            built += m_delimiters[0];
        built += tokenToString(token);
    }
    target = std::move(built);
}

String StringTokenizer::tokenToString(String const& token) const
{
    for (int i = 0; usesQuotes() && i < token.length(); ++i)
    {
        if (m_delimiters.indexOf(token.c_str()[i]) >= 0)
            return String(m_open[0]).concat(token).concat(String(m_close[0]));
    }
    return token;
}
