#include "tests/crypto/number.h"

#include <gtest/gtest.h>

#ifdef ZEKOVAR_TEST_HAS_OPENSSL
#include <openssl/bn.h>
#endif

using namespace std::string_literals;

TEST(BigInteger, WidthsAndBytesThatDoNotFitAreRefused)
{
    BigInteger number(100), other(64), none(31);
    std::string bytes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d";
    unsigned int count = 11;
    EXPECT_EQ(number.getBits(), 96u);
    EXPECT_EQ(none.getBits(), 0u);
    EXPECT_FALSE(number.setValue(raw(bytes), 13) || none.setValue(raw(bytes), 1) || number.setValue(nullptr, 1));
    EXPECT_FALSE(number.getValue(raw(bytes), &count));
    EXPECT_TRUE(number.setValue(raw(bytes), 5));
    count = 13;
    EXPECT_TRUE(number.getValue(raw(bytes), &count));
    EXPECT_EQ(bytes.substr(0, count), "\0\0\0\0\0\0\0\x01\x02\x03\x04\x05"s);

    bool prime = true;
    EXPECT_FALSE(number = other);
    EXPECT_FALSE((number += other) || (number -= other) || (none = 1) || (none = none));
    EXPECT_FALSE(BigInteger::multiply(&number, &number, &number) || BigInteger::gcd(&number, &other, &other));
    EXPECT_FALSE(BigInteger::mulMod(&other, &other, nullptr, &other) || BigInteger::gcd(nullptr, &other, &other));
    EXPECT_FALSE(none.setToRandomValue(randomWord, true) || number.setToRandomValue(nullptr));
    EXPECT_FALSE(none.isPrime(1, randomWord, &prime) || none.incrementToNextPrime(1, randomWord));
    EXPECT_TRUE(number > other && other < number && number != other && none == other && none == 0);
    EXPECT_TRUE((other = 7) && (other -= 9) && (other += 2) && other == 0 && (other -= 1) && other > number);
    EXPECT_TRUE(other.setToRandomValue(constantWord<0xFFFFFFFF>, false) && (other += 1));
    EXPECT_EQ(other, Number("\x80\0\0\0\0\0\0\0"s));
}

TEST(BigInteger, ModularOperationsHaveNoResultWhereThereIsNone)
{
    std::string const wide = "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s;
    Number zero(std::string(8, '\0')), one(std::string(8, '\0')), six(std::string(8, '\0')), out(wide);
    one = 1;
    six = 6;
    EXPECT_FALSE(BigInteger::mulMod(&out, &six, &six, &zero) || BigInteger::expMod(&out, &six, &six, &zero));
    EXPECT_FALSE(BigInteger::invMod(&out, &six, &zero) || BigInteger::invMod(&out, &six, &one));
    EXPECT_FALSE(BigInteger::invMod(&out, &zero, &six) || BigInteger::invMod(&out, &six, &six));
    EXPECT_EQ(out.bytes(), wide);
    EXPECT_TRUE(BigInteger::expMod(&out, &out, &zero, &six) && out == 1);
    EXPECT_TRUE(BigInteger::expMod(&out, &six, &zero, &one) && out == 0);
    EXPECT_TRUE(BigInteger::gcd(&out, &zero, &six) && out == 6 && BigInteger::gcd(&out, &six, &zero) && out == 6);
    Number modulus(wide);
    EXPECT_TRUE(BigInteger::expMod(&modulus, &six, &one, &modulus) && modulus == 6) << "a result may be an operand";
}

TEST(BigInteger, PrimesAreTold)
{
    bool prime = true;
    BigInteger number(64);
    auto const isPrime = [&](unsigned int value, unsigned int rounds, unsigned int (*random)())
    { return (number = value) && number.isPrime(rounds, random, &prime) && prime; };
    std::vector<bool> sieve(4000, true);
    for (unsigned int i = 2; i < sieve.size(); ++i)
    {
        for (unsigned int multiple = 2 * i; multiple < sieve.size(); multiple += i)
            sieve[multiple] = false;
        EXPECT_EQ(isPrime(i, 2, constantWord<3>), sieve[i] && i > 107) << i;
    }
    EXPECT_FALSE(isPrime(0, 1, randomWord) || isPrime(1, 1, randomWord));
    EXPECT_TRUE(isPrime(109, 3, constantWord<0>) && isPrime(109, 3, constantWord<0xFFFFFFFF>)) << "no base among them";
    EXPECT_TRUE(isPrime(3215031751, 2, constantWord<7>)) << "a composite that passes the bases 2, 3, 5 and 7";
    for (unsigned int composite : {3215031751u, 56052361u, 118901521u, 172947529u, 25326001u, 161304001u})
        EXPECT_FALSE(isPrime(composite, 20, randomWord)) << composite;

    BigInteger mersenne(544);
    std::string bytes = "\x01"s + std::string(65, '\xFF');
    EXPECT_TRUE(mersenne.setValue(raw(bytes), 66) && mersenne.isPrime(5, randomWord, &prime) && prime) << "2^521 - 1";
    EXPECT_TRUE(mersenne.setValue(raw(bytes) + 2, 64) && mersenne.isPrime(5, randomWord, &prime) && !prime);
    EXPECT_TRUE((mersenne = 0x7FFFFFFE) && mersenne.incrementToNextPrime(5, randomWord) && mersenne == 0x7FFFFFFF);
    BigInteger narrow(32);
    EXPECT_TRUE((narrow = 0xFFFFFFFC) && narrow.incrementToNextPrime(5, randomWord) && narrow == 109) << "from 1 on";
}

#ifdef ZEKOVAR_TEST_HAS_OPENSSL

namespace
{
struct Reference
{
    explicit Reference(std::string const& bytes = "")
        : number(BN_bin2bn(raw(bytes), static_cast<int>(bytes.size()), nullptr))
    {
    }

    ~Reference() { BN_free(number); }

    std::string bytes(std::size_t size) const
    {
        std::string made(size, '#');
        BN_bn2binpad(number, raw(made), static_cast<int>(size));
        return made;
    }

    BIGNUM* number;
};
}

TEST(BigInteger, ArithmeticIsThatOfLibcrypto)
{
    BN_CTX* const context = BN_CTX_new();
    RandomBytes random;
    for (int i = 0; i < 600; ++i)
    {
        // the wide ones rarely; few bytes, and bytes at the limits, often
        std::size_t const size = 4 * (1 + random.below(i % 20 == 0 ? 128 : 12));
        auto const operand = [&]
        {
            std::size_t const used = random.below(2) != 0 ? size : random.below(static_cast<unsigned int>(size) + 1);
            std::string bytes = std::string(size - used, '\0') + random.bytes(used);
            if (random.below(3) == 0)
                bytes.replace(random.below(sizeOf(bytes)), size, size, random.below(2) != 0 ? '\xFF' : '\0');
            return bytes.substr(0, size);
        };
        std::string const a = operand(), b = operand(), m = operand();
        std::string const e = std::string(size, '\0') + operand().substr(0, std::min<std::size_t>(size, 20));
        Number const left(a), right(b), modulus(m), exponent(e.substr(e.size() - size));
        Reference const x(a), y(b), n(m), power(e);
        Number out(a), product(a + a);
        Reference result;
        ASSERT_TRUE(BigInteger::multiply(&product, &left, &right) &&
                    BN_mul(result.number, x.number, y.number, context));
        ASSERT_EQ(product.bytes(), result.bytes(2 * size));
        ASSERT_TRUE(BigInteger::gcd(&out, &left, &right) && BN_gcd(result.number, x.number, y.number, context));
        ASSERT_EQ(out.bytes(), result.bytes(size));
        bool const inverts = BN_mod_inverse(result.number, x.number, n.number, context) != nullptr;
        ASSERT_EQ(BigInteger::invMod(&out, &left, &modulus), inverts);
        ASSERT_TRUE(!inverts || out.bytes() == result.bytes(size));
        bool const isZero = BN_is_zero(n.number);
        ASSERT_EQ(BigInteger::mulMod(&out, &left, &right, &modulus), !isZero);
        if (isZero)
            continue;
        ASSERT_TRUE(BN_mod_mul(result.number, x.number, y.number, n.number, context));
        ASSERT_EQ(out.bytes(), result.bytes(size));
        ASSERT_TRUE(BigInteger::expMod(&out, &left, &exponent, &modulus));
        ASSERT_TRUE(BN_mod_exp(result.number, x.number, power.number, n.number, context));
        ASSERT_EQ(out.bytes(), result.bytes(size));
    }
    BN_CTX_free(context);
}

#endif
