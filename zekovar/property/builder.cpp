#include "zekovar/property/builder.h"

#include <cstring>
#include <utility>

namespace ZK::Property
{
namespace
{
// of a stack that grows by what is still to be read
constexpr double LEEWAY = 1.02;
constexpr double SMALLEST_STEP = 1.25;

template <class T>
void moveBytes(T* target, T const* source, std::size_t count)
{
    std::memmove(static_cast<void*>(target), static_cast<void const*>(source), count * sizeof(T));
}
}

template <class T>
void Value::Store::Builder::Stack<T>::resize(std::size_t capacity)
{
    void* const nodes = std::realloc(static_cast<void*>(m_nodes), capacity * sizeof(T));
    if (nodes == nullptr)
        throw std::bad_alloc();
    m_nodes = static_cast<T*>(nodes);
    m_capacity = capacity;
}

template <class T>
void Value::Store::Builder::Stack<T>::growFor(double times, std::size_t most)
{
    auto const size = static_cast<double>(m_size);
    double const wanted = std::min(size * times * LEEWAY, size + static_cast<double>(most));
    resize(static_cast<std::size_t>(std::max(wanted, size * SMALLEST_STEP)));
}

template <class T>
T* Value::Store::Builder::Stack<T>::takeFrom(std::size_t start)
{
    std::size_t const count = m_size - start;
    if (count >= LARGE && count >= start)
        return giveMemory(start);
    T* const block = Detail::NodeList<T>::allocateBlock(static_cast<unsigned int>(count));
    moveBytes(block, m_nodes + start, count);
    m_size = start;
    return block;
}

// The nodes below `start`, which are fewer, move out of the stack's memory.
template <class T>
T* Value::Store::Builder::Stack<T>::giveMemory(std::size_t start)
{
    std::size_t const count = m_size - start;
    Stack rest;
    rest.resize(std::max(start, FIRST_CAPACITY));
    moveBytes(rest.m_nodes, m_nodes, start);
    moveBytes(m_nodes, m_nodes + start, count);
    bool const isRoomy = m_capacity - count > count / 4;
    T* const given = isRoomy ? Detail::NodeList<T>::fitBlock(m_nodes, static_cast<unsigned int>(count)) : m_nodes;
    m_nodes = std::exchange(rest.m_nodes, nullptr);
    m_capacity = rest.m_capacity;
    m_size = start;
    return given;
}

template class Value::Store::Builder::Stack<Value>;
template class Value::Store::Builder::Stack<String>;

void Value::Store::Builder::endArray(std::size_t start)
{
    auto const count = static_cast<unsigned int>(m_values.size() - start);
    Value array(new Store(Type::ARRAY));
    if (count > 0)
        array.m_payload.store->elements().adoptBlock(m_values.takeFrom(start), count);
    m_values.add(std::move(array));
}

void Value::Store::Builder::endObject(std::size_t start)
{
    auto const count = static_cast<unsigned int>(m_values.size() - start);
    Value object(new Store(Type::OBJECT));
    if (count > 0)
    {
        std::size_t const firstKey = m_keys.size() - count;
        Member* const block = Store::Members::allocateBlock(count);
        for (unsigned int i = 0; i < count; i++)
        {
            moveBytes(&block[i].key, &m_keys[firstKey + i], 1);
            moveBytes(&block[i].value, &m_values[start + i], 1);
        }
        m_keys.forgetFrom(firstKey);
        m_values.forgetFrom(start);
        object.m_payload.store->adoptMembers(block, count);
    }
    m_values.add(std::move(object));
}
}
