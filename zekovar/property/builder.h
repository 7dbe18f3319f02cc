#pragma once

#include "zekovar/property/store.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

namespace ZK::Property
{
/// Builds values from the inside out, for readers of documents: what was read waits on a stack until its container ends,
/// and moves there in one piece. What is left on the stack is destroyed with the builder.
///
///     Value::Store::Builder builder;
///     builder.addKey("speed"), builder.add(1000);
///     builder.endObject(0);
///     value = builder.take();
class Value::Store::Builder
{
public:
    Builder() = default;
    Builder(Builder const&) = delete;
    Builder& operator=(Builder const&) = delete;

    /// Values on the stack; a container that begins now starts there.
    std::size_t size() const { return m_values.size(); }

    /// To be told how much of a document was read. A large stack that is full then gets the room that the rest will need
    /// if it goes on like this, as growing in steps would have it in memory twice.
    void noteProgress(std::size_t bytesRead, std::size_t bytesInAll)
    {
        if (m_values.isFull() && m_values.size() >= LARGE)
            m_values.growFor(static_cast<double>(bytesInAll) / static_cast<double>(bytesRead), bytesInAll - bytesRead);
    }

    /// A value made from what a `Value` can be made from.
    template <class T>
    void add(T&& value)
    {
        m_values.add(std::forward<T>(value));
    }

    void addText(std::string_view text) { m_values.add(Value(Store::MAKE_TEXT(text))); }

    /// The key of the next value, which becomes a member.
    void addKey(std::string_view key)
    {
        int const length = static_cast<int>(key.size());
        m_keys.add(key.data(), length, 0, length);
    }

    /// For a member whose value was dropped, or never came.
    void dropKey() { m_keys.dropFrom(m_keys.size() - 1); }

    /// Destroys the values from `start` on.
    void dropFrom(std::size_t start) { m_values.dropFrom(start); }

    /// Puts an array in the place of the values from `start` on, which become its elements.
    void endArray(std::size_t start);

    /// Puts an object in the place of the values from `start` on, each of which has a key. Of several members of one key
    /// the first stays, with the value of the last.
    void endObject(std::size_t start);

    /// The last value, taken from the stack.
    Value take()
    {
        Value last(std::move(m_values[m_values.size() - 1]));
        m_values.dropFrom(m_values.size() - 1);
        return last;
    }

private:
    static constexpr std::size_t FIRST_CAPACITY = 64;
    static constexpr std::size_t LARGE = 4096; // nodes that aren't worth being in memory twice

    /// Its nodes are moved as raw bytes: a `String` may be, and nothing leads to a value that was just read.
    template <class T>
    class Stack
    {
    public:
        Stack() = default;
        Stack(Stack const&) = delete;
        Stack& operator=(Stack const&) = delete;

        ~Stack()
        {
            dropFrom(0);
            std::free(m_nodes);
        }

        std::size_t size() const { return m_size; }

        bool isFull() const { return m_size == m_capacity; }

        T& operator[](std::size_t index) { return m_nodes[index]; }

        /// Makes a node where it will lie. A `String` that was just made is slow to move.
        template <class... Arguments>
        void add(Arguments&&... arguments)
        {
            if (isFull())
                grow();
            new (&m_nodes[m_size]) T(std::forward<Arguments>(arguments)...);
            m_size++;
        }

        void dropFrom(std::size_t start)
        {
            while (m_size > start)
                m_nodes[--m_size].~T();
        }

        /// Takes the nodes from `start` on, at least one, into memory of their own from `std::malloc`.
        T* takeFrom(std::size_t start);

        /// Forgets the nodes from `start` on, which were moved.
        void forgetFrom(std::size_t start) { m_size = start; }

        /// Makes room for so many times the nodes that are there, but hardly for more than `most` further ones.
        void growFor(double times, std::size_t most);

    private:
        T* giveMemory(std::size_t start);
        void resize(std::size_t capacity);

        void grow()
        {
            resize(m_capacity < LARGE ? std::max(m_capacity * 2, FIRST_CAPACITY) : m_capacity + m_capacity / 2);
        }

        T* m_nodes = nullptr;
        std::size_t m_size = 0;
        std::size_t m_capacity = 0;
    };

    Stack<Value> m_values;
    Stack<String> m_keys;
};
}
