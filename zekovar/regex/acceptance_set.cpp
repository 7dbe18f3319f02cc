#include "zekovar/regex/acceptance_set.h"

#include <bit>
#include <cstring>

void RE_AcceptanceSet::denyAllChars()
{
    std::memset(m_words, 0, sizeof m_words);
}

void RE_AcceptanceSet::allowAllChars()
{
    std::memset(m_words, 0xFF, sizeof m_words);
}

void RE_AcceptanceSet::denyChars(RE_AcceptanceSet const& set)
{
    for (unsigned i = 0; i < 8; i++)
        m_words[i] &= ~set.m_words[i];
}

void RE_AcceptanceSet::allowChars(RE_AcceptanceSet const& set)
{
    for (unsigned i = 0; i < 8; i++)
        m_words[i] |= set.m_words[i];
}

void RE_AcceptanceSet::intersectChars(RE_AcceptanceSet const& set)
{
    for (unsigned i = 0; i < 8; i++)
        m_words[i] &= set.m_words[i];
}

void RE_AcceptanceSet::invertChars()
{
    for (uint32_t& word : m_words)
        word = ~word;
}

void RE_AcceptanceSet::allowOtherCases()
{
    constexpr uint32_t LETTERS = 0x07FFFFFE; // capitals in word 2 and small letters in word 3 have the same bits
    uint32_t const either = (m_words[2] | m_words[3]) & LETTERS;
    m_words[2] |= either;
    m_words[3] |= either;
}

void RE_AcceptanceSet::denyChar(Byte c)
{
    denyCharRange(c, c);
}

void RE_AcceptanceSet::allowChar(Byte c)
{
    unsigned word;
    uint32_t mask;
    CALC_CHAR_POS(c, word, mask);
    m_words[word] |= mask;
}

void RE_AcceptanceSet::denyCharRange(Byte from, Byte to)
{
    RE_AcceptanceSet range;
    range.allowCharRange(from, to);
    denyChars(range);
}

void RE_AcceptanceSet::allowCharRange(Byte from, Byte to)
{
    if (from > to)
        return;
    unsigned const firstWord = from >> 5;
    unsigned const lastWord = to >> 5;
    for (unsigned i = firstWord; i <= lastWord; i++)
    {
        uint32_t const above = i == firstWord ? ~uint32_t{0} << (from & 31) : ~uint32_t{0};
        uint32_t const below = i == lastWord ? ~uint32_t{0} >> (31 - (to & 31)) : ~uint32_t{0};
        m_words[i] |= above & below;
    }
}

unsigned RE_AcceptanceSet::getCharCount() const
{
    unsigned count = 0;
    for (uint32_t word : m_words)
        count += static_cast<unsigned>(std::popcount(word));
    return count;
}

RE_AcceptanceSet::Byte RE_AcceptanceSet::getAllowed(unsigned n) const
{
    for (unsigned i = 0; i < 8; i++)
    {
        uint32_t word = m_words[i];
        for (; word != 0; word &= word - 1)
        {
            if (n-- == 0)
                return static_cast<Byte>(i * 32 + static_cast<unsigned>(std::countr_zero(word)));
        }
    }
    return 0;
}

RE_AcceptanceSet::Byte RE_AcceptanceSet::getDenied(unsigned n) const
{
    RE_AcceptanceSet others(*this);
    others.invertChars();
    return others.getAllowed(n);
}
