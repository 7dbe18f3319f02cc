#include "zekovar/crypto/int_mp.h"

#include <algorithm>
#include <bit>

namespace ZK::Detail
{
namespace
{
constexpr unsigned int WORD_BITS = 32;
constexpr unsigned int HALF_BITS = 16;
constexpr uint32_t HALF_MASK = 0xFFFF;
constexpr uint32_t ALL_ONES = 0xFFFFFFFF;

/// The digit of the quotient that belongs to the top of the `size` + 1 words at `rest`, as far as its estimate tells: it
/// is right or 1 too large.
uint32_t estimateDigit(uint32_t const* rest, uint32_t const* divisor, std::size_t size)
{
    uint32_t const* const top = rest + size;
    uint32_t const* const leading = divisor + size - 2;
    uint32_t digit = top[0] == leading[1] ? ALL_ONES : intSpDivide(uint64_t(top[0]) << WORD_BITS | top[-1], leading[1]);
    for (int i = 0; i < 2 && intQhatTooBig(digit, leading, top - 2); ++i)
        --digit;
    return digit;
}

/// The digit of the quotient, times the divisor, is taken from the `size` + 1 words at `rest`.
uint32_t divideStep(uint32_t* rest, uint32_t const* divisor, std::size_t size)
{
    uint32_t digit = estimateDigit(rest, divisor, size);
    uint32_t const borrow = intMpMultSub(rest, divisor, digit, size);
    bool const tooMuch = rest[size] < borrow;
    rest[size] -= borrow;
    if (tooMuch)
    {
        --digit;
        rest[size] += intMpAdd(rest, rest, divisor, size);
    }
    return digit;
}

/// For a divisor of two words and more, whose top one isn't 0, and a dividend that isn't shorter.
void divideLong(uint32_t* quotient, uint32_t* rest, uint32_t const* dividend, std::size_t dividendLength,
                uint32_t* divisor, std::size_t divisorLength)
{
    auto const shift = static_cast<unsigned int>(std::countl_zero(divisor[divisorLength - 1]));
    intMpShiftLeft(divisor, divisor, shift, divisorLength);
    rest[dividendLength] = intMpShiftLeft(rest, dividend, shift, dividendLength);
    for (std::size_t i = dividendLength - divisorLength + 1; i-- > 0;)
    {
        uint32_t const digit = divideStep(rest + i, divisor, divisorLength);
        if (quotient != nullptr)
            quotient[i] = digit;
    }
    intMpShiftRight(rest, rest, shift, divisorLength);
    intMpShiftRight(divisor, divisor, shift, divisorLength);
}
}

bool intSpMultSub(uint64_t& value, uint32_t a, uint32_t b)
{
    uint64_t const product = intSpMultiply(a, b);
    bool const less = value < product;
    value -= product;
    return less;
}

uint32_t intSpDivide(uint64_t dividend, uint32_t divisor)
{
    // Two steps of 16 bits: processors of 32 bits have no instruction for the whole.
    auto rest = static_cast<uint32_t>(dividend >> WORD_BITS);
    uint32_t quotient = 0;
    for (unsigned int shift : {HALF_BITS, 0u})
    {
        uint64_t window = uint64_t(rest) << HALF_BITS | (static_cast<uint32_t>(dividend) >> shift & HALF_MASK);
        uint32_t digit = std::min(rest / (divisor >> HALF_BITS), HALF_MASK);
        if (intSpMultSub(window, digit, divisor))
        {
            // at most 2 too large; the sum wraps where what was taken too much is back
            do
            {
                --digit;
                window += divisor;
            } while (window >= divisor);
        }
        rest = static_cast<uint32_t>(window);
        quotient = quotient << HALF_BITS | digit;
    }
    return quotient;
}

bool intQhatTooBig(uint32_t quotient, uint32_t const* divisor, uint32_t const* dividend)
{
    uint64_t const lower = intSpMultiply(quotient, divisor[0]);
    uint64_t const upper = intSpMultiply(quotient, divisor[1]) + (lower >> WORD_BITS);
    uint64_t const rest = uint64_t(dividend[2]) << WORD_BITS | dividend[1];
    return upper > rest || (upper == rest && static_cast<uint32_t>(lower) > dividend[0]);
}

uint32_t intMpShortDiv(uint32_t* quotient, uint32_t const* dividend, uint32_t divisor, std::size_t n)
{
    uint32_t rest = 0;
    for (std::size_t i = n; i-- > 0;)
    {
        uint64_t const window = uint64_t(rest) << WORD_BITS | dividend[i];
        if (quotient != nullptr)
            quotient[i] = static_cast<uint32_t>(window / divisor);
        rest = static_cast<uint32_t>(window % divisor);
    }
    return rest;
}

uint32_t intMpShortMod(uint32_t const* dividend, uint32_t divisor, std::size_t n)
{
    return intMpShortDiv(nullptr, dividend, divisor, n);
}

uint16_t intMpHalfDiv(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n)
{
    return intMpHalfDivK(quotient, dividend, divisor, n);
}

uint16_t intMpHalfDivK(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n)
{
    uint32_t rest = 0;
    for (std::size_t i = n; i-- > 0;)
    {
        uint32_t const upper = rest << HALF_BITS | dividend[i] >> HALF_BITS;
        uint32_t const lower = upper % divisor << HALF_BITS | (dividend[i] & HALF_MASK);
        if (quotient != nullptr)
            quotient[i] = upper / divisor << HALF_BITS | lower / divisor;
        rest = lower % divisor;
    }
    return static_cast<uint16_t>(rest);
}

uint16_t intMpHalfDivZ(uint32_t* quotient, uint32_t const* dividend, uint16_t divisor, std::size_t n)
{
    uint32_t rest = 0;
    for (std::size_t i = n; i-- > 0;)
    {
        uint32_t const word = dividend[i];
        uint32_t digit = 0;
        for (unsigned int bit = WORD_BITS; bit-- > 0;)
        {
            rest = rest << 1 | (word >> bit & 1);
            bool const fits = rest >= divisor;
            rest -= fits ? divisor : 0;
            digit = digit << 1 | static_cast<uint32_t>(fits);
        }
        if (quotient != nullptr)
            quotient[i] = digit;
    }
    return static_cast<uint16_t>(rest);
}

uint16_t intMpHalfMod(uint32_t const* dividend, uint16_t divisor, std::size_t n)
{
    return intMpHalfDiv(nullptr, dividend, divisor, n);
}

int intMpDivide(uint32_t* quotient, uint32_t* remainder, uint32_t const* dividend, std::size_t dividendLength,
                uint32_t* divisor, std::size_t divisorLength)
{
    std::size_t const divisorSize = intMpSizeof(divisor, divisorLength);
    if (divisorSize == 0)
        return -1;
    std::size_t const size = intMpSizeof(dividend, dividendLength);
    if (quotient != nullptr)
        intMpSetZero(quotient, dividendLength);
    intMpSetZero(remainder + size, dividendLength + 1 - size);

    int const order = size == divisorSize ? intMpCompare(dividend, divisor, size) : size < divisorSize ? -1 : 1;
    if (order < 0)
    {
        intMpSetEqual(remainder, dividend, size);
    }
    else if (order == 0)
    {
        intMpSetZero(remainder, size);
        if (quotient != nullptr)
            quotient[0] = 1;
    }
    else if (divisorSize == 1)
    {
        uint32_t const rest = intMpShortDiv(quotient, dividend, divisor[0], size);
        intMpSetDigit(remainder, rest, size);
    }
    else
    {
        divideLong(quotient, remainder, dividend, size, divisor, divisorSize);
    }
    return 0;
}

int intMpModulo(uint32_t* remainder, uint32_t const* dividend, std::size_t dividendLength, uint32_t* divisor,
                std::size_t divisorLength)
{
    return intMpDivide(nullptr, remainder, dividend, dividendLength, divisor, divisorLength);
}
}
