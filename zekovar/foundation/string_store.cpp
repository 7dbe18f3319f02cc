#include "zekovar/foundation/string_store.h"

#include <bit>

namespace ZK::Detail
{

namespace
{

constexpr int LONGEST_DOUBLING_LENGTH = 4094; // from 4095 on with its zero it would pass one page
constexpr int LARGE_UNIT = 4096;

}

int StringStore::CAPACITY_FOR_LENGTH(int length)
{
    if (length <= 0)
        return 0;
    if (length <= LONGEST_DOUBLING_LENGTH)
        return static_cast<int>(std::bit_ceil(static_cast<unsigned>(length) + 1) - 1);
    if (length > MAX_LENGTH)
        return MAX_LENGTH;
    return ((length - 1) & -LARGE_UNIT) + LARGE_UNIT;
}

StringStore::Buffer StringStore::ALLOCATE(int length) noexcept
{
    if (length > MAX_LENGTH)
        return {nullptr, 0};
    int const capacity = CAPACITY_FOR_LENGTH(length);
    return {static_cast<char*>(std::malloc(static_cast<std::size_t>(capacity) + 1)), capacity};
}

char* StringStore::alloc(int length) noexcept
{
    if (!isInline())
        std::free(m_raw.storage.heap);
    m_raw = EMPTY;
    if (length <= INLINE_CAPACITY)
    {
        setLength(length > 0 ? length : 0);
        return m_raw.storage.text;
    }
    Buffer const buffer = ALLOCATE(length);
    if (buffer.text != nullptr)
        adopt(buffer, length);
    return buffer.text;
}

void StringStore::initLong(char const* text, std::size_t size) noexcept
{
    if (size > static_cast<std::size_t>(MAX_LENGTH))
        return;
    Buffer const buffer = ALLOCATE(static_cast<int>(size));
    if (buffer.text == nullptr)
        return;
    std::memcpy(buffer.text, text, size);
    adopt(buffer, static_cast<int>(size));
}

}
