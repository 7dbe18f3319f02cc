#pragma once

#include "zekovar/foundation/move_ptr.h"

#include <cstddef>
#include <type_traits>
#include <utility>

/// Strong reference of one word, for containers that hold many. Its arrow leads straight to the object.
template <class T>
class ZKLWPtr
{
public:
    ZKLWPtr() noexcept = default;

    /// Takes a further reference; the caller keeps its own.
    ZKLWPtr(T* object) : m_object(object)
    {
        if (m_object != nullptr)
            m_object->addRef();
    }

    /// Takes over the carrier's reference.
    template <class U>
    ZKLWPtr(ZK::MovePtr<U> const& carrier) noexcept : m_object(carrier.take())
    {
    }

    ZKLWPtr(ZKLWPtr const& other) : ZKLWPtr(other.m_object) {}

    template <class U>
    ZKLWPtr(ZKLWPtr<U> const& other) requires std::is_convertible_v<U*, T*> : ZKLWPtr(other.getObj())
    {
    }

    /// `other` becomes null.
    ZKLWPtr(ZKLWPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    ~ZKLWPtr()
    {
        if (m_object != nullptr)
            m_object->release();
    }

    /// Replaces the object: counts the new one, then releases the old one. The same object changes nothing.
    void setObj(T* object)
    {
        if (object != m_object)
            *this = ZKLWPtr(object);
    }

    /// As above with the carrier's reference, which is released if the object is the same.
    template <class U>
    void setObj(ZK::MovePtr<U> const& carrier)
    {
        if (carrier.get() != m_object)
            *this = ZKLWPtr(carrier);
    }

    ZKLWPtr& operator=(T* object)
    {
        setObj(object);
        return *this;
    }

    template <class U>
    ZKLWPtr& operator=(ZK::MovePtr<U> const& carrier)
    {
        setObj(carrier);
        return *this;
    }

    ZKLWPtr& operator=(ZKLWPtr const& other)
    {
        setObj(other.m_object);
        return *this;
    }

    /// `other` becomes null, unless both hold the same object, which changes nothing.
    ZKLWPtr& operator=(ZKLWPtr&& other)
    {
        if (other.m_object == m_object)
            return *this;
        if (T* const old = std::exchange(m_object, std::exchange(other.m_object, nullptr)))
            old->release();
        return *this;
    }

    /// The pointer may not be null.
    T* operator->() const noexcept { return m_object; }

    T& operator*() const noexcept { return *m_object; }

    /// The object, or null. No reference goes with it.
    T* getObj() const noexcept { return m_object; }

    T* get() const noexcept { return m_object; }

    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(ZKLWPtr const& pointer, std::nullptr_t) noexcept { return pointer.m_object == nullptr; }

    friend bool operator==(ZKLWPtr const& pointer, T const* object) noexcept { return pointer.m_object == object; }

private:
    T* m_object = nullptr;
};

template <class T, class U>
bool operator==(ZKLWPtr<T> const& left, ZKLWPtr<U> const& right) noexcept
{
    return left.getObj() == right.getObj();
}
