#pragma once

#include "zekovar/threads/lock.h"

class ZKThreadCondition;

namespace ZK
{
class Time;
}

/// The mutex of the library, tracked by the lock report. Safe from all threads.
///
///     ZKAutoLock<ZKMutex> guard(m_mutex);
class ZKMutex : public ZKLock
{
public:
    /// A recursive mutex may be locked again by the thread that holds it; without that, the thread waits for ever.
    explicit ZKMutex(bool recursive);

    ~ZKMutex() override;

    /// Blocks without limit, in slices of one second, so that the report shows the wait growing. On failure, which goes
    /// to syslog, the mutex isn't held and the code is that of the error number.
    XCode lock() override;

    /// Only for the thread that holds the mutex. A failure goes to syslog.
    void unlock() override;

    /// Lets go of the mutex, sleeps until the condition is signalled, and holds the mutex again whatever the outcome.
    /// The caller holds it, once. Meanwhile the mutex counts as free and the thread doesn't show as waiting for a lock.
    /// Returns the code of the error number; there may be wake-ups without a signal.
    XCode waitForCondition(ZKThreadCondition& condition);

    /// As `waitForCondition`, until `deadline` on the condition's clock: the code of ETIMEDOUT when it passes.
    XCode waitForConditionUntil(ZKThreadCondition& condition, ZK::Time const& deadline);

private:
    pthread_mutex_t m_mutex;
};

/// The process's one mutex for short sections that have no object of their own, such as the creation of singletons.
ZKMutex& FAST_MUTEX();

/// As `FAST_MUTEX`, a recursive one.
ZKMutex& RECURSIVE_MUTEX();
