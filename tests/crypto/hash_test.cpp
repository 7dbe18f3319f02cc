#include "tests/crypto/random_bytes.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/crypto/hmac.h"
#include "zekovar/crypto/sum_helper.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <sys/stat.h>

#ifdef ZEKOVAR_TEST_HAS_OPENSSL
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif

using namespace std::string_literals;

namespace
{
template <class Context>
std::string finish(Context& context)
{
    std::string digest(context.getReturnedHashLength(), '\0');
    context.getHash(raw(digest));
    return digest;
}

/// Of all lengths to which `digest` can be cut.
void expectDigests(HashContext& hash, std::string const& message, std::string const& digest)
{
    EXPECT_TRUE(hash.test());
    for (unsigned int asked : {0u, 1u, 8u, 15u, 16u, 19u, 20u, 100u})
    {
        EXPECT_TRUE(hash.initialize(asked));
        hash.hash(raw(message), sizeOf(message));
        EXPECT_EQ(finish(hash), digest.substr(0, asked == 0 ? digest.size() : asked));
    }
}
}

TEST(Hash, DigestsAreThoseOfTheStandards)
{
    Md5HashContext md5;
    Sha1HashContext sha1;
    std::string const million(1000000, 'a');
    expectDigests(md5, "", "\xd4\x1d\x8c\xd9\x8f\x00\xb2\x04\xe9\x80\x09\x98\xec\xf8\x42\x7e"s);
    expectDigests(sha1, "", "\xda\x39\xa3\xee\x5e\x6b\x4b\x0d\x32\x55\xbf\xef\x95\x60\x18\x90\xaf\xd8\x07\x09");
    expectDigests(md5, million, "\x77\x07\xd6\xae\x4e\x02\x7c\x70\xee\xa2\xa9\x35\xc2\x29\x6f\x21");
    expectDigests(sha1, million, "\x34\xaa\x97\x3c\xd4\xc4\xda\xa4\xf6\x1e\xeb\x2b\xdb\xad\x27\x31\x65\x34\x01\x6f");
}

TEST(Hmac, KeyStaysForTheNextMessage)
{
    // RFC 2202
    Sha1HashContext sha1;
    HmacContext hmac(&sha1);
    std::string const message = "what do ya want for nothing?";
    EXPECT_TRUE(hmac.initialize(raw("Jefe"s), 4, 12));
    for (int round = 0; round < 2; ++round)
    {
        hmac.hash(raw(message), sizeOf(message));
        EXPECT_EQ(finish(hmac), "\xef\xfc\xdf\x6a\xe5\xeb\x2f\xa2\xd2\x74\x16\xd5");
        EXPECT_TRUE(hmac.reset());
    }
}

#ifdef ZEKOVAR_TEST_HAS_OPENSSL

TEST(Hash, AgreesWithLibcryptoHoweverTheDataIsCut)
{
    RandomBytes random;
    Md5HashContext md5;
    Sha1HashContext sha1;
    for (unsigned int round = 0; round < 400; ++round)
    {
        HashContext& hash = round % 2 == 0 ? static_cast<HashContext&>(md5) : sha1;
        EVP_MD const* const type = round % 2 == 0 ? EVP_md5() : EVP_sha1();
        std::string const data = random.bytes(round < 260 ? round : random.below(10001));
        std::string const key = random.bytes(random.below(101));
        std::string expected(hash.getCompleteHashLength(), '\0'), digest = expected;

        hash.initialize(1);
        for (std::string const& piece : random.pieces(data))
            hash.hash(raw(piece), sizeOf(piece));
        EVP_Digest(raw(data), data.size(), raw(expected), nullptr, type, nullptr);
        hash.getCompleteHash(raw(digest));
        ASSERT_EQ(digest, expected) << data.size() << " bytes";

        HmacContext hmac(&hash);
        hmac.initialize(raw(key), sizeOf(key), 0);
        for (std::string const& piece : random.pieces(data))
            hmac.hash(raw(piece), sizeOf(piece));
        HMAC(type, raw(key), static_cast<int>(key.size()), raw(data), data.size(), raw(expected), nullptr);
        ASSERT_EQ(finish(hmac), expected) << data.size() << " bytes, key of " << key.size();
    }
}

#endif

TEST(SumHelper, FileHasTheSumOfItsContentAndWhatHasNoneFails)
{
    TemporaryDirectory directory;
    String const path = directory / "data";
    MD5SumHelper sum;
    for (unsigned int size : {0u, 16384u, 16385u, 200000u})
    {
        std::string const data(size, 'a');
        std::ofstream(path.c_str()) << data;
        EXPECT_TRUE(sum.calculate(raw(data), size));
        String const expected = sum.getResult();
        EXPECT_EQ(sum.calculate(path).isSuccess(), size > 0);
        EXPECT_EQ(sum.getResult(), size > 0 ? expected : "") << "no other sum stays";
    }
    EXPECT_EQ(sum.calculate(directory / "missing").getRawValue(), XCODE_ERRNO + ENOENT);
    Sha1SumHelper sha1;
    std::ofstream(path.c_str()) << "abc";
    EXPECT_TRUE(sha1.calculate(path));
    EXPECT_EQ(sha1.getResult(), "a9993e364706816aba3e25717850c26c9cd0d89d");
    ASSERT_EQ(::mkfifo((directory / "fifo").c_str(), 0600), 0);
    for (String const& empty : {directory / "fifo", directory.path(), String("/dev/zero")})
        EXPECT_EQ(sha1.calculate(empty), XCODE_FAILURE) << empty.c_str();
}
