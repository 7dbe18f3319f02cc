#pragma once

#include <cstdint>
#include <cstring>
#include <endian.h>

// Words of a stated byte order at addresses of any alignment.
namespace ZK::Detail
{
inline uint32_t loadLittle32(unsigned char const* source)
{
    uint32_t word;
    std::memcpy(&word, source, sizeof(word));
    return le32toh(word);
}

inline uint32_t loadBig32(unsigned char const* source)
{
    uint32_t word;
    std::memcpy(&word, source, sizeof(word));
    return be32toh(word);
}

inline void storeLittle32(unsigned char* target, uint32_t word)
{
    word = htole32(word);
    std::memcpy(target, &word, sizeof(word));
}

inline void storeBig32(unsigned char* target, uint32_t word)
{
    word = htobe32(word);
    std::memcpy(target, &word, sizeof(word));
}
}
