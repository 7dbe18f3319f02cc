#pragma once

#include "zekovar/crypto/hash.h"

#include <cstdint>

/// SHA-1, 20 bytes (FIPS 180-1). Two texts of one digest can be made by those who can pay for it, so it must not vouch
/// for data that others choose; in an HMAC it holds.
class Sha1HashContext : public HashContext
{
public:
    /// Ready for data, with the whole digest returned.
    Sha1HashContext();
    ~Sha1HashContext() override;

    XCode initialize(unsigned int returnedLength) override;
    void destroy() override;
    void hash(unsigned char const* data, unsigned int length) override;
    unsigned int getReturnedHashLength() const override;
    void getHash(unsigned char* digest) override;
    unsigned int getCompleteHashLength() const override;
    void getCompleteHash(unsigned char* digest) override;

    /// A difference is the general failure, without a text of its own. The context is initialized afterwards.
    XCode test() override;

private:
    static constexpr unsigned int DIGEST_SIZE = 20;

    void finish(unsigned char* target, unsigned int size);

    uint32_t m_state[5];
    uint32_t m_bitCount[2]; // low word first
    unsigned char m_block[64];
    unsigned int m_returnedLength;
};
