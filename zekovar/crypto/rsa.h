#pragma once

#include "zekovar/crypto/big_integer.h"
#include "zekovar/foundation/xcode.h"

#include <memory>

/// A key in four words, copied as a whole.
struct RSAKey
{
    unsigned int words[4];
};

enum class RSAKeyType : unsigned int
{
    PUBLIC = 0,
    PRIVATE = 1
};

/// RSA (RFC 8017) on single blocks, with the keys it makes or is given.
///
///     RSAEncryptionContext rsa;
///     unsigned int length = sizeof(signature);                       // as many bytes as the modulus has
///     XCode code = rsa.setKeys(1024, modulus, publicExponent, nullptr);
///     if (code) code = rsa.crypt(signature, &length, RSAKeyType::PUBLIC);
///     if (code) code = rsa.getDecryptedString(signature, length, text);
///
/// All failures are `XCODE_FAILURE` without a text. Keys and scratch are wiped when they go. The time that the private
/// operation takes tells something of the key, so it isn't for a service that a foreigner can ask often. A context
/// belongs to one thread at a time; the random functions are called on the caller's, and return 32 random bits.
class RSAEncryptionContext
{
public:
    RSAEncryptionContext() = default;

    /// Makes new keys of `bits` bits, rounded down to whole words, in place of the old ones. The public exponent is as
    /// wide as the modulus. Blocks for some time, which grows with the fourth power of the width: a tenth of a second
    /// or so for 1024 bits on a desktop processor, much longer on the device.
    ///
    /// Fails, without keys, for less than 64 bits, for a width that whole words fall short of by 16 bits or more, and
    /// where memory is out. It also fails, instead of searching without end, for a `random` so bad that 1000 draws in a
    /// row give no prime or no public exponent, or that gives one prime twice: a constant does one or the other.
    XCode buildKeys(unsigned int bits, unsigned int (*random)());

    /// Takes keys of `bits` / 8 bytes each, big-endian, in place of the old ones. The exponents may be null: a context
    /// may hold the public key only. Fails, without keys, for a null modulus and for bytes that make no whole words.
    XCode setKeys(unsigned int bits, unsigned char const* modulus, unsigned char const* publicExponent,
                  unsigned char const* privateExponent);

    /// Writes `getModulusLength` / 8 bytes to each pointer that isn't null, big-endian. Fails, with nothing written, if
    /// one of these isn't set.
    XCode getKeys(unsigned char* modulus, unsigned char* publicExponent, unsigned char* privateExponent) const;

    /// Bits, 0 without a modulus.
    unsigned int getModulusLength() const { return m_modulus ? m_modulus->getBits() : 0; }

    /// Takes `*length` bytes of `data`, big-endian, to the power of one of the exponents. The result takes the place of
    /// the data, which needs room for as many bytes as the modulus has, and `*length` becomes that number. Fails if the
    /// key isn't set, and for data that isn't below the modulus; the data is zeros then.
    XCode crypt(unsigned char* data, unsigned int* length, RSAKeyType keyType);

    /// Sets `out` to what a block of signed data holds (block type 1 of PKCS #1 v1.5): what follows a 0, a 1, bytes that
    /// aren't 0, and a 0. Fails, with `out` unchanged, for any other block and for a `length` that isn't the modulus's.
    ///
    /// It doesn't look how many bytes stand in between and whether all of them are 0xFF. This is no harm with a large
    /// public exponent; under one of 3 a block with a wanted end can be made without the private key.
    XCode getDecryptedString(unsigned char const* block, unsigned int length, String& out) const;

    /// Sets `out` to a random prime of `bytes` bytes, at least 4, whose top two bits are set, so that the product of two
    /// has its top bit set. Fails if `out` is narrower or memory is out, and after 1000 draws from which the search ran
    /// beyond that many bytes.
    static XCode generatePrime(BigInteger* out, unsigned int bytes, unsigned int (*random)());

    /// Makes keys of 64 bits, which are no protection, and fails if data doesn't survive both of them. The old keys are
    /// lost; the new ones stay.
    XCode test(unsigned int (*random)());

    /// Wipes and drops the keys.
    void destroy();

private:
    XCode makeKeys(unsigned int bits, unsigned int (*random)());

    std::unique_ptr<BigInteger> m_modulus; // all three null while unset
    std::unique_ptr<BigInteger> m_privateExponent;
    std::unique_ptr<BigInteger> m_publicExponent;
};
