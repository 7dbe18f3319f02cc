#include "zekovar/crypto/int_mp.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

using namespace ZK::Detail;

namespace
{
using Words = std::vector<uint32_t>;

/// Words at the limits, on which estimates of quotients fail, among others, and zeros above some of them.
class Operands
{
public:
    Words next(std::size_t n)
    {
        Words words(n);
        for (std::size_t i = 0, used = 1 + m_engine() % n; i < used; ++i)
            words[i] = word();
        return words;
    }

    uint32_t word()
    {
        static constexpr uint32_t LIMITS[] = {0, 1, 2, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
        auto const choice = m_engine() % 16;
        return choice < 8 ? LIMITS[choice] : static_cast<uint32_t>(m_engine());
    }

private:
    std::mt19937 m_engine{22};
};

/// `factor` times `b` plus `rest`, with a word more than the factor.
Words multiplyAdd(Words const& factor, Words b, Words const& rest)
{
    std::size_t const n = factor.size();
    Words product(2 * n), sum(n + 1);
    b.resize(n);
    intMpMultiply(product.data(), factor.data(), b.data(), n);
    EXPECT_TRUE(intMpIsZero(product.data() + n, n));
    sum[n] = intMpAdd(sum.data(), product.data(), rest.data(), n);
    return sum;
}

void expectDivides(Words dividend, Words const& divisor)
{
    std::size_t const n = dividend.size();
    Words quotient(n, 7), remainder(n + 1, 7), rest(n + 1, 7), shifted = divisor;
    ASSERT_EQ(intMpDivide(quotient.data(), remainder.data(), dividend.data(), n, shifted.data(), shifted.size()), 0);
    EXPECT_EQ(shifted, divisor);
    EXPECT_EQ(intMpModulo(rest.data(), dividend.data(), n, shifted.data(), shifted.size()), 0);
    EXPECT_EQ(rest, remainder);
    std::size_t const size = intMpSizeof(divisor.data(), divisor.size());
    EXPECT_TRUE(
        intMpSizeof(remainder.data(), n + 1) < size ||
        (intMpSizeof(remainder.data(), n + 1) == size && intMpCompare(remainder.data(), divisor.data(), size) < 0));
    dividend.push_back(0);
    EXPECT_EQ(multiplyAdd(quotient, Words(divisor.begin(), divisor.begin() + static_cast<int>(size)), remainder),
              dividend);
}
}

TEST(IntMp, QuotientAndRemainderMakeTheDividend)
{
    // quotient digits whose estimate is one and two too large, and one where the divisor has to be added back
    expectDivides({0, 0xFFFFFFFE, 0x80000000}, {0xFFFFFFFF, 0x80000000});
    expectDivides({3, 0, 0x80000000}, {1, 0, 0x20000000});
    expectDivides({0, 0, 0x80000000, 0x7FFFFFFF}, {1, 0, 0x80000000});
    expectDivides({0, 0, 0, 0xFFFFFFFF, 0xFFFFFFFE}, {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});

    Operands operands;
    for (int i = 0; i < 20000; ++i)
    {
        std::size_t const n = 1 + operands.word() % 9;
        Words const divisor = operands.next(1 + operands.word() % 9);
        if (!intMpIsZero(divisor.data(), divisor.size()))
            expectDivides(operands.next(n), divisor);
    }
    Words zero(2), out(3, 7);
    EXPECT_EQ(intMpModulo(out.data(), zero.data(), 2, zero.data(), 2), -1);
    EXPECT_EQ(intMpModulo(out.data(), zero.data(), 2, zero.data(), 0), -1);
    EXPECT_EQ(out, Words(3, 7));
}

TEST(IntMp, OperationsAgreeModuloSmallPrimes)
{
    Operands operands;
    for (int i = 0; i < 3000; ++i)
    {
        std::size_t const n = 1 + operands.word() % 12;
        unsigned int const bits = operands.word() % 32;
        Words const a = operands.next(n), b = operands.next(n);
        uint32_t const digit = operands.word() | 1;
        Words product(2 * n), sum(n + 1), difference(n), shifted(n + 1), scaled(n + 1), quotient(n), bitwise(n);
        intMpMultiply(product.data(), a.data(), b.data(), n);
        sum[n] = intMpAdd(sum.data(), a.data(), b.data(), n);
        shifted[n] = intMpShiftLeft(shifted.data(), a.data(), bits, n);
        scaled[n] = intMpShortMult(scaled.data(), a.data(), digit, n);
        for (uint32_t prime : {0xFFFFFFFBu, 0xFFFFFFEFu, 65521u, 3u})
        {
            uint64_t const restA = intMpShortMod(a.data(), prime, n), restB = intMpShortMod(b.data(), prime, n);
            EXPECT_EQ(intMpShortMod(product.data(), prime, 2 * n), restA * restB % prime);
            EXPECT_EQ(intMpShortMod(sum.data(), prime, n + 1), (restA + restB) % prime);
            EXPECT_EQ(intMpShortMod(shifted.data(), prime, n + 1), restA * ((1ull << bits) % prime) % prime);
            EXPECT_EQ(intMpShortMod(scaled.data(), prime, n + 1), restA * (digit % prime) % prime);
        }
        EXPECT_EQ(intMpShiftRight(shifted.data(), shifted.data(), bits, n + 1), 0u);
        EXPECT_TRUE(intMpEqual(shifted.data(), a.data(), n));
        EXPECT_EQ(intMpSubtract(difference.data(), sum.data(), b.data(), n), sum[n]);
        EXPECT_EQ(difference, a);
        EXPECT_EQ(intMpMultSub(scaled.data(), a.data(), digit, n), scaled[n]);
        EXPECT_TRUE(intMpIsZero(scaled.data(), n));
        uint32_t const carry = intMpShortAdd(sum.data(), a.data(), digit, n);
        EXPECT_EQ(intMpShortSub(sum.data(), sum.data(), digit, n), carry);
        EXPECT_TRUE(intMpEqual(sum.data(), a.data(), n));

        auto const half = static_cast<uint16_t>(digit);
        EXPECT_EQ(intMpHalfDiv(quotient.data(), a.data(), half, n), intMpShortDiv(sum.data(), a.data(), half, n));
        EXPECT_EQ(intMpHalfDivZ(bitwise.data(), a.data(), half, n), intMpHalfMod(a.data(), half, n));
        EXPECT_TRUE(quotient == bitwise && intMpEqual(quotient.data(), sum.data(), n));
    }
}
