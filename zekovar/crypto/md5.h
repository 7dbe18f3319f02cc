#pragma once

#include "zekovar/crypto/hash.h"

#include <cstdint>

/// MD5, 16 bytes (RFC 1321): a checksum and an identifier. Nobody who can choose the data is kept from making two texts
/// of one digest, so it protects nothing.
class Md5HashContext : public HashContext
{
public:
    /// Ready for data, with the whole digest returned.
    Md5HashContext();
    ~Md5HashContext() override;

    XCode initialize(unsigned int returnedLength) override;
    void destroy() override;
    void hash(unsigned char const* data, unsigned int length) override;
    unsigned int getReturnedHashLength() const override;
    void getHash(unsigned char* digest) override;
    unsigned int getCompleteHashLength() const override;
    void getCompleteHash(unsigned char* digest) override;

    /// A difference is the general failure with the text "MD5 HASH TEST FAILED".
    XCode test() override;

private:
    static constexpr unsigned int DIGEST_SIZE = 16;

    void finish(unsigned char* target, unsigned int size);

    uint32_t m_state[4];
    uint32_t m_bitCount[2]; // low word first
    unsigned char m_block[64];
    unsigned int m_returnedLength;
};
