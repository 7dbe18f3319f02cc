#include "zekovar/crypto/challenge.h"

#include "zekovar/crypto/rsa.h"
#include "zekovar/crypto/secure_memory.h"
#include "zekovar/files/file.h"
#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/uuid.h"

#include <cerrno>
#include <fcntl.h>

using ZK::Detail::withText;

namespace
{
char const PREFIX_FILE[] = "/tmp/challengePrefix";
char const MODULUS_FILE[] = "/tmp/rsaContextModulus";
char const PUBLIC_EXPONENT_FILE[] = "/tmp/rsaContextPublic";

// What may be read, so that no file, however large, costs memory or time without end: bytes.
constexpr unsigned int MAX_PREFIX = 65536;
constexpr unsigned int MAX_KEY = 1024;

XCode writePrefix(String const& prefix)
{
    ZKFile file(PREFIX_FILE, true, false);
    XCode const code = file.open(O_WRONLY | O_CREAT | O_TRUNC, 0644, ZKFile::XO_NONE);
    return code.isErr() ? code : file.write(prefix, true);
}

/// Replaces `target` by a file of 1 to `limit` bytes. Doesn't wait for the writer of a fifo.
XCode readFile(char const* path, unsigned int limit, TString<unsigned char>& target)
{
    ZKFile file(path, true, false);
    XCode code = file.open(O_RDONLY | O_NONBLOCK, 0, ZKFile::XO_NONE);
    if (code.isErr())
        return code;
    unsigned int count = 0;
    bool eof = false;
    target.setLength(static_cast<int>(limit) + 1);
    code = file.readToEof(target.data(), limit + 1, count, eof, true);
    target.setLength(static_cast<int>(count));
    if (code && count > limit)
        code = ZK::Detail::codeOfErrno(EFBIG);
    return code;
}

/// Reads the public key, the parts of which are of equal length.
XCode readKey(TString<unsigned char>& modulus, TString<unsigned char>& publicExponent)
{
    XCode code = withText(readFile(MODULUS_FILE, MAX_KEY, modulus), "ERROR IMPORTING RSA MODULUS");
    if (code.isErr())
        return code;
    code = readFile(PUBLIC_EXPONENT_FILE, MAX_KEY, publicExponent);
    if (code && publicExponent.length() != modulus.length())
        code = XCODE_FAILURE;
    return withText(code, "ERROR IMPORTING RSA PUBLIC KEY");
}

/// Sets `text` to what the signature `password` signs.
XCode decryptPassword(String const& password, TString<unsigned char> const& modulus,
                      TString<unsigned char> const& publicExponent, String& text)
{
    auto const size = static_cast<unsigned int>(modulus.length());
    RSAEncryptionContext rsa;
    ZK::Detail::SecretBytes block(2 * size);
    auto length = static_cast<unsigned int>(block.size());
    XCode code = rsa.setKeys(size * 8, modulus.data(), publicExponent.data(), nullptr);
    if (code)
        code = Base64::decode(password, block.data(), length);
    if (code)
        code = rsa.crypt(block.data(), &length, RSAKeyType::PUBLIC);
    if (code)
        code = rsa.getDecryptedString(block.data(), length, text);
    return code;
}
}

XCode ZK::Challenge::SETUP(String const& s, String const& p, String const& t, TString<unsigned char> const& modulus,
                           TString<unsigned char> const& publicExponent)
{
    String prefix = "otp";
    prefix.concat(":m=?").concat(":p=").concat(p).concat(":s=").concat(s).concat(":t=").concat(t);
    XCode code = withText(writePrefix(prefix), "Error writing challenge prefix file");
    if (code)
        code = withText(ZKFile::WRITE_TSTRING(MODULUS_FILE, modulus, 0, true), "Error writing RSA context modulus");
    if (code)
        code = withText(ZKFile::WRITE_TSTRING(PUBLIC_EXPONENT_FILE, publicExponent, 0, true),
                        "Error writing RSA context public key");
    return code;
}

XCode ZK::Challenge::GET_CHALLENGE(ChallengeMode mode, String& out)
{
    TString<unsigned char> prefix;
    if (XCode code = readFile(PREFIX_FILE, MAX_PREFIX, prefix); code.isErr())
        return withText(code, "CHALLENGE FILE DOES NOT EXIST");
    out = String(reinterpret_cast<char const*>(prefix.data()), prefix.length(), 0, prefix.length());
    switch (mode)
    {
    case ChallengeMode::ROOT:
        out.replace("?", "root");
        break;
    case ChallengeMode::ENGINEER:
        out.replace("?", "engineer");
        break;
    default:
        return XCODE_FAILURE;
    }
    UUID const unique = UUID::GENERATE();
    out.concat(":r=").concat(unique.toString(false)).concat(":pto");
    // all zeros stand for no random bytes, and a challenge that comes twice could be answered from memory
    return testExpression(!(unique == UUID::INVALID()));
}

XCode ZK::Challenge::VERIFY_PASSWORD(String const& password, String const& challenge, bool& valid)
{
    valid = false;
    TString<unsigned char> modulus, publicExponent;
    if (XCode code = readKey(modulus, publicExponent); code.isErr())
        return code;
    String text;
    valid = decryptPassword(password, modulus, publicExponent, text) && text.equals(challenge);
    return XCODE_SUCCESS;
}
