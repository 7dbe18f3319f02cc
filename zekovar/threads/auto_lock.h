#pragma once

#include "zekovar/foundation/xcode.h"

/// Holds a lock for a scope. It blocks until the lock is held, and tries again at once and without end when `lock`
/// fails.
///
/// `T` has `lock()`, which returns an `XCode` or an `XCodeValue`, and `unlock()`. A class whose lock lies elsewhere
/// specialises it. An exception out of `unlock` ends the process.
///
///     ZKAutoLock<ZKMutex> guard(m_mutex);
template <class T>
class [[nodiscard]] ZKAutoLock
{
public:
    explicit ZKAutoLock(T& lock) : m_lock(lock)
    {
        while (XCode(m_lock.lock()).isErr())
        {
        }
    }

    ~ZKAutoLock() { m_lock.unlock(); }

    ZKAutoLock(ZKAutoLock const&) = delete;
    ZKAutoLock& operator=(ZKAutoLock const&) = delete;

private:
    T& m_lock;
};
