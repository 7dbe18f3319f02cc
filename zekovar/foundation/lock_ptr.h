#pragma once

class ZKLock;

namespace ZK::Detail
{
/// The two operations of a lock that `ZKLockPtr` needs. A failure to lock is dropped.
void lockObject(ZKLock& lock);
void unlockObject(ZKLock& lock);
}

/// The record of one object, its lock and whether it is locked, between the arrow of a pointer and its end.
///
/// It holds no reference: the pointer that it came from must outlive it. Its own arrow locks before the first use and
/// the destructor unlocks, so `pointer->call()` holds the lock for that call; two arrows in one expression hold it
/// twice at once, which a lock that isn't recursive doesn't survive. For a longer hold:
///
///     ZKLockPtr<Monitor> monitor = pointer.getLock();
///     monitor.lock();
///     if (monitor->isEnabled()) monitor->log(line); // one hold for both
template <class T>
class ZKLockPtr
{
public:
    /// Both may be null; without a lock nothing is ever locked.
    ZKLockPtr(T* object, ZKLock* lock) noexcept : m_object(object), m_lock(lock) {}

    ZKLockPtr(ZKLockPtr const&) = delete;
    ZKLockPtr& operator=(ZKLockPtr const&) = delete;

    ~ZKLockPtr() { unlock(); }

    /// Blocks until the lock is held; does nothing if there is no object or no lock, or if it is held already. A
    /// failing lock counts as held all the same.
    void lock() const
    {
        if (m_object == nullptr || m_lock == nullptr || m_locked)
            return;
        ZK::Detail::lockObject(*m_lock);
        m_locked = true;
    }

    /// Does nothing unless `lock` locked.
    void unlock() const
    {
        if (!m_locked)
            return;
        ZK::Detail::unlockObject(*m_lock);
        m_locked = false;
    }

    T* operator->() const
    {
        lock();
        return m_object;
    }

    bool isLocked() const noexcept { return m_locked; }

    bool hasLock() const noexcept { return m_lock != nullptr; }

private:
    T* m_object;
    ZKLock* m_lock;
    mutable bool m_locked = false;
};
