#include "zekovar/threads/semaphore.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/thread.h"

#include <sched.h>
#include <syslog.h>

using ZK::Detail::codeOfErrno;

namespace
{
constexpr int YIELDS = 100;                   // for a signaller, before sleeping
constexpr int NO_LIMIT = 0x7FFFFFFF;          // milliseconds
constexpr long long LAST_SECOND = 0x7FFFFFFE; // of a deadline that is a limit
}

ZKSemaphore::ZKSemaphore(int initial, int maximum, ZK::Time::Source source)
    : ZKLock(Type::SEMAPHORE),
      m_source(source),
      m_mutex(false),
      m_condition(m_mutex, source),
      m_maximum(maximum),
      m_current(initial),
      m_signalling(0)
{
}

ZKSemaphore::~ZKSemaphore()
{
    leaveReport();
    ZK::Detail::NoCancellation const noCancellation;
    // The signaller that woke the last waiter is a few instructions from its end, unless a real-time thread that is here
    // keeps it from the processor by mere yielding.
    for (int turn = 0; m_signalling.load(std::memory_order_acquire) != 0; turn++)
    {
        if (turn < YIELDS)
            ::sched_yield();
        else
            ZKThread::SLEEP(1);
    }
}

String ZKSemaphore::getLockStatus() const
{
    return String::stringOfFormat("curr=%d,max=%d", m_current.load(std::memory_order_relaxed), m_maximum);
}

/// Takes one unit, sleeping until there is one or `deadline`, which is null for no limit, passes.
XCode ZKSemaphore::take(ZK::Time const* deadline)
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    while (m_current.load(std::memory_order_relaxed) <= 0)
    {
        onWait(0);
        XCode const code = deadline != nullptr ? m_condition.waitUntil(*deadline) : m_condition.wait();
        onWaitCanceled();
        if (code.isErr() && code != codeOfErrno(EINTR))
        {
            // A sleeper whose time is over may have used up the signal of a unit, which is another sleeper's then.
            if (m_current.load(std::memory_order_relaxed) > 0)
                m_condition.signal();
            return code;
        }
    }
    m_current.fetch_sub(1, std::memory_order_relaxed);
    return XCODE_SUCCESS;
}

/// Without the kernel, which sleeps even if the deadline has passed.
XCode ZKSemaphore::takeAtOnce()
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    if (m_current.load(std::memory_order_relaxed) <= 0)
        return codeOfErrno(ETIMEDOUT);
    m_current.fetch_sub(1, std::memory_order_relaxed);
    return XCODE_SUCCESS;
}

XCode ZKSemaphore::wait()
{
    XCode code = take(nullptr);
    if (code.isErr())
        ZK::Detail::logToSystemMonitor(LOG_CRIT, "ZKSemaphore %p: wait failed: %s", static_cast<void*>(this),
                                       code.toString().c_str());
    return code;
}

XCode ZKSemaphore::waitUntil(ZK::Time const& deadline)
{
    if (deadline.getSeconds() < 0 || deadline.getSeconds() > LAST_SECOND)
        return wait();
    XCode code = take(&deadline);
    if (code.isErr() && code != codeOfErrno(ETIMEDOUT))
        ZK::Detail::logToSystemMonitor(LOG_CRIT, "ZKSemaphore %p: waitUntil() failed: %s", static_cast<void*>(this),
                                       code.toString().c_str());
    return code;
}

XCode ZKSemaphore::waitFor(int milliseconds)
{
    if (milliseconds == NO_LIMIT)
        return wait();
    if (milliseconds == 0)
        return takeAtOnce();
    ZK::Time deadline = ZK::Time::NOW(m_source);
    deadline.addMilliseconds(milliseconds);
    return waitUntil(deadline);
}

XCode ZKSemaphore::signal()
{
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (m_current.load(std::memory_order_relaxed) >= m_maximum)
            return XCODE_SUCCESS;
        m_current.fetch_add(1, std::memory_order_relaxed);
        m_signalling.fetch_add(1, std::memory_order_relaxed);
    }
    // Without the mutex, so that the waiter doesn't block on it at once. It may be done with the semaphore before we
    // are: the count keeps the destructor from ending first.
    XCode code = m_condition.signal();
    if (code.isErr())
        ZK::Detail::logToSystemMonitor(LOG_CRIT, "ZKSemaphore %p: signal() failed: %s", static_cast<void*>(this),
                                       code.toString().c_str());
    m_signalling.fetch_sub(1, std::memory_order_release);
    return code;
}
