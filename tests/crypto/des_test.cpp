#include "zekovar/crypto/des.h"

#include "tests/crypto/random_bytes.h"

#include <gtest/gtest.h>

#ifdef ZEKOVAR_TEST_HAS_OPENSSL
#include <openssl/evp.h>
#endif

using namespace std::string_literals;

namespace
{
using enum CryptoDirection;
using enum CryptoMode;

/// Enciphers and deciphers in pieces of one, two, and all blocks; the chain is at the last enciphered block then.
void expectPair(EncryptionContext& cipher, CryptoMode mode, std::string const& key, std::string const& vector,
                std::string const& plain, std::string const& enciphered)
{
    std::string const last = mode == CBC ? enciphered.substr(enciphered.size() - 8) : vector;
    for (CryptoDirection direction : {ENCRYPT, DECRYPT})
    {
        auto const crypt = direction == ENCRYPT ? &EncryptionContext::encrypt : &EncryptionContext::decrypt;
        ASSERT_TRUE(cipher.initialize(direction, mode, sizeOf(key), raw(key), 8));
        for (unsigned int piece : {8u, 16u, 16000u})
        {
            std::string data = direction == ENCRYPT ? plain : enciphered, chained = vector;
            cipher.setInitializationVector(raw(vector));
            for (unsigned int at = 0; at < data.size(); at += piece)
                (cipher.*crypt)(raw(data) + at, std::min(piece, sizeOf(data) - at) / 8);
            cipher.getInitializationVector(raw(chained));
            ASSERT_EQ(data, direction == ENCRYPT ? enciphered : plain);
            ASSERT_EQ(chained, last);
        }
    }
}
}

TEST(Des, BlocksAreThoseOfTheStandards)
{
    DESEncryptionContext single;
    TripleDESEncryptionContext triple;
    std::string const vector = "\x12\x34\x56\x78\x90\xab\xcd\xef", text = "Now is the time for all ";
    // FIPS 81; with the same key twice, triple DES is DES
    std::string const key = "\x01\x23\x45\x67\x89\xab\xcd\xef";
    std::string const enciphered =
        "\xe5\xc7\xcd\xde\x87\x2b\xf2\x7c\x43\xe9\x34\x00\x8c\x38\x9c\x0f\x68\x37\x88\x49\x9a\x7c\x05\xf6"s;
    expectPair(single, CBC, key, vector, text, enciphered);
    expectPair(triple, CBC, key + key, vector, text, enciphered);
    // NIST Special Publication 800-67, appendix B
    expectPair(triple, ECB, key + "\x23\x45\x67\x89\xab\xcd\xef\x01\x45\x67\x89\xab\xcd\xef\x01\x23", vector,
               "The qufck brown fox jump",
               "\xa8\x26\xfd\x8c\xe5\x3b\x85\x5f\xcc\xe2\x1c\x81\x12\x25\x6f\xe6\x68\xd5\xc0\x5d\xd9\xb6\xb9\x00"s);
}

TEST(Des, RefusedKeysEncipherNothing)
{
    DESEncryptionContext single;
    TripleDESEncryptionContext triple;
    std::string const key(64, 'k'), plain = "plain text......";
    for (unsigned int length : {0u, 7u, 9u, 17u, 23u, 25u, ~0u})
    {
        EXPECT_EQ(single.initialize(ENCRYPT, CBC, length, raw(key), 8), XCODE_FAILURE);
        EXPECT_EQ(single.initialize(ENCRYPT, CBC, 8, raw(key), length), XCODE_FAILURE);
        EXPECT_EQ(triple.initialize(ENCRYPT, CBC, length, raw(key), 8), XCODE_FAILURE);
        EXPECT_EQ(triple.initialize(ENCRYPT, CBC, 24, raw(key), length), XCODE_FAILURE);
    }
    EXPECT_EQ(triple.initialize(ENCRYPT, CBC, 24, nullptr, 8), XCODE_FAILURE);

    std::string data = plain;
    triple.setInitializationVector(raw(key));
    triple.getInitializationVector(raw(data));
    triple.encrypt(raw(data), 0);
    EXPECT_EQ(data, plain);
    triple.encrypt(raw(data), 2);
    EXPECT_EQ(data, std::string(8, '\0') + "xt......") << "never had a key; only the first block is lost";
    EXPECT_TRUE(single.test() && triple.test()) << "which leave a key";
    EXPECT_EQ(single.initialize(CryptoDirection{3}, CBC, 8, raw(key), 8), XCODE_FAILURE);
    single.decrypt(raw(data = plain), 2);
    EXPECT_EQ(data, std::string(8, '\0') + "xt......");
}

#ifdef ZEKOVAR_TEST_HAS_OPENSSL

TEST(Des, AgreesWithLibcrypto)
{
    RandomBytes random;
    DESEncryptionContext single;
    TripleDESEncryptionContext triple;
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    for (unsigned int round = 0; round < 100; ++round)
    {
        // libcrypto may have no single DES: it is triple DES with the same key three times
        std::string const key = random.bytes(8 + round % 3 * 8), vector = random.bytes(8);
        std::string const plain = random.bytes(8 + random.below(1250) * 8), tripleKey = key + key + key;
        CryptoMode const mode = round % 4 == 0 ? ECB : CBC;
        std::string expected = plain;
        int length = 0;
        EVP_EncryptInit_ex(context, mode == ECB ? EVP_des_ede3_ecb() : EVP_des_ede3_cbc(), nullptr, raw(tripleKey),
                           raw(vector));
        EVP_EncryptUpdate(context, raw(expected), &length, raw(plain), static_cast<int>(plain.size()));
        expectPair(key.size() == 8 ? single : triple, mode, key, vector, plain, expected);
    }
    EVP_CIPHER_CTX_free(context);
}

#endif
