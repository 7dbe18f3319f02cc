#pragma once

#include "zekovar/crypto/byte_order.h"

#include <algorithm>
#include <cstddef>

// What MD5 and SHA-1 share: data is cut into blocks of 64 bytes, and the end is padded to a whole one.
namespace ZK::Detail
{
inline constexpr unsigned int HASH_BLOCK_SIZE = 64;
inline constexpr unsigned int HASH_LENGTH_SIZE = 8; // bytes of the bit count, which ends the last block

/// What stands between the data and the bit count.
inline constexpr unsigned char HASH_PADDING[HASH_BLOCK_SIZE] = {0x80};

/// Bytes of a block that isn't full yet. The low word of the bit count comes first.
inline unsigned int usedOfBlock(uint32_t const (&bitCount)[2])
{
    return bitCount[0] / 8 % HASH_BLOCK_SIZE;
}

/// Bytes of the padding, at least one, which leave room for the bit count in the last block.
inline unsigned int paddingLength(uint32_t const (&bitCount)[2])
{
    unsigned int const target = HASH_BLOCK_SIZE - HASH_LENGTH_SIZE;
    unsigned int const used = usedOfBlock(bitCount);
    return used < target ? target - used : target + HASH_BLOCK_SIZE - used;
}

/// Counts the data, calls `compress(blocks, count)` for all blocks that it fills, and keeps the rest in `block`.
template <class Compress>
void addToBlocks(uint32_t (&bitCount)[2], unsigned char (&block)[HASH_BLOCK_SIZE], unsigned char const* data,
                 unsigned int length, Compress const& compress)
{
    if (length == 0)
        return;
    unsigned int const used = usedOfBlock(bitCount);
    uint64_t const bits = (static_cast<uint64_t>(bitCount[1]) << 32 | bitCount[0]) + static_cast<uint64_t>(length) * 8;
    bitCount[0] = static_cast<uint32_t>(bits);
    bitCount[1] = static_cast<uint32_t>(bits >> 32);
    if (used > 0)
    {
        unsigned int const taken = std::min(length, HASH_BLOCK_SIZE - used);
        std::memcpy(block + used, data, taken);
        if (used + taken < HASH_BLOCK_SIZE)
            return;
        compress(block, 1u);
        data += taken;
        length -= taken;
    }
    compress(data, length / HASH_BLOCK_SIZE);
    std::memcpy(block, data + length / HASH_BLOCK_SIZE * HASH_BLOCK_SIZE, length % HASH_BLOCK_SIZE);
}
}
