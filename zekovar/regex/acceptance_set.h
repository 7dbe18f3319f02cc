#pragma once

#include <cstdint>

/// A set of byte values, 32 bytes of bits. A plain value: copies are independent.
class RE_AcceptanceSet
{
public:
    using Byte = unsigned char;

    /// Holds no byte.
    constexpr RE_AcceptanceSet() = default;

    /// Where a byte's bit lies: bit `c & 31`, as a mask, of word `c >> 5`.
    static constexpr void CALC_CHAR_POS(Byte c, unsigned& word, uint32_t& mask)
    {
        word = c >> 5;
        mask = uint32_t{1} << (c & 31);
    }

    void denyAllChars();
    void allowAllChars();

    /// Takes out the members of `set`.
    void denyChars(RE_AcceptanceSet const& set);

    /// Adds the members of `set`.
    void allowChars(RE_AcceptanceSet const& set);

    /// Keeps only what `set` holds too.
    void intersectChars(RE_AcceptanceSet const& set);

    /// Adds the other case of each ASCII letter in the set.
    void allowOtherCases();

    /// Members become non-members and the reverse.
    void invertChars();

    void denyChar(Byte c);
    void allowChar(Byte c);

    /// Both ends belong to the range; one with `from` above `to` is empty.
    void denyCharRange(Byte from, Byte to);
    void allowCharRange(Byte from, Byte to);

    bool isCharAllowed(Byte c) const
    {
        unsigned word;
        uint32_t mask;
        CALC_CHAR_POS(c, word, mask);
        return (m_words[word] & mask) != 0;
    }

    /// Number of members, 0 to 256.
    unsigned getCharCount() const;

    /// The n-th member by ascending value, n from 0; 0 if there are fewer.
    Byte getAllowed(unsigned n) const;

    /// As `getAllowed`, of the bytes that aren't members.
    Byte getDenied(unsigned n) const;

private:
    uint32_t m_words[8] = {};
};
