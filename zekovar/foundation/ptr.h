#pragma once

#include "zekovar/foundation/lock_ptr.h"
#include "zekovar/foundation/lw_ptr.h"
#include "zekovar/foundation/move_ptr.h"
#include "zekovar/foundation/xcode.h"

#include <cstddef>
#include <type_traits>
#include <utility>

/// Strong reference to a counted object that needs no lock for its use.
///
/// The pointer itself has no lock: it may not be written by one thread while another one uses it. Copying it is safe as
/// long as the source keeps the object alive. Dropping the last reference destroys the object on the dropping thread.
template <class T>
class ZKPtr
{
public:
    ZKPtr() noexcept = default;

    /// Takes a further reference; the caller keeps its own.
    ZKPtr(T* object) : m_object(counted(object)) {}

    /// Takes over the carrier's reference.
    template <class U>
    ZKPtr(ZK::MovePtr<U> const& carrier) noexcept : m_object(carrier.take())
    {
    }

    ZKPtr(ZKPtr const& other) : m_object(counted(other.m_object)) {}

    template <class U>
    ZKPtr(ZKPtr<U> const& other) requires std::is_convertible_v<U*, T*> : m_object(counted<T>(other.getObj()))
    {
    }

    /// `other` becomes null.
    ZKPtr(ZKPtr&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    virtual ~ZKPtr()
    {
        if (m_object != nullptr)
            m_object->release();
    }

    /// The object with the lock that its users hold; without one here, with the object's own in `ZKPPtr`.
    virtual ZKLockPtr<T> getLock() const { return ZKLockPtr<T>(m_object, nullptr); }

    virtual ZKLockPtr<T> getLock() { return ZKLockPtr<T>(m_object, nullptr); }

    /// Replaces the object: counts the new one, then releases the old one. The same object changes nothing.
    void setObj(T* object)
    {
        if (object != m_object)
            exchangeFor(counted(object));
    }

    /// As above with the carrier's reference, which is released if the object is the same.
    template <class U>
    void setObj(ZK::MovePtr<U> const& carrier)
    {
        if (carrier.get() != m_object)
            exchangeFor(carrier.take());
    }

    ZKPtr& operator=(T* object)
    {
        setObj(object);
        return *this;
    }

    template <class U>
    ZKPtr& operator=(ZK::MovePtr<U> const& carrier)
    {
        setObj(carrier);
        return *this;
    }

    ZKPtr& operator=(ZKPtr const& other)
    {
        setObj(other.m_object);
        return *this;
    }

    /// `other` becomes null, unless both hold the same object, which changes nothing.
    ZKPtr& operator=(ZKPtr&& other)
    {
        if (other.m_object != m_object)
            exchangeFor(std::exchange(other.m_object, nullptr));
        return *this;
    }

    ZKLockPtr<T> operator->() const { return getLock(); }

    ZKLockPtr<T> operator->() { return getLock(); }

    /// Without the lock; the pointer may not be null.
    T& operator*() const { return *m_object; }

    /// The object without the lock, or null. No reference goes with it.
    T* getObj() const noexcept { return m_object; }

    T* get() const noexcept { return m_object; }

    explicit operator bool() const noexcept { return m_object != nullptr; }

    friend bool operator==(ZKPtr const& pointer, std::nullptr_t) noexcept { return pointer.m_object == nullptr; }

    friend bool operator==(ZKPtr const& pointer, T const* object) noexcept { return pointer.m_object == object; }

protected:
    template <class U>
    static U* counted(U* object)
    {
        if (object != nullptr)
            object->addRef();
        return object;
    }

    T* m_object = nullptr;

private:
    void exchangeFor(T* object)
    {
        // asked while the old object is still in place: only a ZKPPtr, which this may be, has a lock to go with it
        bool const isProtected = m_object != nullptr && getLock().hasLock();
        T* const old = std::exchange(m_object, object);
        if (old == nullptr)
            return;
        if (isProtected)
            old->protectedRelease();
        else
            old->release();
    }
};

template <class T, class U>
bool operator==(ZKPtr<T> const& left, ZKPtr<U> const& right) noexcept
{
    return left.getObj() == right.getObj();
}

/// Strong reference to an object whose state is guarded by its lock: the arrow holds the lock for the call, and a last
/// reference that goes runs the destructor under the lock.
///
///     ZKPPtr<RTD::Monitor> monitor = RTD::REPOSITORY::getMonitor(id);
///     if (monitor) monitor->addSession("cli", 6, 2);
template <class T>
class ZKPPtr : public ZKPtr<T>
{
public:
    using ZKPtr<T>::ZKPtr;
    using ZKPtr<T>::operator=;

    ZKPPtr() noexcept = default;

    ZKPPtr(ZKPtr<T> const& other) : ZKPtr<T>(other) {}

    ZKPPtr(ZKPPtr const& other) = default;
    ZKPPtr(ZKPPtr&& other) noexcept = default;
    ZKPPtr& operator=(ZKPPtr const& other) = default;
    ZKPPtr& operator=(ZKPPtr&& other) = default;

    ~ZKPPtr() override
    {
        if (this->m_object != nullptr)
            this->m_object->protectedRelease();
        this->m_object = nullptr; // or the base would release it again
    }

    ZKLockPtr<T> getLock() const override { return lockPtr(); }

    ZKLockPtr<T> getLock() override { return lockPtr(); }

private:
    ZKLockPtr<T> lockPtr() const
    {
        T* const object = this->m_object;
        return ZKLockPtr<T>(object, object != nullptr ? object->getLock() : nullptr);
    }
};

/// Success for a pointer that isn't null, else `XCODE_FAILURE`.
template <class T>
XCode testExpression(ZKPtr<T> const& pointer)
{
    return testExpression(pointer.getObj() != nullptr);
}
