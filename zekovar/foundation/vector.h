#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

/// An array that grows in steps of a fixed grain and, while it lives, never gives memory back.
///
/// `T` has a default constructor and can be assigned. Writing past the end extends the vector, and so does reading
/// through the `operator[]` that isn't const. Growth invalidates references to elements. No lock: the owner guards it.
template <class T>
class ZKVector
{
public:
    static constexpr unsigned int DEFAULT_GRAIN = 2;

    /// Allocates nothing yet. `grain` is the step of growth in elements; 0 gives the default.
    explicit ZKVector(unsigned int grain = DEFAULT_GRAIN) noexcept : m_grain(grain != 0 ? grain : DEFAULT_GRAIN) {}

    ZKVector(ZKVector const& other) : ZKVector(other.m_grain) { *this = other; }

    /// Takes the elements; `other` becomes empty.
    ZKVector(ZKVector&& other) noexcept : ZKVector(other.m_grain) { swap(other); }

    ~ZKVector() { delete[] m_elements; }

    /// Takes copies of the elements and keeps the own grain and at least the own capacity. Without memory the vector
    /// stays as it is.
    ZKVector& operator=(ZKVector const& other)
    {
        if (this == &other || (other.m_size > m_capacity && !enlarge(other.m_size)))
            return *this;
        for (unsigned int i = 0; i < other.m_size; i++)
            m_elements[i] = other.m_elements[i];
        truncate(other.m_size);
        m_size = other.m_size;
        return *this;
    }

    /// Swaps elements, capacity and grain.
    ZKVector& operator=(ZKVector&& other) noexcept
    {
        swap(other);
        return *this;
    }

    void swap(ZKVector& other) noexcept
    {
        std::swap(m_elements, other.m_elements);
        std::swap(m_size, other.m_size);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_grain, other.m_grain);
    }

    unsigned int size() const { return m_size; }

    unsigned int capacity() const { return m_capacity; }

    bool isEmpty() const { return m_size == 0; }

    /// Appends a copy, which may be one of the own elements. Without memory nothing is added.
    void add(T const& value)
    {
        if (m_size < m_capacity)
            m_elements[m_size++] = value;
        else
            add(T(value));
    }

    void add(T&& value)
    {
        if (m_size == m_capacity)
        {
            T kept(std::move(value)); // it may lie in the array that growth frees
            if (enlarge(m_size + 1))
                m_elements[m_size++] = std::move(kept);
            return;
        }
        m_elements[m_size++] = std::move(value);
    }

    /// Extends the vector to `index` + 1 elements if it is shorter, the new ones default-constructed. Without memory it
    /// stays as it is, and the reference leads to a spare value of the calling thread.
    T& operator[](unsigned int index)
    {
        if (index >= m_size)
        {
            if (index >= m_capacity && (index == UINT32_MAX || !enlarge(index + 1)))
                return spare();
            m_size = index + 1;
        }
        return m_elements[index];
    }

    /// Past the end it gives a default-constructed value.
    T const& operator[](unsigned int index) const { return index < m_size ? m_elements[index] : none(); }

    T* begin() { return m_elements; }

    T* end() { return m_elements + m_size; }

    T const* begin() const { return m_elements; }

    T const* end() const { return m_elements + m_size; }

    /// Gives the vector room for more than `needed` elements: (needed / grain + 1) * grain of them, unless it has as
    /// many already. False, with nothing changed, if memory is out.
    bool enlarge(unsigned int needed)
    {
        uint64_t const capacity = (static_cast<uint64_t>(needed) / m_grain + 1) * m_grain;
        if (capacity <= m_capacity)
            return true;
        if (capacity >= UINT32_MAX || capacity > static_cast<uint64_t>(PTRDIFF_MAX) / sizeof(T))
            return false;
        std::unique_ptr<T[]> elements(new (std::nothrow) T[static_cast<std::size_t>(capacity)]());
        if (!elements)
            return false;
        for (unsigned int i = 0; i < m_size; i++)
            elements[i] = std::move(m_elements[i]);
        delete[] m_elements;
        m_elements = elements.release();
        m_capacity = static_cast<unsigned int>(capacity);
        return true;
    }

    /// Resets the elements to default values, so that what they own is freed. The capacity stays.
    void clear()
    {
        truncate(0);
        m_size = 0;
    }

    /// Resets the last element and drops it. Does nothing if there is none.
    void removeLast()
    {
        if (m_size > 0)
            m_elements[--m_size] = T();
    }

    /// Removes every element that equals `value`, which may be one of them.
    template <class U>
    void remove(U const& value)
    {
        std::conditional_t<std::is_copy_constructible_v<U>, U const, U const&> wanted(value);
        unsigned int kept = 0;
        for (unsigned int i = 0; i < m_size; i++)
        {
            if (m_elements[i] == wanted)
                continue;
            if (kept != i)
                m_elements[kept] = std::move(m_elements[i]);
            kept++;
        }
        truncate(kept);
        m_size = kept;
    }

    template <class U>
    bool contains(U const& value) const
    {
        for (unsigned int i = 0; i < m_size; i++)
        {
            if (m_elements[i] == value)
                return true;
        }
        return false;
    }

private:
    // Elements behind the size hold default values at all times, so that extending needs no further work.
    void truncate(unsigned int size)
    {
        for (unsigned int i = size; i < m_size; i++)
            m_elements[i] = T();
    }

    [[gnu::cold]] static T const& none()
    {
        static T const VALUE{};
        return VALUE;
    }

    [[gnu::cold]] static T& spare()
    {
        static thread_local T value;
        value = T();
        return value;
    }

    T* m_elements = nullptr;
    uint32_t m_size = 0;
    uint32_t m_capacity = 0;
    uint32_t m_grain;
};
