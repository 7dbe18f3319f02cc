#pragma once

#include "zekovar/foundation/list.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex_private.h"
#include "zekovar/threads/semaphore.h"

/// A queue between threads: a semaphore with one unit for each entry of its list, first in, first out.
///
/// `push` and `take` are safe from all threads, and a waiting thread shows in the lock report as waiting for a
/// "semaphore". What is left in the queue when it is destroyed is dropped: pointers in it don't own.
///
///     queue.push(request);
///     ...
///     while (!queue.take(request))
///         queue.wait();
template <class T>
class ZKBlockingQueue : public ZKSemaphore
{
public:
    ZKBlockingQueue() : ZKSemaphore(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME), m_entriesMutex(false) {}

    /// Appends an entry and wakes a waiter. The code of `signal`; the entry is in the list in any case.
    XCode push(T const& entry)
    {
        {
            ZKAutoLock<ZKMutexPrivate> guard(m_entriesMutex);
            m_entries.add(entry);
        }
        return signal();
    }

    /// Removes the first entry. False, with `entry` untouched, if there is none. It doesn't wait and takes no unit: the
    /// caller has waited for one.
    bool take(T& entry)
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_entriesMutex);
        return m_entries.pop(entry);
    }

private:
    ZKMutexPrivate m_entriesMutex;
    ZKList<T> m_entries; // under m_entriesMutex
};
