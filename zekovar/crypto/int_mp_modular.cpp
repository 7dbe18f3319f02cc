#include "zekovar/crypto/int_mp.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ZK::Detail
{
namespace
{
constexpr unsigned int WORD_BITS = 32;

/// Draws of a base that may be refused in a row. A sane function is refused that often for small numbers only.
constexpr int MAX_DRAWS = 1000;

constexpr uint16_t TRIAL_PRIMES[] = {3,  5,  7,  11, 13, 17, 19, 23, 29, 31, 37,  41,  43, 47,
                                     53, 59, 61, 67, 71, 73, 79, 83, 89, 97, 101, 103, 107};

/// The next `count` words of the scratch.
uint32_t* take(uint32_t*& scratch, std::size_t count)
{
    return std::exchange(scratch, scratch + count);
}

bool bitAt(uint32_t const* a, std::size_t index)
{
    return (a[index / WORD_BITS] >> index % WORD_BITS & 1) != 0;
}

/// The number of bits up to the top one that is set.
std::size_t bitsOf(uint32_t const* a, std::size_t n)
{
    std::size_t bits = n * WORD_BITS;
    while (bits > 0 && !bitAt(a, bits - 1))
        --bits;
    return bits;
}

/// Takes the factors 2 out of `a`, which isn't 0, and returns their number.
std::size_t takeTwos(uint32_t* a, std::size_t n)
{
    std::size_t twos = 0;
    for (; (a[0] & 1) == 0; ++twos)
        intMpShiftRight(a, a, 1, n);
    return twos;
}

/// A base of a Miller-Rabin round for `value`, which is 3 or more.
uint32_t drawBase(uint32_t const* value, std::size_t n, unsigned int (*random)())
{
    uint32_t base = random();
    for (int draws = 1; base < 2 || intMpShortCmp(value, base, n) <= 0; ++draws)
    {
        if (draws == MAX_DRAWS)
        {
            bool const isShort = intMpSizeof(value, n) == 1;
            return isShort ? 2 + base % (value[0] - 2) : 2;
        }
        base = random();
    }
    return base;
}

/// Whether `value` passes a round of Miller-Rabin whose base to the power `odd` is `y`; `value` less 1 is `minusOne`,
/// which is `odd` times 2 to the power `twos`.
bool passesRound(uint32_t* value, uint32_t const* minusOne, uint32_t* y, std::size_t twos, std::size_t n,
                 uint32_t* scratch)
{
    std::size_t j = 0;
    while (!(j == 0 && intMpShortCmp(y, 1, n) == 0) && !intMpEqual(y, minusOne, n))
    {
        if (j != 0 && intMpShortCmp(y, 1, n) == 0)
            return false;
        if (++j >= twos)
            return false;
        intMpModMult(y, y, y, value, n, scratch);
    }
    return true;
}
}

void intMpGcd(uint32_t* out, uint32_t const* a, uint32_t const* b, std::size_t n, uint32_t* scratch)
{
    uint32_t* x = take(scratch, n + 1);
    uint32_t* y = take(scratch, n + 1);
    uint32_t* rest = take(scratch, n + 1);
    intMpSetEqual(x, a, n);
    intMpSetEqual(y, b, n);
    while (intMpModulo(rest, x, n, y, n) == 0)
    {
        std::swap(x, y);
        std::swap(y, rest);
    }
    intMpSetEqual(out, x, n);
}

int intMpModInv(uint32_t* out, uint32_t const* a, uint32_t* m, std::size_t n, uint32_t* scratch)
{
    if (intMpShortCmp(m, 1, n) <= 0)
        return -1;
    uint32_t* x = take(scratch, n + 1);
    uint32_t* y = take(scratch, n + 1);
    uint32_t* rest = take(scratch, n + 1);
    uint32_t* const quotient = take(scratch, n);
    uint32_t* const product = take(scratch, 2 * n);
    uint32_t* cofactor = take(scratch, n); // of x; its sign, and the opposite one of the next
    uint32_t* next = take(scratch, n);     // of y
    bool negative = true;
    intMpSetEqual(x, m, n);
    intMpModulo(rest, a, n, m, n);
    intMpSetEqual(y, rest, n);
    intMpSetZero(cofactor, n);
    intMpSetDigit(next, 1, n);
    while (intMpDivide(quotient, rest, x, n, y, n) == 0)
    {
        // as the signs alternate, the sizes add up; they don't get above m
        intMpMultiply(product, quotient, next, n);
        intMpAdd(cofactor, cofactor, product, n);
        std::swap(cofactor, next);
        negative = !negative;
        std::swap(x, y);
        std::swap(y, rest);
    }
    if (intMpShortCmp(x, 1, n) != 0)
        return -1;
    if (negative)
        intMpSubtract(out, m, cofactor, n);
    else
        intMpSetEqual(out, cofactor, n);
    return 0;
}

int intMpModMult(uint32_t* out, uint32_t const* a, uint32_t const* b, uint32_t* m, std::size_t n, uint32_t* scratch)
{
    uint32_t* const product = take(scratch, 2 * n);
    uint32_t* const rest = take(scratch, 2 * n + 1);
    if (intMpIsZero(m, n))
        return -1;
    intMpMultiply(product, a, b, n);
    intMpModulo(rest, product, 2 * n, m, n);
    intMpSetEqual(out, rest, n);
    return 0;
}

int intMpModExp(uint32_t* out, uint32_t const* base, uint32_t const* exponent, uint32_t* m, std::size_t n,
                uint32_t* scratch)
{
    if (n == 0 || intMpIsZero(m, n))
        return -1;
    uint32_t* const reduced = take(scratch, n + 1);
    intMpModulo(reduced, base, n, m, n);
    std::size_t bits = bitsOf(exponent, n);
    if (bits == 0)
    {
        intMpSetDigit(out, intMpShortCmp(m, 1, n) == 0 ? 0 : 1, n);
        return 0;
    }
    intMpSetEqual(out, reduced, n);
    for (--bits; bits-- > 0;)
    {
        intMpModMult(out, out, out, m, n, scratch);
        if (bitAt(exponent, bits))
            intMpModMult(out, reduced, out, m, n, scratch);
    }
    return 0;
}

bool intMpIsPrime(uint32_t* value, std::size_t n, unsigned int rounds, unsigned int (*random)(), uint32_t* scratch)
{
    // 1 has no divisor and isn't a prime either
    if (n == 0 || (value[0] & 1) == 0 || intMpShortCmp(value, 1, n) == 0)
        return false;
    auto const divides = [&](uint16_t prime) { return intMpHalfMod(value, prime, n) == 0; };
    if (std::any_of(std::begin(TRIAL_PRIMES), std::end(TRIAL_PRIMES), divides))
        return false;

    uint32_t* const minusOne = take(scratch, n);
    uint32_t* const odd = take(scratch, n);
    uint32_t* const base = take(scratch, n);
    uint32_t* const y = take(scratch, n);
    intMpShortSub(minusOne, value, 1, n);
    intMpSetEqual(odd, minusOne, n);
    std::size_t const twos = takeTwos(odd, n);
    for (unsigned int round = 0; round < rounds; ++round)
    {
        intMpSetDigit(base, drawBase(value, n, random), n);
        intMpModExp(y, base, odd, value, n, scratch);
        if (!passesRound(value, minusOne, y, twos, n, scratch))
            return false;
    }
    return true;
}
}
