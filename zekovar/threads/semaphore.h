#pragma once

#include "zekovar/foundation/time.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"

#include <atomic>

/// Counting semaphore between the threads of one process.
///
/// Safe from all threads; a waiting thread shows in the lock report as waiting for a "semaphore". It has no holder. The
/// thread that a wait was the last use for may destroy it at once, though the signaller isn't back from its call.
///
///     ZKSemaphore ready(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME);
///     if (XCode code = ready.waitFor(500); code.isErr()) return code;
class ZKSemaphore : public ZKLock
{
public:
    ZKSemaphore(int initial, int maximum, ZK::Time::Source source);

    ~ZKSemaphore() override;

    /// "curr=%d,max=%d"
    String getLockStatus() const override;

    /// Takes one unit, blocking without limit. On failure nothing is taken and a line goes to the system monitor.
    XCode wait();

    /// As `wait`, until `deadline` on the semaphore's clock; the code of ETIMEDOUT when it passes. A deadline whose
    /// seconds are negative or above 0x7FFFFFFE is no limit.
    XCode waitUntil(ZK::Time const& deadline);

    /// As `waitUntil`, from now; 0x7FFFFFFF milliseconds is no limit, 0 polls. A negative number is a deadline out of
    /// reach.
    XCode waitFor(int milliseconds);

    /// Adds one unit and wakes one waiter; at the maximum it does nothing and succeeds.
    XCode signal();

private:
    XCode take(ZK::Time const* deadline);
    XCode takeAtOnce();

    ZK::Time::Source m_source;
    ZKMutex m_mutex;
    ZKThreadCondition m_condition;
    int m_maximum;
    std::atomic<int> m_current;             // written under m_mutex, read by the report without it
    std::atomic<unsigned int> m_signalling; // signallers between the mutex and the end of their call
};
