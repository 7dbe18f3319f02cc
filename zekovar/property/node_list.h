#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace ZK::Property::Detail
{
/// Owns nodes that stay where they are while the list changes: the elements of an array, the members of an object.
///
/// It is small, as there are many of them in a document, and grows by half of its size, at first by all of it. It
/// doesn't destroy its nodes: they may be nested without limit, so their owner takes them out one by one and decides how.
template <class T>
class NodeList
{
public:
    NodeList() = default;
    NodeList(NodeList const&) = delete;
    NodeList& operator=(NodeList const&) = delete;

    ~NodeList() { std::free(m_nodes); }

    unsigned int size() const { return m_size; }

    T** begin() { return m_nodes; }

    T** end() { return m_nodes + m_size; }

    T const* const* begin() const { return m_nodes; }

    T const* const* end() const { return m_nodes + m_size; }

    T*& operator[](unsigned int index) { return m_nodes[index]; }

    T const* operator[](unsigned int index) const { return m_nodes[index]; }

    /// Makes room for `count` nodes in all. Without memory it throws, as `new` does.
    void reserve(unsigned int count)
    {
        if (count <= m_capacity)
            return;
        void* const nodes = count < UINT32_MAX / sizeof(T*) ? std::realloc(m_nodes, count * sizeof(T*)) : nullptr;
        if (nodes == nullptr)
            throw std::bad_alloc();
        m_nodes = static_cast<T**>(nodes);
        m_capacity = count;
    }

    /// Inserts in front of `index`, which is 0 to the size.
    void insert(unsigned int index, std::unique_ptr<T> node)
    {
        if (m_size == m_capacity)
            reserve(m_capacity < SMALL ? std::max(m_capacity * 2, FIRST_CAPACITY) : m_capacity + m_capacity / 2);
        if (index < m_size)
            std::memmove(m_nodes + index + 1, m_nodes + index, (m_size - index) * sizeof(T*));
        m_nodes[index] = node.release();
        m_size++;
    }

    T& add(std::unique_ptr<T> node)
    {
        T& added = *node;
        insert(m_size, std::move(node));
        return added;
    }

    std::unique_ptr<T> take(unsigned int index)
    {
        std::unique_ptr<T> node(m_nodes[index]);
        m_size--;
        if (index < m_size)
            std::memmove(m_nodes + index, m_nodes + index + 1, (m_size - index) * sizeof(T*));
        return node;
    }

private:
    static constexpr unsigned int FIRST_CAPACITY = 4;
    static constexpr unsigned int SMALL = 32; // below, it doubles

    T** m_nodes = nullptr;
    uint32_t m_size = 0;
    uint32_t m_capacity = 0;
};
}
