#include "zekovar/crypto/md5.h"

#include "zekovar/crypto/hash_blocks.h"
#include "zekovar/crypto/secure_memory.h"
#include "zekovar/foundation/string.h"

#include <bit>
#include <utility>

namespace
{
constexpr uint32_t START[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

constexpr int SHIFTS[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

/// The integer part of 2^32 times the sine of 1 to 64 radians.
constexpr uint32_t SINES[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

/// Which of the block's words a step takes.
constexpr int wordOf(int step)
{
    constexpr int FACTORS[4] = {1, 5, 3, 7};
    constexpr int OFFSETS[4] = {0, 1, 5, 0};
    return (FACTORS[step / 16] * step + OFFSETS[step / 16]) % 16;
}

/// One of the 64 steps. The names of the state's words move on by one with each step, so that nothing is copied.
template <int STEP>
inline __attribute__((always_inline)) void step(uint32_t (&state)[4], unsigned char const* block)
{
    uint32_t& a = state[(64 - STEP) % 4];
    uint32_t const b = state[(65 - STEP) % 4];
    uint32_t const c = state[(66 - STEP) % 4];
    uint32_t const d = state[(67 - STEP) % 4];
    a += SINES[STEP] + ZK::Detail::loadLittle32(block + 4 * wordOf(STEP));
    if constexpr (STEP < 16)
        a += d ^ (b & (c ^ d));
    else if constexpr (STEP < 32)
    {
        // The two halves have no bit in common; added one by one, only the first has to wait for the step before.
        a += c & ~d;
        a += b & d;
    }
    else if constexpr (STEP < 48)
        a += b ^ (c ^ d);
    else
        a += c ^ (b | ~d);
    a = b + std::rotl(a, SHIFTS[STEP / 16][STEP % 4]);
}

template <int... STEPS>
inline __attribute__((always_inline)) void allSteps(uint32_t (&state)[4], unsigned char const* block,
                                                    std::integer_sequence<int, STEPS...>)
{
    (step<STEPS>(state, block), ...);
}

void compress(uint32_t (&total)[4], unsigned char const* blocks, unsigned int count)
{
    uint32_t sum[4] = {total[0], total[1], total[2], total[3]};
    for (; count > 0; --count, blocks += ZK::Detail::HASH_BLOCK_SIZE)
    {
        uint32_t state[4] = {sum[0], sum[1], sum[2], sum[3]};
        allSteps(state, blocks, std::make_integer_sequence<int, 64>());
        for (int i = 0; i < 4; ++i)
            sum[i] += state[i];
    }
    std::memcpy(total, sum, sizeof(sum));
}
}

Md5HashContext::Md5HashContext()
{
    Md5HashContext::initialize(0);
}

Md5HashContext::~Md5HashContext()
{
    Md5HashContext::destroy();
}

XCode Md5HashContext::initialize(unsigned int returnedLength)
{
    Md5HashContext::destroy();
    std::memcpy(m_state, START, sizeof(START));
    m_returnedLength = returnedLength == 0 ? DIGEST_SIZE : std::min(returnedLength, DIGEST_SIZE);
    return XCODE_SUCCESS;
}

void Md5HashContext::destroy()
{
    ZK::Detail::wipeSecret(m_state, sizeof(m_state));
    ZK::Detail::wipeSecret(m_bitCount, sizeof(m_bitCount));
    ZK::Detail::wipeSecret(m_block, sizeof(m_block));
}

void Md5HashContext::hash(unsigned char const* data, unsigned int length)
{
    ZK::Detail::addToBlocks(m_bitCount, m_block, data, length,
                            [this](unsigned char const* blocks, unsigned int count)
                            { compress(m_state, blocks, count); });
}

unsigned int Md5HashContext::getReturnedHashLength() const
{
    return m_returnedLength;
}

unsigned int Md5HashContext::getCompleteHashLength() const
{
    return DIGEST_SIZE;
}

void Md5HashContext::finish(unsigned char* target, unsigned int size)
{
    unsigned char bits[ZK::Detail::HASH_LENGTH_SIZE];
    ZK::Detail::storeLittle32(bits, m_bitCount[0]);
    ZK::Detail::storeLittle32(bits + 4, m_bitCount[1]);
    hash(ZK::Detail::HASH_PADDING, ZK::Detail::paddingLength(m_bitCount));
    hash(bits, sizeof(bits));

    unsigned char digest[DIGEST_SIZE];
    for (int i = 0; i < 4; ++i)
        ZK::Detail::storeLittle32(digest + 4 * i, m_state[i]);
    std::memcpy(target, digest, size);
    ZK::Detail::wipeSecret(digest, sizeof(digest));
    destroy();
}

void Md5HashContext::getHash(unsigned char* digest)
{
    finish(digest, m_returnedLength);
}

void Md5HashContext::getCompleteHash(unsigned char* digest)
{
    finish(digest, DIGEST_SIZE);
}

XCode Md5HashContext::test()
{
    // RFC 1321, A.5
    static constexpr unsigned char MESSAGE[] = {'a', 'b', 'c'};
    static constexpr unsigned char EXPECTED[] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                                 0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    unsigned char digest[DIGEST_SIZE];
    initialize(0);
    hash(MESSAGE, sizeof(MESSAGE));
    getHash(digest);
    XCode code = testExpression(ZK::Detail::equalSecrets(digest, EXPECTED, sizeof(EXPECTED)));
    if (code.isErr())
        code.setString("MD5 HASH TEST FAILED");
    return code;
}
