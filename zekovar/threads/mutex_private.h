#pragma once

#include "zekovar/foundation/xcode.h"

#include <pthread.h>

/// A mutex that the lock report doesn't know, for short internal sections and for the bookkeeping of the report itself.
///
/// Safe from all threads. Nothing but a few instructions belongs between `lock` and `unlock`; everything that may block
/// for longer takes a `ZKMutex`, so that the report can tell who waits for whom.
///
///     ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
class ZKMutexPrivate
{
public:
    /// A recursive mutex may be locked again by the thread that holds it.
    explicit constexpr ZKMutexPrivate(bool recursive) : m_mutex(recursive ? RECURSIVE : NORMAL) {}

    ZKMutexPrivate(ZKMutexPrivate const&) = delete;
    ZKMutexPrivate& operator=(ZKMutexPrivate const&) = delete;

    ~ZKMutexPrivate() { pthread_mutex_destroy(&m_mutex); }

    /// Blocks without limit. `XCODE_SUCCESS`, or `XCODE_FAILURE` with the mutex not held.
    XCodeValue lock() { return pthread_mutex_lock(&m_mutex) == 0 ? XCODE_SUCCESS : XCODE_FAILURE; }

    /// 0, or the error number of `pthread_mutex_unlock`.
    int unlock() { return pthread_mutex_unlock(&m_mutex); }

private:
    static constexpr pthread_mutex_t NORMAL = PTHREAD_MUTEX_INITIALIZER;
    static constexpr pthread_mutex_t RECURSIVE = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

    pthread_mutex_t m_mutex;
};
