#include "tests/crypto/number.h"

#include <gtest/gtest.h>

#ifdef ZEKOVAR_TEST_HAS_OPENSSL
#include <openssl/bn.h>
#endif

using namespace std::string_literals;

TEST(BigInteger, WhatDoesNotFitOrHasNoResultIsRefused)
{
    Number number(std::string(12, '#')), six("\0\0\0\0\0\0\0\x06"s), zero(std::string(8, '\0')), out(zero.bytes());
    std::string bytes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d";
    unsigned int count = 11;
    EXPECT_EQ(BigInteger(100).getBits(), 96u);
    EXPECT_FALSE(number.setValue(raw(bytes), 13) || number.setValue(nullptr, 1) || number.getValue(raw(bytes), &count));
    EXPECT_TRUE(number.setValue(raw(bytes), 5) && number.bytes() == "\0\0\0\0\0\0\0\x01\x02\x03\x04\x05"s);
    EXPECT_FALSE((number += six) || (number -= six) || (BigInteger(96) = six) || (BigInteger(31) = 1) ||
                 BigInteger::multiply(&number, &six, &six) || BigInteger::gcd(&number, &six, &six) ||
                 BigInteger::mulMod(&out, &six, nullptr, &six) || BigInteger::mulMod(&out, &six, &six, &zero) ||
                 BigInteger::expMod(&out, &six, &six, &zero) || BigInteger::invMod(&out, &six, &six));
    EXPECT_EQ(out, zero);
    EXPECT_TRUE(number > six && six < number && number != six && out == BigInteger(0));
    EXPECT_TRUE((out += 7) && (out -= 9) && (out += 2) && out == 0 && (out -= 1) && out > number);
    EXPECT_TRUE(out.setToRandomValue([] { return ~0u; }, false) && (out += 1));
    EXPECT_EQ(out.bytes(), "\x80\0\0\0\0\0\0\0"s);
    EXPECT_TRUE(BigInteger::expMod(&out, &out, &zero, &six) && out == 1);
    EXPECT_TRUE(BigInteger::mulMod(&six, &out, &six, &six) && six == 0) << "a result may be an operand";
}

TEST(BigInteger, PrimesAreTold)
{
    BigInteger number(32);
    auto const isPrime = [&](unsigned int value, unsigned int (*random)())
    {
        bool prime = false;
        return (number = value) && number.isPrime(9, random, &prime) && prime;
    };
    for (unsigned int prime : {109u, 113u, 127u, 1999u, 65537u, 2147483647u, 4294967291u})
        EXPECT_TRUE(isPrime(prime, randomWord)) << prime;
    for (unsigned int other : {0u, 1u, 2u, 3u, 9u, 107u, 11881u, 12317u, 4294967295u, 3215031751u, 56052361u,
                               118901521u, 172947529u, 25326001u, 161304001u})
        EXPECT_FALSE(isPrime(other, randomWord)) << other;
    EXPECT_TRUE(isPrime(3215031751, [] { return 7u; })) << "a composite that passes the bases 2, 3, 5 and 7";
    EXPECT_TRUE(isPrime(109, [] { return 0u; }) && isPrime(109, [] { return ~0u; })) << "no base among them";
    EXPECT_TRUE((number = 0xFFFFFFFC) && number.incrementToNextPrime(5, randomWord) && number == 109) << "from 1 on";
}

#ifdef ZEKOVAR_TEST_HAS_OPENSSL

TEST(BigInteger, ArithmeticIsThatOfLibcrypto)
{
    BN_CTX* const context = BN_CTX_new();
    BN_CTX_start(context);
    BIGNUM *x = BN_CTX_get(context), *y = BN_CTX_get(context), *n = BN_CTX_get(context), *power = BN_CTX_get(context);
    BIGNUM* const result = BN_CTX_get(context);
    auto const isResult = [result](Number const& number)
    {
        std::string expected = number.bytes();
        BN_bn2binpad(result, raw(expected), static_cast<int>(expected.size()));
        return number.bytes() == expected;
    };
    for (int i = 0; i < 600; ++i)
    {
        std::string const zeros(4 * (1 + randomWord() % (i % 20 == 0 ? 128 : 12)), '\0');
        Number a(zeros), b(zeros), m(zeros), e(zeros), out(zeros), product(zeros + zeros);
        std::pair<Number*, BIGNUM*> const operands[] = {{&a, x}, {&b, y}, {&m, n}, {&e, power}};
        for (auto const& [number, reference] : operands)
        {
            bool const isShort = randomWord() % 4 == 0 || (number == &e && i % 20 == 0);
            ASSERT_TRUE(isShort ? * number += wordAtLimit() : number->setToRandomValue(wordAtLimit));
            BN_bin2bn(raw(number->bytes()), static_cast<int>(zeros.size()), reference);
        }
        ASSERT_TRUE(BigInteger::multiply(&product, &a, &b) && BN_mul(result, x, y, context) && isResult(product));
        ASSERT_TRUE(BigInteger::gcd(&out, &a, &b) && BN_gcd(result, x, y, context) && isResult(out));
        bool const inverts = BN_mod_inverse(result, x, n, context) != nullptr;
        ASSERT_TRUE(BigInteger::invMod(&out, &a, &m) == inverts && (!inverts || isResult(out)));
        if (m == 0)
            continue;
        ASSERT_TRUE(BigInteger::mulMod(&out, &a, &b, &m) && BN_mod_mul(result, x, y, n, context) && isResult(out));
        ASSERT_TRUE(BigInteger::expMod(&out, &a, &e, &m) && BN_mod_exp(result, x, power, n, context) && isResult(out));
    }
    BN_CTX_free(context);
}

#endif
