#pragma once

#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"

namespace ZK
{
/// A lock over some state with a condition that announces each change of it: every `unlock` wakes a waiter.
///
/// Safe from all threads. The lock is recursive, but a waiter holds it once only.
///
///     ZKAutoLock<ZK::ConditionalExpression> guard(m_stateLock);
///     while (!m_done)
///         if (XCode code = m_stateLock.wait(); code.isErr()) return code;
class ConditionalExpression : public ZKLock
{
public:
    /// `source` is the clock of `waitUntil` and `waitFor`.
    explicit ConditionalExpression(Time::Source source);

    ~ConditionalExpression() override;

    /// Blocks without limit; as `ZKMutex::lock`, which the report shows.
    XCode lock() override;

    /// Signals the condition, then unlocks.
    void unlock() override;

    /// Sleeps until another thread unlocks; shows meanwhile as waiting for a "cond-var". The caller holds the lock, and
    /// tests its state again afterwards. Returns as `ZKThreadCondition::wait`.
    XCode wait();

    /// As `wait`; returns as `ZKThreadCondition::waitUntil`.
    XCode waitUntil(Time const& deadline);

    /// As `wait`; returns as `ZKThreadCondition::waitFor`.
    XCode waitFor(int milliseconds);

    /// Wakes all waiters, for a change that they don't all wait for. The caller holds the lock.
    XCode broadcast();

    /// For places that need an action and have none.
    static void DO_NOTHING() {}

private:
    Time::Source m_source;
    ZKMutex m_mutex;
    ZKThreadCondition m_condition;
};
}
