#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>

/// A doubly linked list, circular through an end marker that lies in the list itself.
///
/// The marker holds a `T`, so `T` has a default constructor and a list is as large as one element and three words. An
/// element stays where it is until it is erased. No lock: the owner guards it.
///
///     for (ZKList<String>::Iterator it = lines.begin(); it != lines.end();)
///     {
///         if (it->length() == 0)
///             lines.erase(it); // moves `it` on
///         else
///             ++it;
///     }
template <class T>
class ZKList
{
    struct Node
    {
        Node() : previous(this), next(this), value() {}

        explicit Node(T const& initial) : previous(this), next(this), value(initial) {}

        Node* previous;
        Node* next;
        T value;
    };

public:
    class ConstIterator
    {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = T const*;
        using reference = T const&;

        ConstIterator() = default;
        ConstIterator(ConstIterator const&) = default;
        ConstIterator& operator=(ConstIterator const&) = default;
        virtual ~ConstIterator() = default;

        T const& operator*() const { return m_node->value; }

        T const* operator->() const { return &m_node->value; }

        ConstIterator& operator++()
        {
            m_node = m_node->next;
            return *this;
        }

        ConstIterator& operator--()
        {
            m_node = m_node->previous;
            return *this;
        }

        friend bool operator==(ConstIterator const& left, ConstIterator const& right)
        {
            return left.m_node == right.m_node;
        }

    protected:
        explicit ConstIterator(Node* node) : m_node(node) {}

        Node* m_node = nullptr;

        friend class ZKList;
    };

    class Iterator : public ConstIterator
    {
    public:
        using pointer = T*;
        using reference = T&;

        Iterator() = default;

        T& operator*() const { return this->m_node->value; }

        T* operator->() const { return &this->m_node->value; }

        Iterator& operator++()
        {
            ConstIterator::operator++();
            return *this;
        }

        Iterator& operator--()
        {
            ConstIterator::operator--();
            return *this;
        }

    private:
        explicit Iterator(Node* node) : ConstIterator(node) {}

        friend class ZKList;
    };

    ZKList() = default;

    ZKList(ZKList const& other) : ZKList()
    {
        for (T const& value : other)
            add(value);
    }

    /// Takes the elements where they lie; `other` becomes empty.
    ZKList(ZKList&& other) : ZKList() { swap(other); }

    ~ZKList() { clear(); }

    /// Takes copies of the elements in place of the own ones.
    ZKList& operator=(ZKList const& other)
    {
        if (this != &other)
        {
            ZKList copy(other);
            swap(copy);
        }
        return *this;
    }

    ZKList& operator=(ZKList&& other) noexcept
    {
        swap(other);
        return *this;
    }

    /// The elements stay where they are; only the lists that they belong to change.
    void swap(ZKList& other) noexcept
    {
        std::swap(m_marker.previous, other.m_marker.previous);
        std::swap(m_marker.next, other.m_marker.next);
        std::swap(m_count, other.m_count);
        closeRing();
        other.closeRing();
    }

    unsigned int size() const { return m_count; }

    bool isEmpty() const { return m_count == 0; }

    void add(T const& value) { link(new Node(value), &m_marker); }

    /// Inserts in front of all others.
    void addFirst(T const& value) { link(new Node(value), m_marker.next); }

    /// Inserts in front of the element that `position` stands at; at the end it appends.
    void insert(ConstIterator const& position, T const& value) { link(new Node(value), position.m_node); }

    /// Moves the first element out to `value`. False, with `value` untouched, if there is none.
    bool pop(T& value)
    {
        Node* node = m_marker.next;
        if (node == &m_marker)
            return false;
        unlink(node);
        m_count--;
        std::unique_ptr<Node> const owner(node);
        value = std::move(node->value);
        return true;
    }

    /// Removes the element that `position` stands at and moves `position` to the next one. At the end it does nothing.
    /// Other iterators at that element become invalid.
    void erase(Iterator& position)
    {
        Node* node = position.m_node;
        if (node == &m_marker)
            return;
        unlink(node);
        position.m_node = node->next;
        delete node;
        m_count--;
    }

    /// Erases the elements from the first on, also those that an element's destructor adds.
    void clear()
    {
        for (Iterator first = begin(); first != end(); first = begin())
            erase(first);
    }

    Iterator begin() { return Iterator(m_marker.next); }

    Iterator end() { return Iterator(&m_marker); }

    ConstIterator begin() const { return ConstIterator(m_marker.next); }

    ConstIterator end() const { return ConstIterator(const_cast<Node*>(&m_marker)); }

private:
    void link(Node* node, Node* next)
    {
        node->previous = next->previous;
        node->next = next;
        next->previous->next = node;
        next->previous = node;
        m_count++;
    }

    static void unlink(Node* node)
    {
        node->previous->next = node->next;
        node->next->previous = node->previous;
    }

    void closeRing()
    {
        if (m_count == 0)
        {
            m_marker.previous = &m_marker;
            m_marker.next = &m_marker;
            return;
        }
        m_marker.previous->next = &m_marker;
        m_marker.next->previous = &m_marker;
    }

    Node m_marker;
    uint32_t m_count = 0;
};
