#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace ZK::Property::Detail
{
/// Owns nodes that stay where they are while the list changes: the elements of an array, the members of an object.
///
/// Most lists are read or copied as a whole and not changed again, so such nodes lie behind each other in one block,
/// without a pointer to each. What doesn't fit into the block any more, or changes the order, makes the list one of
/// pointers, of which some lead into the block. That list grows by half of its size, at first by all of it.
template <class T>
class NodeList
{
public:
    NodeList() = default;
    NodeList(NodeList const&) = delete;
    NodeList& operator=(NodeList const&) = delete;

    ~NodeList() { clear(); }

    unsigned int size() const { return m_size; }

    T& operator[](unsigned int index) { return m_isSpread ? *m_spread->nodes()[index] : m_block[index]; }

    T const& operator[](unsigned int index) const { return const_cast<NodeList&>(*this)[index]; }

    /// Makes room for `count` nodes in all. Without memory it throws, as `new` does.
    void reserve(unsigned int count)
    {
        if (count <= m_capacity)
            return;
        if (m_capacity > 0)
            makeRoom(count);
        else
            setBlock(allocateBlock(count), count);
    }

    /// Makes a node of the arguments, and adds it.
    template <class... Arguments>
    T& add(Arguments&&... arguments)
    {
        if (m_isSpread || m_size == m_capacity)
            return adopt(std::unique_ptr<T>(make(::operator new(sizeof(T)), std::forward<Arguments>(arguments)...)));
        T* const added = make(&m_block[m_size], std::forward<Arguments>(arguments)...);
        m_size++;
        return *added;
    }

    /// Adds a node that stays where it is.
    T& adopt(std::unique_ptr<T> node)
    {
        T& added = *node;
        insert(m_size, std::move(node));
        return added;
    }

    /// Inserts in front of `index`, which is 0 to the size.
    void insert(unsigned int index, std::unique_ptr<T> node)
    {
        if (!m_isSpread || m_size == m_capacity)
            makeRoom(m_size < SMALL ? std::max(m_size * 2, FIRST_CAPACITY) : m_size + m_size / 2);
        T** const place = m_spread->nodes() + index;
        std::memmove(place + 1, place, (m_size - index) * sizeof(T*));
        *place = node.release();
        m_size++;
    }

    /// Puts `node` in the place of another one, which is destroyed.
    void replace(unsigned int index, std::unique_ptr<T> node)
    {
        if (!m_isSpread)
            makeRoom(m_size);
        destroy(std::exchange(m_spread->nodes()[index], node.release()));
    }

    /// Destroys a node.
    void remove(unsigned int index)
    {
        if (!m_isSpread && index + 1 == m_size)
        {
            m_block[--m_size].~T();
            return;
        }
        if (!m_isSpread)
            makeRoom(m_size);
        T** const place = m_spread->nodes() + index;
        T* const node = *place;
        m_size--;
        std::memmove(place, place + 1, (m_size - index) * sizeof(T*));
        destroy(node);
    }

    /// Destroys all nodes.
    void clear()
    {
        while (m_isSpread && m_size > 0)
            destroy(m_spread->nodes()[--m_size]);
        while (m_size > 0)
            m_block[--m_size].~T();
        std::free(m_isSpread ? static_cast<void*>(m_spread) : m_block);
        setBlock(nullptr, 0);
    }

    /// Memory for a block of nodes, 1 and more; from `std::malloc`, and free to be moved as long as no list has it.
    static T* allocateBlock(unsigned int count) { return static_cast<T*>(resized(nullptr, 0, sizeof(T), count)); }

    /// Gives back what a block has behind its first `count` nodes; they may move.
    static T* fitBlock(T* block, unsigned int count)
    {
        void* const fitting = std::realloc(static_cast<void*>(block), count * sizeof(T));
        return fitting != nullptr ? static_cast<T*>(fitting) : block;
    }

    /// For an empty list without room: `block`, from `allocateBlock`, belongs to it, with `count` nodes in it.
    void adoptBlock(T* block, unsigned int count)
    {
        setBlock(block, count);
        m_size = count;
    }

    /// Destroys the nodes from `count` on, 1 and more, of a list whose nodes nobody refers to yet: they may move.
    void shrinkBlock(unsigned int count)
    {
        while (m_size > count)
            remove(m_size - 1);
        setBlock(fitBlock(m_block, count), count);
    }

private:
    static constexpr unsigned int FIRST_CAPACITY = 4;
    static constexpr unsigned int SMALL = 32; // below, it doubles
    static constexpr unsigned int LARGEST = INT32_MAX;

    /// Pointers to nodes stand behind it. A node that isn't in the block was made by `new`.
    struct Spread
    {
        T* block; // freed with its last node
        uint32_t blockSize;
        uint32_t blockNodes;

        T** nodes() { return reinterpret_cast<T**>(this + 1); }
    };

    static void* resized(void* memory, std::size_t head, std::size_t nodeSize, unsigned int count)
    {
        bool const isInRange = count <= LARGEST && count < (SIZE_MAX / 2 - head) / nodeSize;
        void* const nodes = isInRange ? std::realloc(memory, head + count * nodeSize) : nullptr;
        if (nodes == nullptr)
            throw std::bad_alloc();
        return nodes;
    }

    template <class... Arguments>
    static T* make(void* memory, Arguments&&... arguments)
    {
        if constexpr (std::is_aggregate_v<T>)
            return new (memory) T{std::forward<Arguments>(arguments)...};
        else
            return new (memory) T(std::forward<Arguments>(arguments)...);
    }

    void setBlock(T* block, unsigned int count)
    {
        m_block = block;
        m_capacity = count;
        m_isSpread = false;
    }

    // Makes the list one of pointers, with room for `count` nodes.
    void makeRoom(unsigned int count)
    {
        void* const old = m_isSpread ? m_spread : nullptr;
        auto* const spread = static_cast<Spread*>(resized(old, sizeof(Spread), sizeof(T*), count));
        if (!m_isSpread)
        {
            if (m_size == 0)
                std::free(std::exchange(m_block, nullptr));
            *spread = {m_block, m_capacity, m_size};
            for (uint32_t i = 0; i < m_size; i++)
                spread->nodes()[i] = m_block + i;
        }
        m_spread = spread;
        m_capacity = count;
        m_isSpread = true;
    }

    // For a node of a list of pointers, which doesn't lead to it any more.
    void destroy(T* node)
    {
        T* const block = m_spread->block;
        if (block == nullptr || std::less<>()(node, block) || !std::less<>()(node, block + m_spread->blockSize))
        {
            delete node;
            return;
        }
        node->~T();
        if (--m_spread->blockNodes == 0)
            std::free(std::exchange(m_spread->block, nullptr));
    }

    union
    {
        T* m_block = nullptr; // nodes behind each other
        Spread* m_spread;
    };

    uint32_t m_size = 0;
    uint32_t m_capacity : 31 = 0;
    uint32_t m_isSpread : 1 = false;
};
}
