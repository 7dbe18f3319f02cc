#include "zekovar/crypto/des.h"

#include "zekovar/crypto/byte_order.h"
#include "zekovar/crypto/des_tables.h"
#include "zekovar/crypto/secure_memory.h"

#include <cstring>
#include <utility>

namespace
{
using ZK::Detail::DES_ROUNDS;
using ZK::Detail::DesRoundKey;

/// Exchanges the bits of `a` that `mask`, moved left by `distance`, covers with those of `b` under `mask`.
inline void swapBits(uint32_t& a, uint32_t& b, int distance, uint32_t mask)
{
    uint32_t const difference = (a >> distance ^ b) & mask;
    b ^= difference;
    a ^= difference << distance;
}

/// The initial permutation, as exchanges between the halves.
inline void permute(uint32_t& left, uint32_t& right)
{
    swapBits(left, right, 4, 0x0f0f0f0f);
    swapBits(left, right, 16, 0x0000ffff);
    swapBits(right, left, 2, 0x33333333);
    swapBits(right, left, 8, 0x00ff00ff);
    swapBits(left, right, 1, 0x55555555);
}

/// Its inverse, the final permutation.
inline void permuteBack(uint32_t& left, uint32_t& right)
{
    swapBits(left, right, 1, 0x55555555);
    swapBits(right, left, 8, 0x00ff00ff);
    swapBits(right, left, 2, 0x33333333);
    swapBits(left, right, 16, 0x0000ffff);
    swapBits(left, right, 4, 0x0f0f0f0f);
}

/// What a round adds to the other half. The halves are kept rotated left by one: the six bits that enter each second
/// S-box then end with a byte, and after a rotation by four those of the others.
inline uint32_t mangle(uint32_t half, DesRoundKey const& key)
{
    auto const& lookUp = ZK::Detail::DES_LOOK_UP.of;
    uint32_t const odd = std::rotr(half, 4) ^ key.odd;
    uint32_t const even = half ^ key.even;
    return lookUp[0][odd >> 24 & 63] ^ lookUp[2][odd >> 16 & 63] ^ lookUp[4][odd >> 8 & 63] ^ lookUp[6][odd & 63] ^
           lookUp[1][even >> 24 & 63] ^ lookUp[3][even >> 16 & 63] ^ lookUp[5][even >> 8 & 63] ^ lookUp[7][even & 63];
}

/// Runs `PASSES` times 16 rounds over one block; the permutations between two passes cancel each other.
template <int PASSES>
inline void crypt(unsigned char* block, DesRoundKey const* keys)
{
    uint32_t left = ZK::Detail::loadBig32(block);
    uint32_t right = ZK::Detail::loadBig32(block + 4);
    permute(left, right);
    left = std::rotl(left, 1);
    right = std::rotl(right, 1);
    for (int pass = 0; pass < PASSES; ++pass)
    {
        for (unsigned int round = 0; round < DES_ROUNDS; round += 2, keys += 2)
        {
            left ^= mangle(right, keys[0]);
            right ^= mangle(left, keys[1]);
        }
        std::swap(left, right);
    }
    left = std::rotr(left, 1);
    right = std::rotr(right, 1);
    permuteBack(left, right);
    ZK::Detail::storeBig32(block, left);
    ZK::Detail::storeBig32(block + 4, right);
}

/// The bits of `value` that `positions` names, the first one becoming the most significant. `width` is that of `value`.
template <int COUNT>
uint64_t select(uint64_t value, int width, uint8_t const (&positions)[COUNT])
{
    uint64_t selected = 0;
    for (int position : positions)
        selected = selected << 1 | (value >> (width - position) & 1);
    return selected;
}

uint32_t rotateKeyHalf(uint32_t half, int distance)
{
    return (half << distance | half >> (28 - distance)) & 0x0fffffff;
}

/// Four of the eight groups of six bits, the first and each second one after it, in a byte each.
uint32_t everySecondGroup(uint64_t groups)
{
    uint32_t spread = 0;
    for (int shift = 42; shift > 0; shift -= 12)
        spread = spread << 8 | (groups >> shift & 63);
    return spread;
}

/// Makes the round keys of a key of 8 bytes, in reverse order to decipher.
void expand(unsigned char const* key, bool decrypt, DesRoundKey* roundKeys)
{
    uint64_t const bits = static_cast<uint64_t>(ZK::Detail::loadBig32(key)) << 32 | ZK::Detail::loadBig32(key + 4);
    uint64_t const halves = select(bits, 64, ZK::Detail::DES_KEY_BITS);
    uint32_t left = static_cast<uint32_t>(halves >> 28);
    uint32_t right = static_cast<uint32_t>(halves & 0x0fffffff);
    for (unsigned int round = 0; round < DES_ROUNDS; ++round)
    {
        left = rotateKeyHalf(left, ZK::Detail::DES_KEY_SHIFTS[round]);
        right = rotateKeyHalf(right, ZK::Detail::DES_KEY_SHIFTS[round]);
        uint64_t const groups = select(static_cast<uint64_t>(left) << 28 | right, 56, ZK::Detail::DES_ROUND_KEY_BITS);
        roundKeys[decrypt ? DES_ROUNDS - 1 - round : round] = {everySecondGroup(groups), everySecondGroup(groups << 6)};
    }
}

bool isDirection(CryptoDirection direction)
{
    return direction == CryptoDirection::ENCRYPT || direction == CryptoDirection::DECRYPT;
}

/// Enciphers `plain` and deciphers the result again.
XCode testCipher(EncryptionContext& cipher, unsigned int keyLength, unsigned char const* key,
                 unsigned char const (&plain)[8], unsigned char const (&enciphered)[8])
{
    unsigned char block[8];
    std::memcpy(block, plain, sizeof(block));
    XCode code = cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::ECB, keyLength, key, sizeof(block));
    if (code.isErr())
        return code;
    cipher.encrypt(block, 1);
    if (!ZK::Detail::equalSecrets(block, enciphered, sizeof(block)))
        return XCODE_FAILURE;
    code = cipher.initialize(CryptoDirection::DECRYPT, CryptoMode::ECB, keyLength, key, sizeof(block));
    if (code.isErr())
        return code;
    cipher.decrypt(block, 1);
    return testExpression(ZK::Detail::equalSecrets(block, plain, sizeof(block)));
}
}

DESEncryptionContext::~DESEncryptionContext()
{
    DESEncryptionContext::destroy();
}

XCode DESEncryptionContext::initialize(CryptoDirection direction, CryptoMode mode, unsigned int keyLength,
                                       unsigned char const* key, unsigned int ivLength)
{
    // tested first, so that a wrong length doesn't become memory
    if (key == nullptr || keyLength != BLOCK_SIZE || ivLength != BLOCK_SIZE || !isDirection(direction))
    {
        destroy();
        return XCODE_FAILURE;
    }
    EncryptionContext::initialize(direction, mode, keyLength, key, ivLength);
    expand(key, direction == CryptoDirection::DECRYPT, m_roundKeys);
    return XCODE_SUCCESS;
}

void DESEncryptionContext::destroy()
{
    ZK::Detail::wipeSecret(m_roundKeys, sizeof(m_roundKeys));
    EncryptionContext::destroy();
}

XCode DESEncryptionContext::test()
{
    // NBS Special Publication 500-20, the first row of the S-box test
    static constexpr unsigned char KEY[] = {0x7c, 0xa1, 0x10, 0x45, 0x4a, 0x1a, 0x6e, 0x57};
    static constexpr unsigned char PLAIN[] = {0x01, 0xa1, 0xd6, 0xd0, 0x39, 0x77, 0x67, 0x42};
    static constexpr unsigned char ENCIPHERED[] = {0x69, 0x0f, 0x5b, 0x0d, 0x9a, 0x26, 0x93, 0x9b};
    return testCipher(*this, sizeof(KEY), KEY, PLAIN, ENCIPHERED);
}

void DESEncryptionContext::encryptBlock(unsigned char* block)
{
    desCrypt(block);
}

void DESEncryptionContext::decryptBlock(unsigned char* block)
{
    desCrypt(block);
}

void DESEncryptionContext::desCrypt(unsigned char* block) const
{
    crypt<1>(block, m_roundKeys);
}

TripleDESEncryptionContext::~TripleDESEncryptionContext()
{
    TripleDESEncryptionContext::destroy();
}

XCode TripleDESEncryptionContext::initialize(CryptoDirection direction, CryptoMode mode, unsigned int keyLength,
                                             unsigned char const* key, unsigned int ivLength)
{
    bool const goodLengths = (keyLength == 2 * BLOCK_SIZE || keyLength == 3 * BLOCK_SIZE) && ivLength == BLOCK_SIZE;
    if (key == nullptr || !goodLengths || !isDirection(direction))
    {
        destroy();
        return XCODE_FAILURE;
    }
    EncryptionContext::initialize(direction, mode, keyLength, key, ivLength);
    bool const decrypt = direction == CryptoDirection::DECRYPT;
    unsigned char const* first = key;
    unsigned char const* third = keyLength == 3 * BLOCK_SIZE ? key + 2 * BLOCK_SIZE : key;
    if (decrypt)
        std::swap(first, third);
    keySetup(first, 0, decrypt);
    keySetup(key + BLOCK_SIZE, DES_ROUNDS, !decrypt);
    keySetup(third, 2 * DES_ROUNDS, decrypt);
    return XCODE_SUCCESS;
}

void TripleDESEncryptionContext::destroy()
{
    ZK::Detail::wipeSecret(m_tripleRoundKeys, sizeof(m_tripleRoundKeys));
    DESEncryptionContext::destroy();
}

XCode TripleDESEncryptionContext::test()
{
    // NIST Special Publication 800-67, appendix B
    static constexpr unsigned char KEY[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0x23, 0x45, 0x67, 0x89,
                                            0xab, 0xcd, 0xef, 0x01, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, 0x01, 0x23};
    static constexpr unsigned char PLAIN[] = {'T', 'h', 'e', ' ', 'q', 'u', 'f', 'c'};
    static constexpr unsigned char ENCIPHERED[] = {0xa8, 0x26, 0xfd, 0x8c, 0xe5, 0x3b, 0x85, 0x5f};
    return testCipher(*this, sizeof(KEY), KEY, PLAIN, ENCIPHERED);
}

void TripleDESEncryptionContext::encryptBlock(unsigned char* block)
{
    tripleDesCrypt(block);
}

void TripleDESEncryptionContext::decryptBlock(unsigned char* block)
{
    tripleDesCrypt(block);
}

void TripleDESEncryptionContext::keySetup(unsigned char const* key, unsigned int tableOffset, bool decrypt)
{
    expand(key, decrypt, m_tripleRoundKeys + tableOffset);
}

void TripleDESEncryptionContext::tripleDesCrypt(unsigned char* block) const
{
    crypt<3>(block, m_tripleRoundKeys);
}
