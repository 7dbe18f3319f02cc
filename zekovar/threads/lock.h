#pragma once

#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>

class String;
class ZKThread;

/// The base of everything that a thread can wait for, so that one report (`ZKThreadSupervisor::getStatus`) tells for a
/// running process who holds what and who has been waiting how long for what.
///
/// A blocking primitive derives from it, overrides `lock` and `unlock` and calls `onWait` (again each time the wait has
/// grown), `onWaitCanceled` when the wait is over either way, `onLocked` once it holds and `onUnlocked` before it lets
/// go. All operations are safe from all threads.
///
/// `getLockName` and `getLockStatus` are called by the report while `s_globalMutex` is held: they may not take a lock
/// that is derived from this class. A derived class that overrides one of them calls `leaveReport()` first thing in its
/// destructor, so that no report finds the object half gone.
class ZKLock
{
public:
    /// Kinds of locks. A thread has one wait slot for each of them.
    struct Type
    {
        enum Value : unsigned int
        {
            MUTEX = 0,
            READ_LOCK = 1,
            WRITE_LOCK = 2,
            SEMAPHORE = 3,
            SYNC_EVENT = 4,
            SYNC_FUNCTION = 5,
            SYNC_DB_TRANSACTION = 6, ///< for a client of the library, which has no such lock
            EPOLL = 7,
            COND_VAR = 8
        };

        static constexpr unsigned int COUNT = 9;

        /// "mutex", "read-lock" and so on; "(unknown)" for a number that is no kind.
        static char const* NAME(Value type);
    };

    /// Guards the holder and the count of every lock, and the wait slots and obtained locks of every thread. It is
    /// taken after any other lock, never held while blocking, and outlives the exit of the process.
    static ZKMutexPrivate& s_globalMutex;

    explicit ZKLock(Type::Value type);

    ZKLock(ZKLock const&) = delete;
    ZKLock& operator=(ZKLock const&) = delete;

    /// Whether the lock is held isn't looked at. Threads that still name it forget it.
    virtual ~ZKLock();

    /// The object's address, unless a derived class knows better.
    virtual String getLockName() const;

    /// What else the report shows about the lock; empty here.
    virtual String getLockStatus() const;

    /// Blocks until the lock is held, without limit. On failure it isn't held. Does nothing here.
    virtual XCode lock();

    /// Does nothing here.
    virtual void unlock();

    /// The calling thread has been waiting for this lock for `milliseconds`, 0 when the wait begins.
    virtual void onWait(unsigned int milliseconds);

    /// The calling thread doesn't wait for this lock any more.
    virtual void onWaitCanceled();

    /// The calling thread has obtained the lock. It becomes the holder unless there is one.
    virtual void onLocked();

    /// The calling thread lets go of the lock. Nobody is the holder once the count is 0.
    virtual void onUnlocked();

    Type::Value getType() const { return m_type; }

    /// The first thread that obtained the lock since it was free, even if that one has let go and others hold it now.
    /// Null if it is free or if the library didn't start that thread. A snapshot: hold `s_globalMutex` to use the
    /// thread.
    ZKThread* getHolder() const { return m_holder.load(std::memory_order_relaxed); }

    /// How many times the lock is held: the depth of a recursive mutex, the readers of a read lock. A snapshot.
    unsigned int getLockCount() const { return m_lockCount.load(std::memory_order_relaxed); }

protected:
    /// Makes every thread forget this lock; cheap if none knows it. Afterwards no report calls its virtual operations.
    void leaveReport()
    {
        if (m_mentions.load(std::memory_order_relaxed) != 0 || getHolder() != nullptr)
            removeFromThreads();
    }

private:
    friend class ZKThread;

    void removeFromThreads();
    void setHolder(ZKThread* holder);

    void addMention() { m_mentions.store(m_mentions.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed); }

    void dropMention() { m_mentions.store(m_mentions.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed); }

    Type::Value const m_type;
    std::atomic<ZKThread*> m_holder;
    std::atomic<unsigned int> m_lockCount;
    std::atomic<unsigned int> m_mentions; // wait slots and obtained-lock entries that point here, under s_globalMutex
    ZKLock* m_nextHeld;                   // the holder's list of locks, under s_globalMutex
    ZKLock* m_previousHeld;
};
