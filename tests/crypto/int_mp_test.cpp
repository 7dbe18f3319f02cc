#include "zekovar/crypto/int_mp.h"

#include "tests/crypto/number.h"

#include <gtest/gtest.h>

using namespace ZK::Detail;
using Words = std::vector<uint32_t>;

namespace
{
/// `n` words, zeros above some of them.
Words operand(std::size_t n)
{
    Words words(n);
    std::generate_n(words.begin(), 1 + randomWord() % n, wordAtLimit);
    return words;
}

void expectDivides(Words dividend, Words divisor)
{
    std::size_t const n = dividend.size();
    divisor.resize(n);
    Words quotient(n, 7), remainder(n + 1, 7), product(2 * n), shifted = divisor;
    EXPECT_EQ(intMpDivide(quotient.data(), remainder.data(), dividend.data(), n, shifted.data(), n), 0);
    EXPECT_EQ(shifted, divisor);
    EXPECT_LT(intMpCompare(remainder.data(), divisor.data(), n), 0);
    intMpMultiply(product.data(), quotient.data(), divisor.data(), n);
    dividend.resize(2 * n);
    remainder.resize(2 * n);
    intMpAdd(product.data(), product.data(), remainder.data(), 2 * n);
    EXPECT_EQ(product, dividend);
}
}

TEST(IntMp, QuotientAndRemainderMakeTheDividend)
{
    for (int i = 0; i < 20000; ++i)
    {
        std::size_t const n = 1 + randomWord() % 9;
        Words const dividend = operand(n), divisor = operand(n);
        if (!intMpIsZero(divisor.data(), n))
            expectDivides(dividend, divisor);

        auto const half = static_cast<uint16_t>(randomWord() | 1);
        Words words(n), halves(n), bits(n);
        uint32_t const rest = intMpShortDiv(words.data(), dividend.data(), half, n);
        EXPECT_EQ(intMpHalfDiv(halves.data(), dividend.data(), half, n), rest);
        EXPECT_EQ(intMpHalfDivZ(bits.data(), dividend.data(), half, n), rest);
        EXPECT_TRUE(halves == words && bits == words);
        intMpShortMult(bits.data(), words.data(), half, n);
        intMpShortAdd(bits.data(), bits.data(), rest, n);
        EXPECT_EQ(bits, dividend);
    }
}
