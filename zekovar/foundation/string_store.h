#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace ZK::Detail
{

/// Copies `count` bytes, 0 to 7, with at most two loads and two stores. Everything is read before anything is written.
inline void copyShort(char* target, char const* source, std::size_t count)
{
    if (count >= 4)
    {
        std::uint32_t head, tail;
        std::memcpy(&head, source, 4);
        std::memcpy(&tail, source + count - 4, 4);
        std::memcpy(target, &head, 4);
        std::memcpy(target + count - 4, &tail, 4);
    }
    else if (count >= 2)
    {
        std::uint16_t head, tail;
        std::memcpy(&head, source, 2);
        std::memcpy(&tail, source + count - 2, 2);
        std::memcpy(target, &head, 2);
        std::memcpy(target + count - 2, &tail, 2);
    }
    else if (count == 1)
    {
        *target = *source;
    }
}

/// The 16 bytes of a `String`: up to 7 characters inline, longer text in one `malloc`ed buffer that belongs to exactly
/// one store. It keeps no pointer into itself, so that it may be swapped and moved as raw bytes. The text always ends
/// with a zero byte.
class StringStore
{
public:
    static constexpr int INLINE_CAPACITY = 7;

    /// Longest text that a store can hold, in characters; `alloc` of more fails as if memory were out.
    static constexpr int MAX_LENGTH = 0x7FFFF000;

    /// Characters that a buffer made for `length` characters holds: up to 4094 the smallest 2^k - 1, from there on the
    /// smallest multiple of 4096, that isn't below `length`. 0 for a negative length.
    static int CAPACITY_FOR_LENGTH(int length);

    /// A buffer that belongs to no store yet. Growing goes through it, not through a second store: the swap of the two
    /// would load as one word what was just stored in halves, and wait for it.
    struct Buffer
    {
        char* text;
        int capacity;
    };

    /// A buffer for `length` characters, 8 and more. The text is null if memory is out or the length above
    /// `MAX_LENGTH`.
    static Buffer ALLOCATE(int length) noexcept;

    constexpr StringStore() noexcept : m_raw{0, 0, {{0, 0, 0, 0, 0, 0, 0, 0}}} {}

    /// Takes the whole value; `other` becomes empty.
    StringStore(StringStore&& other) noexcept : m_raw(std::exchange(other.m_raw, EMPTY)) {}

    ~StringStore()
    {
        if (m_raw.capacity != 0)
        {
            std::free(m_raw.storage.heap);
        }
    }

    StringStore(StringStore const&) = delete;
    StringStore& operator=(StringStore const&) = delete;

    /// Drops the content and makes room for `length` characters, inline below 8. The caller writes the text; the zero
    /// behind it is in place. Null if memory is out or the length above `MAX_LENGTH`, and the store is empty then.
    char* alloc(int length) noexcept;

    /// Drops the content and owns `buffer` from now on, which holds `length` characters; the zero is put behind them.
    void adopt(Buffer buffer, int length)
    {
        if (!isInline())
        {
            std::free(m_raw.storage.heap);
        }
        m_raw.capacity = buffer.capacity - INLINE_CAPACITY;
        m_raw.length = length;
        m_raw.storage.heap = buffer.text;
        buffer.text[length] = '\0';
    }

    /// Makes the text empty and keeps the buffer.
    void setEmpty() { setLength(0); }

    char* data()
    {
        if (isInline())
            return m_raw.storage.text;
        return m_raw.storage.heap;
    }

    char const* data() const
    {
        if (isInline())
            return m_raw.storage.text;
        return m_raw.storage.heap;
    }

    int length() const { return m_raw.length; }

    /// Characters that fit without growing.
    int capacity() const { return m_raw.capacity + INLINE_CAPACITY; }

    /// Sets the length, 0 to `capacity()`, and writes the zero behind it.
    void setLength(int length)
    {
        m_raw.length = length;
        data()[length] = '\0';
    }

    /// Appends 1 to 7 characters, for which there is room.
    void appendShort(char const* text, int count)
    {
        char* const end = data() + m_raw.length;
        m_raw.length += count;
        copyShort(end, text, static_cast<std::size_t>(count));
        end[count] = '\0';
    }

    /// Appends a character, for which there is room.
    void append(char character)
    {
        // widened without a sign: that takes no time between one append and the next
        char* const end = data() + static_cast<std::uint32_t>(m_raw.length);
        m_raw.length += 1;
        end[0] = character;
        end[1] = '\0';
    }

    void swap(StringStore& other) noexcept
    {
        std::swap(m_raw.capacity, other.m_raw.capacity);
        std::swap(m_raw.length, other.m_raw.length);
        std::swap(m_raw.storage, other.m_raw.storage);
    }

    /// For a store that was just built: takes `size` characters, of which it has room for 7 without a call.
    void init(char const* text, std::size_t size)
    {
        if (size <= std::size_t{INLINE_CAPACITY})
        {
            m_raw.length = static_cast<int>(size);
            copyShort(m_raw.storage.text, text, size);
        }
        else
        {
            initLong(text, size);
        }
    }

    /// For a store that was just built: takes the value of `other`.
    void init(StringStore const& other)
    {
        if (other.m_raw.capacity == 0)
        {
            m_raw = other.m_raw;
        }
        else
        {
            init(other.m_raw.storage.heap, static_cast<std::size_t>(other.m_raw.length));
        }
    }

private:
    struct Raw
    {
        std::int32_t capacity; // 0 for inline text, else what the buffer holds, less 7
        std::int32_t length;

        union
        {
            char text[8];
            char* heap;
        } storage;
    };

    static constexpr Raw EMPTY{0, 0, {{0, 0, 0, 0, 0, 0, 0, 0}}};

    /// A branch, not a choice without one, is wanted: that would load the word of the heap pointer just after
    /// characters were stored in it, and wait for them.
    bool isInline() const { return __builtin_expect(m_raw.capacity == 0, 1) != 0; }

    void initLong(char const* text, std::size_t size) noexcept;

    Raw m_raw;
};

static_assert(sizeof(StringStore) == 16, "daemons are compiled against this layout");

}
