#include "zekovar/crypto/crc32.h"

#include "zekovar/crypto/byte_order.h"

namespace
{
using Tables = ZK::Detail::Crc32Tables;

constexpr uint32_t START = 0xFFFFFFFF;
constexpr int STRIDE = Tables::ROWS; // bytes that are looked up at once

/// The order of the plain CRC: the first byte of the data, and of the state, is the most significant one.
struct HighFirst
{
    static uint32_t load(unsigned char const* data) { return ZK::Detail::loadBig32(data); }

    static uint32_t byteOf(uint32_t word, int index) { return word >> (24 - 8 * index) & 0xFF; }

    static uint32_t dropByte(uint32_t word) { return word << 8; }
};

/// The order of the reflected one.
struct LowFirst
{
    static uint32_t load(unsigned char const* data) { return ZK::Detail::loadLittle32(data); }

    static uint32_t byteOf(uint32_t word, int index) { return word >> (8 * index) & 0xFF; }

    static uint32_t dropByte(uint32_t word) { return word >> 8; }
};

uint32_t plainEntry(uint32_t polynomial, unsigned char index)
{
    uint32_t entry = static_cast<uint32_t>(index) << 24;
    for (int i = 0; i < 8; ++i)
        entry = entry << 1 ^ ((entry & 0x80000000) != 0 ? polynomial : 0);
    return entry;
}

template <class Order>
uint32_t add(uint32_t const (&table)[256], uint32_t state, unsigned char byte)
{
    return Order::dropByte(state) ^ table[Order::byteOf(state, 0) ^ byte];
}

template <class Order>
uint32_t add(Tables const& tables, uint32_t state, char const* text, std::size_t length)
{
    auto const& rows = tables.rows;
    auto const* data = reinterpret_cast<unsigned char const*>(text);
    for (; length >= STRIDE; length -= STRIDE, data += STRIDE)
    {
        uint32_t const first = state ^ Order::load(data);
        uint32_t const second = Order::load(data + 4);
        state = 0;
        for (int i = 0; i < 4; ++i)
            state ^= rows[7 - i][Order::byteOf(first, i)] ^ rows[3 - i][Order::byteOf(second, i)];
    }
    for (; length > 0; --length, ++data)
        state = add<Order>(rows[0], state, *data);
    return state;
}

/// Makes the rows behind the first one.
template <class Order>
void extend(Tables& tables)
{
    for (int row = 1; row < Tables::ROWS; ++row)
    {
        for (int i = 0; i < 256; ++i)
            tables.rows[row][i] = add<Order>(tables.rows[0], tables.rows[row - 1][i], 0);
    }
}

std::size_t lengthOf(char const* first, char const* last)
{
    return last < first ? 0 : static_cast<std::size_t>(last - first) + 1;
}
}

constinit Tables Crc32::s_tables;
constinit Tables Crc32Reflected::s_tables;

Crc32::Crc32(unsigned int polynomial) : m_state(START)
{
    std::call_once(s_tables.built,
                   [polynomial]
                   {
                       for (int i = 0; i < 256; ++i)
                           s_tables.rows[0][i] = plainEntry(polynomial, static_cast<unsigned char>(i));
                       extend<HighFirst>(s_tables);
                   });
}

void Crc32::reset()
{
    m_state = START;
}

unsigned int Crc32::addByte(char byte)
{
    return m_state = ::add<HighFirst>(s_tables.rows[0], m_state, static_cast<unsigned char>(byte));
}

unsigned int Crc32::addBuff(char const* data, unsigned int length)
{
    return m_state = ::add<HighFirst>(s_tables, m_state, data, length);
}

unsigned int Crc32::addBuff(char const* first, char const* last)
{
    return m_state = ::add<HighFirst>(s_tables, m_state, first, lengthOf(first, last));
}

Crc32Reflected::Crc32Reflected(unsigned int polynomial) : m_state(START)
{
    std::call_once(s_tables.built,
                   [polynomial]
                   {
                       for (int i = 0; i < 256; ++i)
                       {
                           uint32_t const entry = plainEntry(polynomial, reflect8(static_cast<unsigned char>(i)));
                           s_tables.rows[0][i] = reflect32(entry);
                       }
                       extend<LowFirst>(s_tables);
                   });
}

void Crc32Reflected::reset()
{
    m_state = START;
}

unsigned int Crc32Reflected::addByte(char byte)
{
    return m_state = ::add<LowFirst>(s_tables.rows[0], m_state, static_cast<unsigned char>(byte));
}

unsigned int Crc32Reflected::addBuff(char const* data, unsigned int length)
{
    return m_state = ::add<LowFirst>(s_tables, m_state, data, length);
}

unsigned int Crc32Reflected::addBuff(char const* first, char const* last)
{
    return m_state = ::add<LowFirst>(s_tables, m_state, first, lengthOf(first, last));
}

unsigned char Crc32Reflected::reflect8(unsigned char value)
{
    return static_cast<unsigned char>(reflect32(value) >> 24);
}

unsigned int Crc32Reflected::reflect32(unsigned int value)
{
    unsigned int reflected = 0;
    for (int i = 0; i < 32; ++i)
        reflected |= (value >> i & 1) << (31 - i);
    return reflected;
}
