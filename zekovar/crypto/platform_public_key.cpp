#include "zekovar/crypto/platform_public_key.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"

#ifdef ZEKOVAR_WITH_LIBCRYPTO

// What replaces the functions on single RSA keys in version 3 isn't in 1.1.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <cstdio>
#include <memory>
#include <utility>

#endif

namespace
{
char const NOT_CONVERTED[] = "CANNOT CONVERT PLATFORM PUBLIC KEY IN PEM FORMAT";

XCode failure(XCode code, char const* text)
{
    code.setString(text);
    return code;
}
}

#ifdef ZEKOVAR_WITH_LIBCRYPTO

namespace
{
char const KEY_FILE[] = "/tmp/platformPublicKey";

/// libcrypto counts bytes in an `int` and bits in another.
constexpr unsigned int MAX_LENGTH = 0x7FFFFFFF / 8;

struct Free
{
    void operator()(BIGNUM* number) const { BN_free(number); }

    void operator()(RSA* rsa) const { RSA_free(rsa); }

    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};

template <class T>
using Owned = std::unique_ptr<T, Free>;

Owned<BIGNUM> numberOf(unsigned char const* bytes, unsigned int length)
{
    return Owned<BIGNUM>(BN_bin2bn(bytes, static_cast<int>(length), nullptr));
}

/// Null if memory is out.
Owned<EVP_PKEY> keyOf(Owned<BIGNUM> modulus, Owned<BIGNUM> exponent)
{
    Owned<EVP_PKEY> key(EVP_PKEY_new());
    Owned<RSA> rsa(RSA_new());
    if (!key || !rsa || RSA_set0_key(rsa.get(), modulus.get(), exponent.get(), nullptr) != 1)
        return nullptr;
    // it frees the numbers from here on, and the key frees it
    modulus.release();
    exponent.release();
    if (EVP_PKEY_assign(key.get(), EVP_PKEY_RSA, rsa.get()) != 1)
        return nullptr;
    rsa.release();
    return key;
}
}

XCode ZK::PlatformPublicKey::SETUP(unsigned char const* modulus, unsigned char const* exponent, unsigned int length)
{
    if (modulus == nullptr || exponent == nullptr || length == 0 || length > MAX_LENGTH)
        return XCODE_FAILURE;
    Owned<BIGNUM> n = numberOf(modulus, length);
    Owned<BIGNUM> e = numberOf(exponent, length);
    if (!n || !e)
        return XCODE_FAILURE;
    Owned<EVP_PKEY> const key = keyOf(std::move(n), std::move(e));
    if (!key)
        return failure(XCODE_FAILURE, "CANNOT GENERATE PLATFORM PUBLIC KEY");

    std::FILE* const file = std::fopen(KEY_FILE, "we"); // close-on-exec
    if (file == nullptr)
        return failure(ZK::Detail::codeOfResult(-1), "CANNOT OPEN PLATFORM PUBLIC KEY");
    bool const written = PEM_write_PUBKEY(file, key.get()) == 1;
    bool const closed = std::fclose(file) == 0; // a full file system shows here
    return written && closed ? XCode() : failure(XCODE_FAILURE, NOT_CONVERTED);
}

#else

XCode ZK::PlatformPublicKey::SETUP(unsigned char const*, unsigned char const*, unsigned int)
{
    return failure(XCODE_FAILURE, NOT_CONVERTED);
}

#endif
