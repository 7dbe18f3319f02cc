#pragma once

#include "zekovar/foundation/text.h"

#include <cstdint>
#include <memory>
#include <new>
#include <utility>

/// A ring of pointers, oldest first out, for one thread at a time. One place stays free, to tell full from empty: a ring
/// of capacity N holds N - 1 pointers. It owns none of them and allocates only when it is built.
template <class T>
class ZKQ
{
public:
    /// The capacity is the next power of two from `capacity` on, at least 1. From 0x20000000 on it throws
    /// `std::bad_array_new_length`, also where the memory were there.
    explicit ZKQ(uint32_t capacity)
        : m_capacity(roundedUp(capacity)),
          m_mask(m_capacity - 1),
          m_slots(std::make_unique<T[]>(m_capacity)),
          m_head(0),
          m_tail(0)
    {
    }

    ZKQ(ZKQ const&) = delete;
    ZKQ& operator=(ZKQ const&) = delete;

    /// False, and nothing stored, if the ring is full.
    bool put(T pointer)
    {
        if (isFull())
            return false;
        m_tail = (m_tail + 1) & m_mask;
        m_slots[m_tail] = pointer;
        return true;
    }

    /// The oldest pointer, which leaves the ring; null if there is none.
    T get()
    {
        if (isEmpty())
            return T();
        m_head = (m_head + 1) & m_mask;
        return std::exchange(m_slots[m_head], T());
    }

    /// The pointer that `index` others are older than; `index` is below the fill level.
    T operator[](uint32_t index) const { return m_slots[(m_head + 1 + index) & m_mask]; }

    bool isEmpty() const { return m_head == m_tail; }

    bool isFull() const { return ((m_tail + 1) & m_mask) == m_head; }

    uint32_t getFillLevel() const { return (m_tail - m_head) & m_mask; }

    uint32_t getCapacity() const { return m_capacity; }

private:
    static uint32_t roundedUp(uint32_t capacity)
    {
        if (capacity > 0x10000000)
            throw std::bad_array_new_length();
        return nextHigherPowerOf2(capacity);
    }

    uint32_t m_capacity;
    uint32_t m_mask;
    std::unique_ptr<T[]> m_slots;
    uint32_t m_head; // the slot before the oldest pointer; both are kept masked
    uint32_t m_tail; // the slot of the newest pointer
};
