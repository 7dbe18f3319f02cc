#pragma once

#include "zekovar/foundation/time.h"
#include "zekovar/foundation/xcode.h"

#include <pthread.h>

class ZKMutex;

/// A condition variable over a mutex. Safe from all threads; the lock report doesn't show who sleeps on it.
///
/// A wait may end without a signal, so the caller tests what it waits for again. The mutex is held once, not deeper, by
/// a waiter that holds it.
///
///     ZKAutoLock<ZKMutex> guard(m_mutex);
///     while (!m_ready)
///         m_condition.wait();
class ZKThreadCondition
{
public:
    /// `mutex` outlives the condition; `source` is the clock of `waitUntil` and `waitFor`, real-time or monotonic.
    ZKThreadCondition(ZKMutex& mutex, ZK::Time::Source source);

    ZKThreadCondition(ZKThreadCondition const&) = delete;
    ZKThreadCondition& operator=(ZKThreadCondition const&) = delete;

    ~ZKThreadCondition();

    /// Sleeps until a signal, without limit. If nobody at all holds the mutex, it is taken for the duration of the
    /// call; a mutex that another thread holds is the caller's fault. A failure goes to syslog.
    XCode wait();

    /// Sleeps until a signal or `deadline`: the code of ETIMEDOUT when it passes. If nobody at all holds the mutex it
    /// returns `XCODE_FAILURE` at once. Every failure but the time-out goes to syslog.
    XCode waitUntil(ZK::Time const& deadline);

    /// As `waitUntil`, from now. A negative number is a huge unsigned one: no limit that would ever be reached.
    XCode waitFor(int milliseconds);

    /// Wakes one sleeper, if there is one. A failure goes to syslog.
    XCode signal();

    /// Wakes all sleepers. A failure goes to syslog.
    XCode broadcast();

private:
    friend class ZKMutex;

    ZKMutex& m_mutex;
    ZK::Time::Source m_source;
    pthread_cond_t m_condition;
};
