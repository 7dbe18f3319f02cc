#pragma once

#include "zekovar/crypto/encryption.h"

#include <cstdint>

namespace ZK::Detail
{
inline constexpr unsigned int DES_ROUNDS = 16;

/// The 48 bits of one round's key in groups of six, ready to be added to the rotated half of the data: the groups of
/// S-boxes 1, 3, 5 and 7, and those of 2, 4, 6 and 8, each group in the low bits of a byte.
struct DesRoundKey
{
    uint32_t odd;
    uint32_t even;
};
}

/// DES (FIPS 46-3), with blocks of 8 bytes and a key of 8, whose parity bits are ignored. Its 56 bits can be tried out:
/// it is for what other systems demand.
class DESEncryptionContext : public EncryptionContext
{
public:
    DESEncryptionContext() : EncryptionContext(BLOCK_SIZE) {}

    ~DESEncryptionContext() override;

    /// The general failure, with the context destroyed, if key or initialization vector haven't 8 bytes, if `key` is
    /// null, or for another direction.
    XCode initialize(CryptoDirection direction, CryptoMode mode, unsigned int keyLength, unsigned char const* key,
                     unsigned int ivLength) override;
    void destroy() override;
    XCode test() override;

    /// Enciphers or deciphers, as the key was taken: `decryptBlock` does the same.
    void encryptBlock(unsigned char* block) override;
    void decryptBlock(unsigned char* block) override;

protected:
    static constexpr unsigned int BLOCK_SIZE = 8; // bytes of a block, a vector and a single key

private:
    void desCrypt(unsigned char* block) const;

    ZK::Detail::DesRoundKey m_roundKeys[ZK::Detail::DES_ROUNDS] = {};
};

/// Triple DES (FIPS 46-3): enciphers with the first key, deciphers with the second, enciphers with the third. The key
/// has 24 bytes, or 16, whose first 8 are the third key too.
class TripleDESEncryptionContext : public DESEncryptionContext
{
public:
    TripleDESEncryptionContext() = default;
    ~TripleDESEncryptionContext() override;

    /// The general failure, with the context destroyed, if the key hasn't 16 or 24 bytes or is null, if the
    /// initialization vector hasn't 8, or for another direction.
    XCode initialize(CryptoDirection direction, CryptoMode mode, unsigned int keyLength, unsigned char const* key,
                     unsigned int ivLength) override;
    void destroy() override;
    XCode test() override;
    void encryptBlock(unsigned char* block) override;
    void decryptBlock(unsigned char* block) override;

private:
    void keySetup(unsigned char const* key, unsigned int tableOffset, bool decrypt);
    void tripleDesCrypt(unsigned char* block) const;

    ZK::Detail::DesRoundKey m_tripleRoundKeys[3 * ZK::Detail::DES_ROUNDS] = {};
};
