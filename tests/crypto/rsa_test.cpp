#include "zekovar/crypto/rsa.h"

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
/// What `crypt` makes of the data; if it fails the data is zeros.
std::string crypted(RSAEncryptionContext& rsa, std::string data, RSAKeyType type)
{
    unsigned int length = sizeOf(data);
    data.resize(data.size() + rsa.getModulusLength() / 8, '#');
    XCode const code = rsa.crypt(raw(data), &length, type);
    EXPECT_TRUE(code || data.substr(0, length) == std::string(length, '\0'));
    return code ? data.substr(0, length) : "refused";
}
}

TEST(Rsa, BlocksThatDoNotFitTheKeyAreRefusedAndWiped)
{
    std::string const modulus = "\0\0\0\x01\0\0\0\x21"s, three = "\0\0\0\0\0\0\0\x03"s, zero(8, '\0');
    RSAEncryptionContext rsa;
    EXPECT_FALSE(rsa.setKeys(64, nullptr, raw(three), nullptr) || rsa.setKeys(0, raw(modulus), nullptr, nullptr) ||
                 rsa.setKeys(56, raw(modulus), raw(three), nullptr) || rsa.crypt(nullptr, nullptr, RSAKeyType::PUBLIC));
    EXPECT_EQ(crypted(rsa, three, RSAKeyType::PUBLIC), "refused") << "without keys";
    EXPECT_TRUE(rsa.setKeys(64, raw(zero), raw(three), nullptr));
    EXPECT_EQ(crypted(rsa, "", RSAKeyType::PUBLIC), "refused") << "nothing is below 0";
    EXPECT_TRUE(rsa.setKeys(64, raw(modulus), raw(three), nullptr) && !rsa.getKeys(nullptr, nullptr, raw(zero)));
    EXPECT_EQ(crypted(rsa, "\x02", RSAKeyType::PUBLIC), "\0\0\0\0\0\0\0\x08"s);
    for (std::string const& data : {modulus, "\0"s + modulus})
        EXPECT_EQ(crypted(rsa, data, RSAKeyType::PUBLIC), "refused");
    for (RSAKeyType type : {RSAKeyType::PRIVATE, static_cast<RSAKeyType>(2)})
        EXPECT_EQ(crypted(rsa, "\x02", type), "refused");
}

TEST(Rsa, PaddingOfSignedBlocksIsRemoved)
{
    RSAEncryptionContext rsa;
    String out = "refused";
    ASSERT_TRUE(rsa.setKeys(64, raw("12345678"), nullptr, nullptr));
    for (std::string const& block : {"\x01\x01\xFF\xFF\xFF\0AB"s, "\0\x02\xFF\xFF\xFF\0AB"s, ""s, "\0\x01\xFF\xFF\0AB"s,
                                     "\0\x01\xFF\xFF\xFF\xFF\xFF\xFF"s, "\0\x01\xFF\xFF\xFF\xFF\0AB"s})
        EXPECT_FALSE(rsa.getDecryptedString(raw(block), sizeOf(block), out));
    EXPECT_TRUE(out == "refused" && rsa.getDecryptedString(raw("\0\x01\xFF\xFF\xFF\0AB"s), 8, out) && out == "AB");
    EXPECT_TRUE(rsa.getDecryptedString(raw("\0\x01\xFF\xFF\xFF\xFF\xFF\0"s), 8, out) && out == "");
}

TEST(Rsa, MadeKeysServeBothWaysAndWithLibcrypto)
{
    RSAEncryptionContext rsa, other;
    EXPECT_TRUE(rsa.test(randomWord));
    for (unsigned int bits : {64u, 100u, 512u, 1024u})
    {
        ASSERT_TRUE(rsa.buildKeys(bits, randomWord));
        unsigned int const size = bits / 32 * 4;
        std::string text = RandomBytes().bytes(size), modulus = text, exponent = text, secret = text;
        text[0] = '\0'; // below the modulus
        EXPECT_TRUE(rsa.getKeys(raw(modulus), raw(exponent), raw(secret)));
        EXPECT_TRUE((modulus[0] & 0x80) != 0 && (exponent[0] & 0x80) == 0);
        EXPECT_TRUE(other.setKeys(bits, raw(modulus), raw(exponent), raw(secret)));
        EXPECT_EQ(crypted(rsa, crypted(other, text, RSAKeyType::PUBLIC), RSAKeyType::PRIVATE), text);
        EXPECT_EQ(crypted(other, crypted(rsa, text, RSAKeyType::PUBLIC), RSAKeyType::PRIVATE), text);
#ifdef ZEKOVAR_TEST_HAS_OPENSSL
        if (bits < 512)
            continue;
        auto const count = static_cast<int>(size);
        auto const number = [count](std::string const& bytes) { return BN_bin2bn(raw(bytes), count, nullptr); };
        RSA* const key = RSA_new();
        RSA_set0_key(key, number(modulus), number(exponent), number(secret));
        std::string out(size, '#');
        ASSERT_EQ(RSA_public_encrypt(count, raw(text), raw(out), key, RSA_NO_PADDING), count);
        EXPECT_EQ(crypted(rsa, out, RSAKeyType::PRIVATE), text);
        ASSERT_EQ(RSA_private_encrypt(6, raw("signed"), raw(out), key, RSA_PKCS1_PADDING), count);
        String said;
        EXPECT_TRUE(rsa.getDecryptedString(raw(crypted(rsa, out, RSAKeyType::PUBLIC)), size, said) && said == "signed");
        RSA_free(key);
#endif
    }
}

TEST(Rsa, BadRandomFunctionsMakeNoKeysAndNoEndlessSearch)
{
    RSAEncryptionContext rsa;
    Number number(std::string(8, '\0'));
    for (auto* random : {+[] { return 1u; }, +[] { return ~0u; }, +[] { return randomWord() & ~1u; }})
        EXPECT_EQ(rsa.buildKeys(64, random), XCODE_FAILURE);
    for (unsigned int bits : {0u, 63u, 112u, 0xFFFFFFFFu})
        EXPECT_EQ(rsa.buildKeys(bits, randomWord), XCODE_FAILURE);
    EXPECT_EQ(rsa.getModulusLength(), 0u);
    EXPECT_FALSE(rsa.generatePrime(&number, 3, randomWord) || rsa.generatePrime(&number, 9, randomWord));
}
