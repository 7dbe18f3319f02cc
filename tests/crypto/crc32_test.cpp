#include "zekovar/crypto/crc32.h"

#include "tests/crypto/random_bytes.h"

#include <gtest/gtest.h>

#include <thread>

#ifdef ZEKOVAR_TEST_HAS_ZLIB
#include <zlib.h>
#endif

namespace
{
char const CHECK[] = "123456789";

/// Adds the data at once, by bytes, and in pieces.
template <class Crc>
unsigned int sumOf(RandomBytes& random, std::string const& data)
{
    Crc crc;
    unsigned int const sum = crc.addBuff(data.data(), sizeOf(data));
    crc.reset();
    for (char byte : data)
        crc.addByte(byte);
    EXPECT_EQ(crc.addBuff(CHECK + 1, CHECK), sum) << "between those lies nothing";
    crc.reset();
    for (std::string const& piece : random.pieces(data))
        piece.empty() ? crc.addBuff(nullptr, 0u) : crc.addBuff(piece.data(), &piece.back());
    EXPECT_EQ(crc.addBuff("", 0u), sum) << data.size() << " bytes";
    return sum;
}
}

TEST(Crc32, FirstObjectsOfManyThreadsDecideOnThePolynomial)
{
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([] { EXPECT_NE(Crc32().addByte(0), Crc32Reflected().addByte(0)); });
    }
    EXPECT_EQ(Crc32(0x1EDC6F41).addBuff(CHECK, 9u), 0x0376E6E7u) << "what catalogues call CRC-32/MPEG-2";
    EXPECT_EQ(~Crc32Reflected(0x1EDC6F41).addBuff(CHECK, CHECK + 8), 0xCBF43926u) << "CRC-32 of IEEE 802.3";
}

TEST(Crc32, SumIsTheSameHoweverDataIsAdded)
{
    RandomBytes random;
    for (unsigned int round = 0; round < 200; ++round)
    {
        std::string const data = random.bytes(round < 100 ? round : random.below(10001));
        sumOf<Crc32>(random, data);
        [[maybe_unused]] unsigned int const sum = ~sumOf<Crc32Reflected>(random, data);
#ifdef ZEKOVAR_TEST_HAS_ZLIB
        ASSERT_EQ(sum, ::crc32(0, raw(data), sizeOf(data))) << data.size() << " bytes";
#endif
    }
    EXPECT_EQ(Crc32Reflected::reflect32(0x04C11DB7), 0xEDB88320u);
}
