#pragma once

#include "zekovar/foundation/text.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex_private.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <utility>

/// A ring of fixed capacity between threads; it neither blocks nor allocates once it is built.
template <class T>
class ZKReentrantQ
{
public:
    /// The capacity is the next power of two from `capacity` on, at least 1.
    explicit ZKReentrantQ(uint32_t capacity)
        : m_capacity(nextHigherPowerOf2(capacity)),
          m_mask(m_capacity - 1),
          m_slots(std::make_unique<T[]>(m_capacity)),
          m_readIndex(0),
          m_writeIndex(0),
          m_mutex(false)
    {
    }

    ZKReentrantQ(ZKReentrantQ const&) = delete;
    ZKReentrantQ& operator=(ZKReentrantQ const&) = delete;

    /// The code of EXFULL if the ring is full.
    XCode put(T const& value)
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        if (m_writeIndex == m_readIndex + m_capacity)
            return XCode(XCODE_ERRNO + EXFULL);
        m_slots[m_writeIndex++ & m_mask] = value;
        return XCODE_SUCCESS;
    }

    /// Takes the oldest value; the code of ENOENT, and `value` untouched, if the ring is empty.
    XCode get(T& value)
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        if (m_readIndex == m_writeIndex)
            return XCode(XCODE_ERRNO + ENOENT);
        value = std::exchange(m_slots[m_readIndex++ & m_mask], T());
        return XCODE_SUCCESS;
    }

    uint32_t getCapacity() const { return m_capacity; }

private:
    uint32_t m_capacity;
    uint32_t m_mask;
    std::unique_ptr<T[]> m_slots;
    uint32_t m_readIndex; // both run on and are masked when used
    uint32_t m_writeIndex;
    ZKMutexPrivate m_mutex; // guards the indices and the slots
};
