#include "zekovar/crypto/int_mp.h"

#include <algorithm>

namespace ZK::Detail
{
namespace
{
constexpr unsigned int WORD_BITS = 32;

constexpr uint32_t upperWord(uint64_t value)
{
    return static_cast<uint32_t>(value >> WORD_BITS);
}
}

void intMpSetZero(uint32_t* a, std::size_t n)
{
    std::fill_n(a, n, 0);
}

void intMpSetDigit(uint32_t* a, uint32_t digit, std::size_t n)
{
    intMpSetZero(a, n);
    if (n > 0)
        a[0] = digit;
}

void intMpSetEqual(uint32_t* out, uint32_t const* a, std::size_t n)
{
    std::copy_n(a, n, out);
}

std::size_t intMpSizeof(uint32_t const* a, std::size_t n)
{
    while (n > 0 && a[n - 1] == 0)
        --n;
    return n;
}

bool intMpIsZero(uint32_t const* a, std::size_t n)
{
    return intMpShortCmp(a, 0, n) == 0;
}

bool intMpEqual(uint32_t const* a, uint32_t const* b, std::size_t n)
{
    return intMpCompare(a, b, n) == 0;
}

int intMpCompare(uint32_t const* a, uint32_t const* b, std::size_t n)
{
    // the difference, as two words without a branch: whether something was borrowed, and whether anything is left
    uint32_t borrow = 0;
    uint32_t difference = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = uint64_t(a[i]) - b[i] - borrow;
        difference |= static_cast<uint32_t>(word);
        borrow = upperWord(word) & 1;
    }
    return static_cast<int>(difference != 0) - 2 * static_cast<int>(borrow);
}

int intMpShortCmp(uint32_t const* a, uint32_t b, std::size_t n)
{
    uint32_t above = 0;
    for (std::size_t i = 1; i < n; ++i)
        above |= a[i];
    uint32_t const lowest = n > 0 ? a[0] : 0;
    if (above != 0 || lowest > b)
        return 1;
    return lowest < b ? -1 : 0;
}

uint32_t intMpAdd(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n)
{
    uint64_t carry = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        carry += uint64_t(a[i]) + b[i];
        out[i] = static_cast<uint32_t>(carry);
        carry >>= WORD_BITS;
    }
    return static_cast<uint32_t>(carry);
}

uint32_t intMpSubtract(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n)
{
    uint32_t borrow = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = uint64_t(a[i]) - b[i] - borrow;
        out[i] = static_cast<uint32_t>(word);
        borrow = upperWord(word) & 1;
    }
    return borrow;
}

uint32_t intMpShortAdd(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n)
{
    uint32_t carry = b;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = uint64_t(a[i]) + carry;
        out[i] = static_cast<uint32_t>(word);
        carry = upperWord(word);
    }
    return carry;
}

uint32_t intMpShortSub(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n)
{
    uint32_t borrow = b;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = uint64_t(a[i]) - borrow;
        out[i] = static_cast<uint32_t>(word);
        borrow = upperWord(word) & 1;
    }
    return borrow;
}

uint32_t intMpShiftLeft(uint32_t* out, uint32_t const* a, unsigned int bits, std::size_t n)
{
    uint32_t carry = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = uint64_t(a[i]) << bits | carry;
        out[i] = static_cast<uint32_t>(word);
        carry = upperWord(word);
    }
    return carry;
}

uint32_t intMpShiftRight(uint32_t* out, uint32_t const* a, unsigned int bits, std::size_t n)
{
    // what is shifted out of a word stands at the top of `carry`
    uint32_t carry = 0;
    for (std::size_t i = n; i-- > 0;)
    {
        uint64_t const word = uint64_t(a[i]) << WORD_BITS >> bits;
        out[i] = upperWord(word) | carry;
        carry = static_cast<uint32_t>(word);
    }
    return bits > 0 ? carry >> (WORD_BITS - bits) : 0;
}

uint64_t intSpMultiply(uint32_t a, uint32_t b)
{
    return uint64_t(a) * b;
}

uint32_t intMpShortMult(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n)
{
    uint32_t carry = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const word = intSpMultiply(a[i], b) + carry;
        out[i] = static_cast<uint32_t>(word);
        carry = upperWord(word);
    }
    return carry;
}

uint32_t intMpMultSub(uint32_t* out, uint32_t const* a, uint32_t b, std::size_t n)
{
    uint32_t borrow = 0;
    for (std::size_t i = 0; i < n; ++i)
    {
        uint64_t const product = intSpMultiply(a[i], b) + borrow;
        auto const lower = static_cast<uint32_t>(product);
        borrow = upperWord(product) + (out[i] < lower);
        out[i] -= lower;
    }
    return borrow;
}

void intMpMultiply(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n)
{
    intMpSetZero(out, 2 * n);
    for (std::size_t row = 0; row < n; ++row)
    {
        uint32_t const digit = a[row];
        if (digit == 0)
            continue;
        uint32_t carry = 0;
        for (std::size_t i = 0; i < n; ++i)
        {
            uint64_t const word = intSpMultiply(b[i], digit) + out[row + i] + carry;
            out[row + i] = static_cast<uint32_t>(word);
            carry = upperWord(word);
        }
        out[row + n] = carry;
    }
}
}
