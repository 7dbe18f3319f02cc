#pragma once

#include "zekovar/threads/lock.h"

/// A lock for many readers or one writer. Its two sides are locks of their own, and the report tracks them so.
///
/// Safe from all threads. Neither side is meant to be taken by a thread that holds the other.
///
///     ZKAutoLock<ZKRWLock::Lock> guard(m_lock.getReadLock());
class ZKRWLock
{
public:
    /// One side of the lock; `write` chooses which.
    class Lock : public ZKLock
    {
    public:
        /// `rwlock` outlives the side.
        Lock(pthread_rwlock_t& rwlock, bool write);

        ~Lock() override;

        /// Blocks without limit, in slices of one second, so that the report shows the wait growing. On failure, which
        /// goes to syslog, the lock isn't held: the code of EDEADLK for a thread that holds the writer's side.
        XCode lock() override;

        /// Only for a thread that holds this side. A failure goes to syslog.
        void unlock() override;

    private:
        pthread_rwlock_t* m_rwlock;
        bool m_write;
    };

    ZKRWLock();

    ZKRWLock(ZKRWLock const&) = delete;
    ZKRWLock& operator=(ZKRWLock const&) = delete;

    ~ZKRWLock();

    Lock& getReadLock() { return m_readLock; }

    Lock& getWriteLock() { return m_writeLock; }

private:
    pthread_rwlock_t m_rwlock;
    Lock m_readLock;
    Lock m_writeLock;
};

/// The process's one read/write lock for short sections that have no object of their own.
ZKRWLock& RW_LOCK();
