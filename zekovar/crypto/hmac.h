#pragma once

#include "zekovar/crypto/hash.h"

/// HMAC (RFC 2104) on any hash whose blocks have 64 bytes.
///
///     Sha1HashContext sha1;
///     HmacContext hmac(&sha1);
///     hmac.initialize(key, keyLength, 12);
///     hmac.hash(message, size);
///     unsigned char tag[12];
///     hmac.getHash(tag);
///
/// Compare a tag that came from outside with one made here in a time that doesn't tell where they differ.
class HmacContext : public AuthenticationContext
{
public:
    /// `hash` isn't null, stays the caller's, is used by nobody else meanwhile, and outlives the last call.
    explicit HmacContext(HashContext* hash);

    /// Wipes the key, and doesn't touch the hash.
    ~HmacContext() override;

    /// A key of more than 64 bytes is replaced by its digest. Fails as the hash does, and with the general failure for
    /// a hash of more than 64 bytes.
    XCode initialize(unsigned char const* key, unsigned int keyLength, unsigned int returnedLength) override;

    /// Wipes the key and destroys the digest that the hash holds.
    void destroy() override;
    XCode reset() override;
    void hash(unsigned char const* data, unsigned int length) override;
    void getHash(unsigned char* digest) override;
    unsigned int getCompleteHashLength() const override;
    unsigned int getReturnedHashLength() const override;

private:
    static constexpr unsigned int PAD_SIZE = 64;

    HashContext* m_hash;
    unsigned char m_innerPad[PAD_SIZE];
    unsigned char m_outerPad[PAD_SIZE];
    unsigned int m_returnedLength; // as it was given
};
