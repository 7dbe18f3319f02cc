#pragma once

#include <cstdint>
#include <mutex>

namespace ZK::Detail
{
/// Row 0 is the table of a CRC: what a byte at the edge of the state becomes. Row n is what becomes of it when n zero
/// bytes follow, so that several bytes are looked up at once.
struct Crc32Tables
{
    static constexpr int ROWS = 8;

    std::once_flag built;
    uint32_t rows[ROWS][256] = {};
};
}

/// CRC-32 that shifts to the left, most significant bit first, without a final inversion: the checksum of stored
/// passwords and preferences.
///
///     Crc32 crc;
///     crc.addBuff(line.c_str(), line.length());
///     unsigned int const sum = crc.addByte('\n');
///
/// The first object of the process decides on the polynomial for all of them, because they share one table. Objects may
/// be made by any thread; one object belongs to one thread at a time. Each operation that adds returns the new state,
/// which is the CRC of all since the last reset.
class Crc32
{
public:
    static constexpr unsigned int DEFAULT_POLYNOMIAL = 0x04C11DB7;

    Crc32() : Crc32(DEFAULT_POLYNOMIAL) {}

    /// The polynomial without its highest term, that of x to the 31st in the top bit. It is ignored if any object was
    /// made before.
    explicit Crc32(unsigned int polynomial);

    /// Back to the start, 0xFFFFFFFF.
    void reset();

    unsigned int addByte(char byte);

    /// Adds `length` bytes.
    unsigned int addBuff(char const* data, unsigned int length);

    /// Adds the bytes from `first` to `last`, the one at `last` included; nothing if `last` comes first.
    unsigned int addBuff(char const* first, char const* last);

private:
    static ZK::Detail::Crc32Tables s_tables;

    uint32_t m_state;
};

/// As `Crc32`, least significant bit first. With the default polynomial, the result inverted is the CRC-32 of IEEE
/// 802.3. The polynomial is given as to `Crc32`; the table, and so the first polynomial, is this class's own.
class Crc32Reflected
{
public:
    static constexpr unsigned int DEFAULT_POLYNOMIAL = Crc32::DEFAULT_POLYNOMIAL;

    Crc32Reflected() : Crc32Reflected(DEFAULT_POLYNOMIAL) {}

    explicit Crc32Reflected(unsigned int polynomial);

    void reset();
    unsigned int addByte(char byte);
    unsigned int addBuff(char const* data, unsigned int length);
    unsigned int addBuff(char const* first, char const* last);

    /// The bits in reverse order.
    static unsigned char reflect8(unsigned char value);
    static unsigned int reflect32(unsigned int value);

private:
    static ZK::Detail::Crc32Tables s_tables;

    uint32_t m_state;
};
