#include "zekovar/crypto/rsa.h"

#include "tests/crypto/freed_memory.h"
#include "tests/crypto/number.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#ifdef ZEKOVAR_TEST_HAS_OPENSSL
// the functions on single keys, of which version 3 warns, take keys without primes
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/rsa.h>
#endif

using namespace std::string_literals;

namespace
{
struct Keys
{
    explicit Keys(RSAEncryptionContext const& rsa)
    {
        std::size_t const size = rsa.getModulusLength() / 8;
        for (std::string* key : {&modulus, &publicExponent, &privateExponent})
            key->resize(size);
        EXPECT_TRUE(rsa.getKeys(raw(modulus), raw(publicExponent), raw(privateExponent)));
    }

    std::string modulus, publicExponent, privateExponent;
};

/// What `crypt` makes of the data; it is zeros if it fails.
std::string crypted(RSAEncryptionContext& rsa, std::string data, RSAKeyType type)
{
    auto length = sizeOf(data);
    data.resize(data.size() + rsa.getModulusLength() / 8, '#');
    XCode const code = rsa.crypt(raw(data), &length, type);
    EXPECT_TRUE(code || data.substr(0, length) == std::string(length, '\0'));
    return code ? data.substr(0, length) : "refused"s;
}
}

TEST(Rsa, BlocksThatDoNotFitTheKeyAreRefusedAndWiped)
{
    std::string modulus = "\0\0\0\x01\0\0\0\x21"s, exponent = "\0\0\0\0\0\0\0\x03"s;
    RSAEncryptionContext rsa;
    unsigned int length = 8;
    EXPECT_EQ(crypted(rsa, exponent, RSAKeyType::PUBLIC), "refused");
    EXPECT_FALSE(rsa.setKeys(64, nullptr, raw(exponent), nullptr) || rsa.setKeys(0, raw(modulus), nullptr, nullptr));
    EXPECT_FALSE(rsa.setKeys(56, raw(modulus), raw(exponent), nullptr));
    EXPECT_EQ(rsa.getModulusLength(), 0u);
    ASSERT_TRUE(rsa.setKeys(64, raw(modulus), raw(exponent), nullptr));
    EXPECT_FALSE(rsa.getKeys(nullptr, nullptr, raw(modulus)));
    EXPECT_FALSE(rsa.crypt(nullptr, &length, RSAKeyType::PUBLIC) ||
                 rsa.crypt(raw(modulus), nullptr, RSAKeyType::PUBLIC));
    EXPECT_EQ(crypted(rsa, "\x02", RSAKeyType::PUBLIC), "\0\0\0\0\0\0\0\x08"s);
    EXPECT_EQ(crypted(rsa, modulus, RSAKeyType::PUBLIC), "refused");
    EXPECT_EQ(crypted(rsa, std::string(9, '\0'), RSAKeyType::PUBLIC), "refused");
    EXPECT_EQ(crypted(rsa, "\x02", RSAKeyType::PRIVATE), "refused");
    EXPECT_EQ(crypted(rsa, "\x02", static_cast<RSAKeyType>(2)), "refused");
    for (std::string const& bad : {std::string(8, '\0'), "\0\0\0\0\0\0\0\x02"s})
    {
        ASSERT_TRUE(rsa.setKeys(64, raw(bad), raw(exponent), nullptr)) << "crypt looks at it";
        EXPECT_EQ(crypted(rsa, "\x02", RSAKeyType::PUBLIC), "refused");
    }
}

TEST(Rsa, PaddingOfSignedBlocksIsRemoved)
{
    std::string const modulus(8, '\x77');
    std::pair<std::string, char const*> const blocks[] = {
        {"\0\x01\xFF\xFF\xFF\0AB"s, "AB"},
        {"\0\x01\xFF\xFF\xFF\xFF\xFF\0"s, ""},
        {"\0\x01\0ABCDE"s, "ABCDE"},
        {"\x01\x01\xFF\xFF\xFF\0AB"s, "unset"},
        {"\0\x02\xFF\xFF\xFF\0AB"s, "unset"},
        {"\0\0\xFF\xFF\xFF\0AB"s, "unset"},
        {"\0\x01\xFF\xFF\xFF\xFF\xFF\xFF"s, "unset"},
        {"\0\x01\xFF\xFF\0AB"s, "unset"},
        {"\0\x01\xFF\xFF\xFF\xFF\0AB"s, "unset"},
        {""s, "unset"},
    };
    RSAEncryptionContext rsa;
    String out = "unset";
    EXPECT_FALSE(rsa.getDecryptedString(raw(blocks[0].first), 8, out) || rsa.getDecryptedString(nullptr, 0, out));
    ASSERT_TRUE(rsa.setKeys(64, raw(modulus), nullptr, nullptr));
    for (auto const& [block, text] : blocks)
    {
        out = "unset";
        EXPECT_EQ(rsa.getDecryptedString(raw(block), sizeOf(block), out).isSuccess(), text != "unset"s);
        EXPECT_EQ(out, text);
    }
}

TEST(Rsa, KeysAreMadeOfPrimesAndServeBothWays)
{
    RSAEncryptionContext rsa;
    EXPECT_TRUE(rsa.test(randomWord));
    for (unsigned int bits : {64u, 100u, 512u, 1024u})
    {
        ASSERT_TRUE(rsa.buildKeys(bits, randomWord));
        unsigned int const size = bits / 32 * 4;
        Keys const keys(rsa);
        EXPECT_EQ(rsa.getModulusLength(), size * 8);
        EXPECT_GE(keys.modulus[0] & 0xFF, 0x80);
        EXPECT_LT(keys.publicExponent[0] & 0xFF, 0x80);
        std::string text = RandomBytes().bytes(size);
        text[0] = '\0'; // below the modulus
        EXPECT_EQ(crypted(rsa, crypted(rsa, text, RSAKeyType::PUBLIC), RSAKeyType::PRIVATE), text);
#ifdef ZEKOVAR_TEST_HAS_OPENSSL
        if (bits < 512)
            continue;
        RSA* const key = RSA_new();
        auto const number = [size](std::string const& bytes)
        { return BN_bin2bn(raw(bytes), static_cast<int>(size), nullptr); };
        RSA_set0_key(key, number(keys.modulus), number(keys.publicExponent), number(keys.privateExponent));
        std::string out(size, '#');
        ASSERT_EQ(RSA_public_encrypt(static_cast<int>(size), raw(text), raw(out), key, RSA_NO_PADDING), int(size));
        EXPECT_EQ(crypted(rsa, out, RSAKeyType::PRIVATE), text);
        std::string const block = crypted(rsa, text, RSAKeyType::PUBLIC);
        ASSERT_EQ(RSA_private_decrypt(static_cast<int>(size), raw(block), raw(out), key, RSA_NO_PADDING), int(size));
        EXPECT_EQ(out, text);
        ASSERT_EQ(RSA_private_encrypt(6, raw("signed"), raw(out), key, RSA_PKCS1_PADDING), int(size));
        String said;
        EXPECT_TRUE(rsa.getDecryptedString(raw(crypted(rsa, out, RSAKeyType::PUBLIC)), size, said));
        EXPECT_EQ(said, "signed");
        RSA_free(key);
#endif
    }
}

TEST(Rsa, BadRandomFunctionsMakeNoKeysAndNoEndlessSearch)
{
    RSAEncryptionContext rsa;
    Number number(std::string(8, '\0'));
    unsigned int (*const functions[])() = {constantWord<0>, constantWord<1>, constantWord<0x12345678>,
                                           constantWord<0xFFFFFFFF>, [] { return randomWord() & ~1u; }};
    for (auto const& random : functions)
    {
        EXPECT_EQ(rsa.buildKeys(64, random), XCODE_FAILURE);
        EXPECT_EQ(rsa.getModulusLength(), 0u);
    }
    EXPECT_FALSE(rsa.buildKeys(64, nullptr) || rsa.buildKeys(63, randomWord) || rsa.buildKeys(112, randomWord));
    EXPECT_FALSE(rsa.buildKeys(0, randomWord) || rsa.buildKeys(0xFFFFFFFF, randomWord) || rsa.test(constantWord<1>));
    EXPECT_FALSE(rsa.generatePrime(&number, 3, randomWord) || rsa.generatePrime(&number, 9, randomWord));
    EXPECT_FALSE(rsa.generatePrime(nullptr, 4, randomWord));
    for (unsigned int bytes = 4; bytes <= 8; ++bytes)
    {
        bool prime = false;
        EXPECT_TRUE(rsa.generatePrime(&number, bytes, randomWord));
        EXPECT_TRUE(number.isPrime(20, randomWord, &prime) && prime);
        EXPECT_GE(static_cast<unsigned char>(number.bytes()[8 - bytes]), 0xC0);
    }
}

TEST(Rsa, SecretsDoNotStayInMemory)
{
    static std::string const secret = SECRET, larger(secret.size(), '\xFF');
    auto const bits = sizeOf(secret) * 8;
    secretWasFreed();
    {
        RSAEncryptionContext rsa;
        bool prime = false;
        unsigned int length = sizeOf(secret);
        std::string data = secret;
        Number const number(secret), modulus(larger);
        Number out(secret), product(secret + secret);
        ASSERT_TRUE(rsa.setKeys(bits, raw(larger), raw(secret), raw(secret)));
        EXPECT_TRUE(rsa.crypt(raw(data), &length, RSAKeyType::PRIVATE));
        EXPECT_TRUE(BigInteger::gcd(&out, &number, &modulus) && BigInteger::multiply(&product, &number, &modulus));
        BigInteger::invMod(&out, &number, &number);
        EXPECT_TRUE(BigInteger::mulMod(&out, &number, &modulus, &number));
        EXPECT_TRUE(BigInteger::expMod(&out, &number, &number, &modulus) && number.isPrime(1, randomWord, &prime));
    }
    EXPECT_FALSE(secretWasFreed());
}
