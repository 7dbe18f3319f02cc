#include "zekovar/crypto/sha1.h"

#include "zekovar/crypto/hash_blocks.h"
#include "zekovar/crypto/secure_memory.h"

#include <bit>
#include <utility>

namespace
{
constexpr uint32_t START[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

/// The message's word of a step. The first 16 come from the block, each other one is made of four before it; only the
/// last 16 are kept.
template <int STEP>
inline __attribute__((always_inline)) uint32_t wordOf(uint32_t (&words)[16], unsigned char const* block)
{
    uint32_t& word = words[STEP % 16];
    if constexpr (STEP < 16)
        word = ZK::Detail::loadBig32(block + 4 * STEP);
    else
        word = std::rotl(words[(STEP - 3) % 16] ^ words[(STEP - 8) % 16] ^ words[(STEP - 14) % 16] ^ word, 1);
    return word;
}

/// One of the 80 steps. The names of the state's words move on by one with each step, so that nothing is copied.
template <int STEP>
inline __attribute__((always_inline)) void step(uint32_t (&state)[5], uint32_t (&words)[16], unsigned char const* block)
{
    uint32_t const a = state[(80 - STEP) % 5];
    uint32_t& b = state[(81 - STEP) % 5];
    uint32_t const c = state[(82 - STEP) % 5];
    uint32_t const d = state[(83 - STEP) % 5];
    uint32_t& e = state[(84 - STEP) % 5];
    e += wordOf<STEP>(words, block);
    if constexpr (STEP < 20)
        e += 0x5a827999 + (d ^ (b & (c ^ d)));
    else if constexpr (STEP < 40)
        e += 0x6ed9eba1 + (b ^ c ^ d);
    else if constexpr (STEP < 60)
        e += 0x8f1bbcdc + (c & d) + (b & (c ^ d)); // the majority; the two terms have no bit in common
    else
        e += 0xca62c1d6 + (b ^ c ^ d);
    e += std::rotl(a, 5);
    b = std::rotl(b, 30);
}

template <int... STEPS>
inline __attribute__((always_inline)) void allSteps(uint32_t (&state)[5], uint32_t (&words)[16],
                                                    unsigned char const* block, std::integer_sequence<int, STEPS...>)
{
    (step<STEPS>(state, words, block), ...);
}

void compress(uint32_t (&total)[5], unsigned char const* blocks, unsigned int count)
{
    uint32_t words[16];
    for (; count > 0; --count, blocks += ZK::Detail::HASH_BLOCK_SIZE)
    {
        uint32_t state[5] = {total[0], total[1], total[2], total[3], total[4]};
        allSteps(state, words, blocks, std::make_integer_sequence<int, 80>());
        for (int i = 0; i < 5; ++i)
            total[i] += state[i];
    }
    ZK::Detail::wipeSecret(words, sizeof(words)); // they may be the pad of an HMAC
}
}

Sha1HashContext::Sha1HashContext()
{
    Sha1HashContext::initialize(0);
}

Sha1HashContext::~Sha1HashContext()
{
    Sha1HashContext::destroy();
}

XCode Sha1HashContext::initialize(unsigned int returnedLength)
{
    Sha1HashContext::destroy();
    std::memcpy(m_state, START, sizeof(START));
    m_returnedLength = returnedLength == 0 ? DIGEST_SIZE : std::min(returnedLength, DIGEST_SIZE);
    return XCODE_SUCCESS;
}

void Sha1HashContext::destroy()
{
    ZK::Detail::wipeSecret(m_state, sizeof(m_state));
    ZK::Detail::wipeSecret(m_bitCount, sizeof(m_bitCount));
    ZK::Detail::wipeSecret(m_block, sizeof(m_block));
}

void Sha1HashContext::hash(unsigned char const* data, unsigned int length)
{
    ZK::Detail::addToBlocks(m_bitCount, m_block, data, length,
                            [this](unsigned char const* blocks, unsigned int count)
                            { compress(m_state, blocks, count); });
}

unsigned int Sha1HashContext::getReturnedHashLength() const
{
    return m_returnedLength;
}

unsigned int Sha1HashContext::getCompleteHashLength() const
{
    return DIGEST_SIZE;
}

void Sha1HashContext::finish(unsigned char* target, unsigned int size)
{
    unsigned char bits[ZK::Detail::HASH_LENGTH_SIZE];
    ZK::Detail::storeBig32(bits, m_bitCount[1]);
    ZK::Detail::storeBig32(bits + 4, m_bitCount[0]);
    hash(ZK::Detail::HASH_PADDING, ZK::Detail::paddingLength(m_bitCount));
    hash(bits, sizeof(bits));

    unsigned char digest[DIGEST_SIZE];
    for (int i = 0; i < 5; ++i)
        ZK::Detail::storeBig32(digest + 4 * i, m_state[i]);
    std::memcpy(target, digest, size);
    ZK::Detail::wipeSecret(digest, sizeof(digest));
    destroy();
}

void Sha1HashContext::getHash(unsigned char* digest)
{
    finish(digest, m_returnedLength);
}

void Sha1HashContext::getCompleteHash(unsigned char* digest)
{
    finish(digest, DIGEST_SIZE);
}

XCode Sha1HashContext::test()
{
    // FIPS 180-1, appendix A
    static constexpr unsigned char MESSAGE[] = {'a', 'b', 'c'};
    static constexpr unsigned char EXPECTED[] = {0xa9, 0x99, 0x3e, 0x36, 0x47, 0x06, 0x81, 0x6a, 0xba, 0x3e,
                                                 0x25, 0x71, 0x78, 0x50, 0xc2, 0x6c, 0x9c, 0xd0, 0xd8, 0x9d};
    unsigned char digest[DIGEST_SIZE];
    initialize(0);
    hash(MESSAGE, sizeof(MESSAGE));
    getHash(digest);
    initialize(0);
    return testExpression(ZK::Detail::equalSecrets(digest, EXPECTED, sizeof(EXPECTED)));
}
