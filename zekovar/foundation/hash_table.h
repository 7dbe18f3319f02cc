#pragma once

#include "zekovar/foundation/hash_policy.h"
#include "zekovar/foundation/string.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

/// A table of entries in the order in which they were added. It never rehashes: the number of buckets is fixed, so it
/// suits tens or hundreds of entries.
///
/// `add` doesn't look for an entry of the same key; of several entries with one key the oldest is found. `K` and `V`
/// have default constructors. An entry stays where it is until it is erased. No lock: the owner guards it.
///
///     ZKStringHashTable<int> ports;
///     ports.set("http", 80);
///     for (auto const& entry : ports)
///         print(entry.key(), entry.value());
///
/// @tparam Hash gives an unsigned number for a key
/// @tparam Compare tells whether two keys are equal
template <class K, class V, class Hash, class Compare>
class ZKHashTable
{
public:
    /// An entry.
    class Node
    {
    public:
        Node() : m_key(), m_value() {}

        Node(K const& key, V const& value) : m_key(key), m_value(value) {}

        Node(Node const&) = delete;
        Node& operator=(Node const&) = delete;

        K const& key() const { return m_key; }

        V& value() { return m_value; }

        V const& value() const { return m_value; }

    private:
        friend class ZKHashTable;

        Node* m_older = this;
        Node* m_newer = this;
        Node* m_chainPrevious = this;
        Node* m_chainNext = this;
        K m_key;
        V m_value;
    };

    template <class N>
    class BasicIterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = Node;
        using difference_type = std::ptrdiff_t;
        using pointer = N*;
        using reference = N&;

        BasicIterator() = default;

        template <class M>
        BasicIterator(BasicIterator<M> const& other) requires std::is_convertible_v<M*, N*> : m_node(other.m_node)
        {
        }

        N& operator*() const { return *m_node; }

        N* operator->() const { return m_node; }

        K const& key() const { return m_node->key(); }

        auto& value() const { return m_node->value(); }

        BasicIterator& operator++()
        {
            m_node = m_node->m_newer;
            return *this;
        }

        friend bool operator==(BasicIterator const& left, BasicIterator const& right) = default;

    private:
        friend class ZKHashTable;
        template <class M>
        friend class BasicIterator;

        explicit BasicIterator(N* node) : m_node(node) {}

        N* m_node = nullptr;
    };

    using Iterator = BasicIterator<Node>;
    using ConstIterator = BasicIterator<Node const>;

    static constexpr unsigned int DEFAULT_BUCKET_COUNT = 16;

    ZKHashTable() : ZKHashTable(DEFAULT_BUCKET_COUNT) {}

    /// 0 gives the default number of buckets.
    explicit ZKHashTable(unsigned int bucketCount)
        : m_bucketCount(bucketCount != 0 ? bucketCount : DEFAULT_BUCKET_COUNT), m_buckets(new Node*[m_bucketCount]())
    {
    }

    /// Has as many buckets as `other`.
    ZKHashTable(ZKHashTable const& other) : ZKHashTable(other.m_bucketCount)
    {
        for (Node const& node : other)
            add(node.key(), node.value());
    }

    /// Takes the entries where they lie; `other` becomes empty.
    ZKHashTable(ZKHashTable&& other) : ZKHashTable(other.m_bucketCount) { swap(other); }

    virtual ~ZKHashTable()
    {
        clear();
        for (uint32_t i = 0; i < m_bucketCount; i++)
            delete m_buckets[i];
        delete[] m_buckets;
    }

    /// Takes copies of the entries in place of the own ones, and keeps the own number of buckets.
    ZKHashTable& operator=(ZKHashTable const& other)
    {
        if (this != &other)
        {
            ZKHashTable copy(m_bucketCount);
            for (Node const& node : other)
                copy.add(node.key(), node.value());
            swap(copy);
        }
        return *this;
    }

    /// Swaps the entries together with their buckets.
    ZKHashTable& operator=(ZKHashTable&& other) noexcept
    {
        swap(other);
        return *this;
    }

    /// The entries stay where they are; only the tables that they belong to change.
    void swap(ZKHashTable& other) noexcept
    {
        std::swap(m_bucketCount, other.m_bucketCount);
        std::swap(m_count, other.m_count);
        std::swap(m_buckets, other.m_buckets);
        std::swap(m_order.m_older, other.m_order.m_older);
        std::swap(m_order.m_newer, other.m_order.m_newer);
        closeOrder();
        other.closeOrder();
    }

    unsigned int size() const { return m_count; }

    bool isEmpty() const { return m_count == 0; }

    /// Adds an entry behind all others, even if the key has one already. The reference leads to its value.
    V& add(K const& key, V const& value) { return add(key, value, m_buckets[bucketOf(key)]); }

    /// As `add`, with an entry from `new` that belongs to no table; the table owns it from here on.
    V& _add(Node* node) { return link(node, m_buckets[bucketOf(node->m_key)]); }

    /// False, with `value` untouched, if there is no entry of this key.
    bool get(K const& key, V& value) const
    {
        Node const* node = find(key);
        if (node == nullptr)
            return false;
        value = node->m_value;
        return true;
    }

    /// False, with `position` at `end()`, if there is no entry of this key.
    bool get(K const& key, ConstIterator& position) const
    {
        Node const* node = find(key);
        position = node != nullptr ? ConstIterator(node) : end();
        return node != nullptr;
    }

    bool get(K const& key, Iterator& position)
    {
        Node* node = find(key);
        position = node != nullptr ? Iterator(node) : end();
        return node != nullptr;
    }

    bool contains(K const& key) const { return find(key) != nullptr; }

    /// Replaces the value of the oldest entry of this key, or adds one.
    void set(K const& key, V const& value)
    {
        Node*& bucket = m_buckets[bucketOf(key)];
        if (Node* node = find(key, bucket))
            node->m_value = value;
        else
            add(key, value, bucket);
    }

    /// Erases the oldest entry of this key and hands its value out. False, with `value` untouched, if there is none.
    bool remove(K const& key, V& value)
    {
        Node* node = find(key);
        if (node == nullptr)
            return false;
        value = node->m_value;
        erase(node);
        return true;
    }

    /// Erases the oldest entry of this key; false if there is none.
    bool remove(K const& key)
    {
        Node* node = find(key);
        if (node != nullptr)
            erase(node);
        return node != nullptr;
    }

    /// Erases the entry that `position` stands at and moves `position` to the next one. At the end it does nothing.
    /// Other iterators at that entry become invalid.
    void erase(Iterator& position)
    {
        Node* node = position.m_node;
        if (node == &m_order)
            return;
        position.m_node = node->m_newer;
        erase(node);
    }

    /// Erases all entries, the oldest first, also those that a value's destructor adds.
    void clear()
    {
        while (m_order.m_newer != &m_order)
            erase(m_order.m_newer);
    }

    Iterator begin() { return Iterator(m_order.m_newer); }

    Iterator end() { return Iterator(&m_order); }

    ConstIterator begin() const { return ConstIterator(m_order.m_newer); }

    ConstIterator end() const { return ConstIterator(&m_order); }

private:
    uint32_t bucketOf(K const& key) const
    {
        auto const hash = Hash()(key);
        uint32_t const mask = m_bucketCount - 1;
        bool const isPowerOfTwo = (m_bucketCount & mask) == 0; // spares the usual table a division
        return static_cast<uint32_t>(isPowerOfTwo ? hash & mask : hash % m_bucketCount);
    }

    Node* find(K const& key) const { return find(key, m_buckets[bucketOf(key)]); }

    static Node* find(K const& key, Node* bucket)
    {
        if (bucket == nullptr)
            return nullptr;
        for (Node* node = bucket->m_chainNext; node != bucket; node = node->m_chainNext)
        {
            if (Compare()(node->m_key, key))
                return node;
        }
        return nullptr;
    }

    V& add(K const& key, V const& value, Node*& bucket)
    {
        auto node = std::make_unique<Node>(key, value);
        V& added = link(node.get(), bucket);
        node.release();
        return added;
    }

    V& link(Node* node, Node*& bucket)
    {
        if (bucket == nullptr)
            bucket = new Node();
        node->m_older = m_order.m_older;
        node->m_newer = &m_order;
        m_order.m_older->m_newer = node;
        m_order.m_older = node;
        node->m_chainPrevious = bucket->m_chainPrevious;
        node->m_chainNext = bucket;
        bucket->m_chainPrevious->m_chainNext = node;
        bucket->m_chainPrevious = node;
        m_count++;
        return node->m_value;
    }

    void erase(Node* node)
    {
        node->m_older->m_newer = node->m_newer;
        node->m_newer->m_older = node->m_older;
        node->m_chainPrevious->m_chainNext = node->m_chainNext;
        node->m_chainNext->m_chainPrevious = node->m_chainPrevious;
        delete node;
        m_count--;
    }

    void closeOrder()
    {
        if (m_count == 0)
        {
            m_order.m_older = &m_order;
            m_order.m_newer = &m_order;
            return;
        }
        m_order.m_older->m_newer = &m_order;
        m_order.m_newer->m_older = &m_order;
    }

    uint32_t m_bucketCount;
    uint32_t m_count = 0;
    Node m_order;     // its key and value are no entry
    Node** m_buckets; // a marker node for each bucket, null until the bucket is first used
};

template <class V>
class ZKStringHashTable : public ZKHashTable<String, V, StringHash, StringCompare>
{
public:
    using ZKHashTable<String, V, StringHash, StringCompare>::ZKHashTable;
};

template <class V>
class ZKIntHashTable : public ZKHashTable<int, V, NumberHash<int>, NumberCompare<int>>
{
public:
    using ZKHashTable<int, V, NumberHash<int>, NumberCompare<int>>::ZKHashTable;
};

template <class V>
class ZKUIntHashTable : public ZKHashTable<unsigned int, V, NumberHash<unsigned int>, NumberCompare<unsigned int>>
{
public:
    using ZKHashTable<unsigned int, V, NumberHash<unsigned int>, NumberCompare<unsigned int>>::ZKHashTable;
};

template <class V>
class ZKPtrHashTable : public ZKHashTable<void const*, V, PtrHash, PtrCompare>
{
public:
    using ZKHashTable<void const*, V, PtrHash, PtrCompare>::ZKHashTable;
};
