#include "zekovar/crypto/challenge.h"

#include "tests/crypto/random_bytes.h"
#include "tests/string_printer.h"
#include "zekovar/crypto/platform_public_key.h"
#include "zekovar/files/file.h"
#include "zekovar/foundation/tstring.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>

using ZK::Challenge;

namespace
{
char const CHALLENGE[] = "otp:m=root:p=gateway:s=0815:t=3:r=00112233-4455-6677-8899-aabbccddeeff:pto";
constexpr int KEY_SIZE = 96;

char const PREFIX_FILE[] = "/tmp/challengePrefix";
char const MODULUS_FILE[] = "/tmp/rsaContextModulus";
char const EXPONENT_FILE[] = "/tmp/rsaContextPublic";
char const PEM_FILE[] = "/tmp/platformPublicKey";

std::string contentOf(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Keeps the fixed files to itself, also if another build is tested at the same time, and leaves none of them.
class ChallengeFiles : public testing::Test
{
protected:
    ChallengeFiles()
    {
        ::flock(m_lock.getFd(), LOCK_EX);
        removeFiles();
    }

    ~ChallengeFiles() override { removeFiles(); }

    static void removeFiles()
    {
        for (char const* path : {PREFIX_FILE, MODULUS_FILE, EXPONENT_FILE, PEM_FILE})
            std::filesystem::remove(path);
    }

    XCode setUp() { return Challenge::SETUP("0815", "gateway", "3", m_modulus, m_exponent); }

    /// "valid", "invalid", or the text of the failure.
    String verify(String const& password, String const& challenge = CHALLENGE)
    {
        bool valid = true;
        XCode const code = Challenge::VERIFY_PASSWORD(password, challenge, valid);
        return code.isErr() && !valid ? code.toString() : String(valid ? "valid" : "invalid");
    }

    ZKFile const m_lock{::open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC), true, false};
    // what "openssl rsautl -sign -inkey key.pem" made of the challenge; the other two are parts of this key
    String const m_signature = contentOf(ZEKOVAR_TEST_DATA "/signature").c_str();
    TString<unsigned char> const m_modulus{raw(contentOf(ZEKOVAR_TEST_DATA "/modulus")), KEY_SIZE};
    TString<unsigned char> const m_exponent{raw(std::string(KEY_SIZE - 3, '\0') + std::string("\1\0\1", 3)), KEY_SIZE};
};
}

TEST_F(ChallengeFiles, OnlyTheSignatureOfAChallengeIsItsPassword)
{
    ASSERT_TRUE(setUp());
    EXPECT_EQ(verify(m_signature), "valid");
    EXPECT_EQ(verify(m_signature, "otp"), "invalid");
    for (String wrong : {String(), String("no Base64!"), String(m_signature).concat(m_signature).concat(m_signature)})
        EXPECT_EQ(verify(wrong, String()), "invalid");

    String challenge, next;
    EXPECT_TRUE(Challenge::GET_CHALLENGE(Challenge::ChallengeMode::ENGINEER, next));
    EXPECT_TRUE(Challenge::GET_CHALLENGE(Challenge::ChallengeMode::ROOT, challenge));
    EXPECT_TRUE(next.startsWith("otp:m=engineer:p=gateway:s=0815:t=3:r=") && next.endsWith(":pto"));
    EXPECT_TRUE(challenge.startsWith("otp:m=root:p=gateway:s=0815:t=3:r=") && challenge.length() == 74);
    EXPECT_FALSE(next.endsWith(challenge.c_str() + 38)) << "random";
    EXPECT_EQ(Challenge::GET_CHALLENGE(static_cast<Challenge::ChallengeMode>(2), next), XCODE_FAILURE);
}

TEST_F(ChallengeFiles, FilesThatCannotBeUsedAreTold)
{
    std::string const key(96, '\x55'), small(95, '\x77'), large(5000, 'x');
    String out;
    auto const challenge = [&out] { return Challenge::GET_CHALLENGE(Challenge::ChallengeMode::ROOT, out).toString(); };
    auto const verifyWith = [this](std::string const& modulus, std::string const& exponent)
    {
        std::ofstream(MODULUS_FILE, std::ios::binary) << modulus;
        std::ofstream(EXPONENT_FILE, std::ios::binary) << exponent;
        return verify(m_signature);
    };
    EXPECT_EQ(challenge(), "CHALLENGE FILE DOES NOT EXIST");
    EXPECT_EQ(verify(m_signature), "ERROR IMPORTING RSA MODULUS");
    for (std::string const& bad : {std::string(), large})
        EXPECT_EQ(verifyWith(bad, bad), "ERROR IMPORTING RSA MODULUS");
    for (std::string const& bad : {std::string(), large, small})
        EXPECT_EQ(verifyWith(key, bad), "ERROR IMPORTING RSA PUBLIC KEY");
    EXPECT_EQ(verifyWith(small, small), "invalid") << "no whole words";
    std::filesystem::create_symlink("/dev/zero", PREFIX_FILE);
    EXPECT_EQ(challenge(), "CHALLENGE FILE DOES NOT EXIST");
    std::pair<char const*, char const*> const files[] = {{EXPONENT_FILE, "Error writing RSA context public key"},
                                                         {MODULUS_FILE, "Error writing RSA context modulus"},
                                                         {PREFIX_FILE, "Error writing challenge prefix file"}};
    for (auto const& [path, text] : files)
    {
        std::filesystem::remove(path);
        std::filesystem::create_directory(path);
        EXPECT_EQ(setUp().toString(), text);
    }
}

TEST_F(ChallengeFiles, PublicKeyIsWrittenAsPem)
{
    auto const write = [this](unsigned int length)
    { return ZK::PlatformPublicKey::SETUP(m_modulus.data(), m_exponent.data(), length); };
#ifdef ZEKOVAR_WITH_LIBCRYPTO
    EXPECT_TRUE(write(KEY_SIZE));
    EXPECT_EQ(contentOf(PEM_FILE), contentOf(ZEKOVAR_TEST_DATA "/public_key.pem"));
    EXPECT_TRUE(write(0) == XCODE_FAILURE && write(0x80000000) == XCODE_FAILURE);
    removeFiles();
    std::filesystem::create_directory(PEM_FILE);
    EXPECT_EQ(write(KEY_SIZE).toString(), "CANNOT OPEN PLATFORM PUBLIC KEY");
    removeFiles();
    std::filesystem::create_symlink("/dev/full", PEM_FILE);
#endif
    EXPECT_EQ(write(KEY_SIZE).toString(), "CANNOT CONVERT PLATFORM PUBLIC KEY IN PEM FORMAT");
}
