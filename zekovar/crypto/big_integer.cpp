#include "zekovar/crypto/big_integer.h"

#include "zekovar/crypto/byte_order.h"
#include "zekovar/crypto/int_mp.h"
#include "zekovar/crypto/secure_memory.h"

#include <algorithm>
#include <cstdint>
#include <new>

using namespace ZK::Detail;

namespace
{
constexpr unsigned int WORD_BITS = 32;
constexpr unsigned int WORD_BYTES = 4;
constexpr uint32_t TOP_BIT = 0x80000000;

/// Words on the heap, null if memory is out, for what a function needs besides its operands. Wiped before they go.
class Scratch
{
public:
    /// What `numbers` numbers of `words` words need.
    Scratch(std::size_t numbers, std::size_t words)
        : m_count(numbers * words + INT_MP_SCRATCH_EXTRA),
          m_words(m_count <= MAX_COUNT ? new (std::nothrow) uint32_t[m_count] : nullptr)
    {
    }

    ~Scratch()
    {
        if (m_words != nullptr)
            wipeSecret(m_words, m_count * WORD_BYTES);
        delete[] m_words;
    }

    Scratch(Scratch const&) = delete;
    Scratch& operator=(Scratch const&) = delete;

    explicit operator bool() const { return m_words != nullptr; }

    /// The next `count` words.
    uint32_t* take(std::size_t count)
    {
        m_used += count;
        return m_words + m_used - count;
    }

    /// The next words, holding a copy of a number: one that a function shifts in place, or one that must stay.
    uint32_t* copy(uint32_t const* number, std::size_t words)
    {
        uint32_t* const target = take(words);
        intMpSetEqual(target, number, words);
        return target;
    }

    uint32_t* rest() { return m_words + m_used; }

private:
    /// Beyond this even a `new` that returns null throws. Widths near the limit get there on processors of 32 bits.
    static constexpr std::size_t MAX_COUNT = PTRDIFF_MAX / WORD_BYTES;

    std::size_t const m_count;
    uint32_t* const m_words;
    std::size_t m_used = 0;
};

/// Whether there are numbers, all of the width of the first, which has one.
template <class... Others>
bool fit(BigInteger const* first, Others const*... others)
{
    return first != nullptr && first->getBits() > 0 &&
           ((others != nullptr && others->getBits() == first->getBits()) && ...);
}
}

BigInteger::BigInteger(unsigned int bits) : m_digits(nullptr), m_words(bits / WORD_BITS)
{
    if (m_words > 0)
        m_digits = new (std::nothrow) unsigned int[m_words]();
    if (m_digits == nullptr)
        m_words = 0;
}

BigInteger::~BigInteger()
{
    wipeSecret(m_digits, std::size_t(m_words) * WORD_BYTES);
    delete[] m_digits;
}

bool BigInteger::operator=(BigInteger const& other)
{
    if (!fit(this, &other))
        return false;
    intMpSetEqual(m_digits, other.m_digits, m_words);
    return true;
}

bool BigInteger::operator=(unsigned int value)
{
    intMpSetDigit(m_digits, value, m_words);
    return m_words > 0;
}

bool BigInteger::operator+=(BigInteger const& other)
{
    if (!fit(this, &other))
        return false;
    intMpAdd(m_digits, m_digits, other.m_digits, m_words);
    return true;
}

bool BigInteger::operator-=(BigInteger const& other)
{
    if (!fit(this, &other))
        return false;
    intMpSubtract(m_digits, m_digits, other.m_digits, m_words);
    return true;
}

bool BigInteger::operator+=(unsigned int value)
{
    intMpShortAdd(m_digits, m_digits, value, m_words);
    return m_words > 0;
}

bool BigInteger::operator-=(unsigned int value)
{
    intMpShortSub(m_digits, m_digits, value, m_words);
    return m_words > 0;
}

bool BigInteger::operator==(unsigned int value) const
{
    return intMpShortCmp(m_digits, value, m_words) == 0;
}

int BigInteger::compare(BigInteger const& other) const
{
    unsigned int const common = std::min(m_words, other.m_words);
    if (!intMpIsZero(m_digits + common, m_words - common))
        return 1;
    if (!intMpIsZero(other.m_digits + common, other.m_words - common))
        return -1;
    return intMpCompare(m_digits, other.m_digits, common);
}

bool BigInteger::setValue(unsigned char const* bytes, unsigned int count)
{
    if ((bytes == nullptr && count > 0) || count > m_words * WORD_BYTES)
        return false;
    unsigned int const whole = count / WORD_BYTES;
    for (unsigned int i = 0; i < whole; ++i)
        m_digits[i] = loadBig32(bytes + count - (i + 1) * WORD_BYTES);
    intMpSetZero(m_digits + whole, m_words - whole);
    for (unsigned int i = 0; i < count % WORD_BYTES; ++i)
        m_digits[whole] = m_digits[whole] << 8 | bytes[i];
    return true;
}

bool BigInteger::getValue(unsigned char* bytes, unsigned int* count) const
{
    unsigned int const size = m_words * WORD_BYTES;
    if (bytes == nullptr || count == nullptr || *count < size)
        return false;
    for (unsigned int i = 0; i < m_words; ++i)
        storeBig32(bytes + size - (i + 1) * WORD_BYTES, m_digits[i]);
    *count = size;
    return true;
}

bool BigInteger::setToRandomValue(unsigned int (*random)())
{
    if (random == nullptr || m_words == 0)
        return false;
    std::generate_n(m_digits, m_words, random);
    return true;
}

bool BigInteger::setToRandomValue(unsigned int (*random)(), bool topBit)
{
    if (!setToRandomValue(random))
        return false;
    unsigned int& top = m_digits[m_words - 1];
    top = topBit ? top | TOP_BIT : top & ~TOP_BIT;
    return true;
}

bool BigInteger::gcd(BigInteger* out, BigInteger const* a, BigInteger const* b)
{
    if (!fit(out, a, b))
        return false;
    std::size_t const n = out->m_words;
    Scratch scratch(INT_MP_GCD_SCRATCH, n);
    if (!scratch)
        return false;
    intMpGcd(out->m_digits, a->m_digits, b->m_digits, n, scratch.rest());
    return true;
}

bool BigInteger::multiply(BigInteger* out, BigInteger const* a, BigInteger const* b)
{
    if (out == nullptr || !fit(a, b) || out->m_words / 2 != a->m_words || out->m_words % 2 != 0)
        return false;
    intMpMultiply(out->m_digits, a->m_digits, b->m_digits, a->m_words);
    return true;
}

bool BigInteger::invMod(BigInteger* out, BigInteger const* a, BigInteger const* m)
{
    if (!fit(out, a, m))
        return false;
    std::size_t const n = out->m_words;
    Scratch scratch(INT_MP_MOD_INV_SCRATCH + 1, n);
    if (!scratch)
        return false;
    uint32_t* const modulus = scratch.copy(m->m_digits, n);
    return intMpModInv(out->m_digits, a->m_digits, modulus, n, scratch.rest()) == 0;
}

bool BigInteger::mulMod(BigInteger* out, BigInteger const* a, BigInteger const* b, BigInteger const* m)
{
    if (!fit(out, a, b, m))
        return false;
    std::size_t const n = out->m_words;
    Scratch scratch(INT_MP_MOD_MULT_SCRATCH + 1, n);
    if (!scratch)
        return false;
    uint32_t* const modulus = scratch.copy(m->m_digits, n);
    return intMpModMult(out->m_digits, a->m_digits, b->m_digits, modulus, n, scratch.rest()) == 0;
}

bool BigInteger::expMod(BigInteger* out, BigInteger const* base, BigInteger const* exponent, BigInteger const* m)
{
    if (!fit(out, base, exponent, m))
        return false;
    std::size_t const n = out->m_words;
    Scratch scratch(INT_MP_MOD_EXP_SCRATCH + 2, n);
    if (!scratch)
        return false;
    uint32_t* const modulus = scratch.copy(m->m_digits, n);
    uint32_t* const power = scratch.take(n);
    if (intMpModExp(power, base->m_digits, exponent->m_digits, modulus, n, scratch.rest()) != 0)
        return false;
    intMpSetEqual(out->m_digits, power, n);
    return true;
}

bool BigInteger::isPrime(unsigned int rounds, unsigned int (*random)(), bool* result) const
{
    if (random == nullptr || result == nullptr || m_words == 0)
        return false;
    Scratch scratch(INT_MP_IS_PRIME_SCRATCH + 1, m_words);
    if (!scratch)
        return false;
    uint32_t* const value = scratch.copy(m_digits, m_words);
    *result = intMpIsPrime(value, m_words, rounds, random, scratch.rest());
    return true;
}

bool BigInteger::incrementToNextPrime(unsigned int rounds, unsigned int (*random)())
{
    if (random == nullptr || m_words == 0)
        return false;
    Scratch scratch(INT_MP_IS_PRIME_SCRATCH, m_words);
    if (!scratch)
        return false;
    m_digits[0] |= 1;
    while (!intMpIsPrime(m_digits, m_words, rounds, random, scratch.rest()))
        intMpShortAdd(m_digits, m_digits, 2, m_words);
    return true;
}
