#include "zekovar/threads/condition.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

#include <optional>
#include <syslog.h>

namespace
{
/// Writes a failure to syslog; `format` takes the condition and the text of the code.
XCode logged(XCode code, char const* format, ZKThreadCondition const* condition)
{
    if (code.isErr())
        syslog(LOG_ERR, format, static_cast<void const*>(condition), code.toString().c_str());
    return code;
}
}

ZKThreadCondition::ZKThreadCondition(ZKMutex& mutex, ZK::Time::Source source) : m_mutex(mutex), m_source(source)
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, ZK::Time::SOURCE_TO_CLOCK_ID(source));
    pthread_cond_init(&m_condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

ZKThreadCondition::~ZKThreadCondition()
{
    pthread_cond_destroy(&m_condition);
}

XCode ZKThreadCondition::wait()
{
    std::optional<ZKAutoLock<ZKMutex>> guard;
    if (m_mutex.getLockCount() == 0)
        guard.emplace(m_mutex);
    return logged(m_mutex.waitForCondition(*this), "Condition %p: WAIT FAILED: %s\n", this);
}

XCode ZKThreadCondition::waitUntil(ZK::Time const& deadline)
{
    if (m_mutex.getLockCount() == 0)
    {
        syslog(LOG_ERR, "Mutex %p: NOT LOCKED BEFORE WAITING FOR CONDITION %p\n", static_cast<void*>(&m_mutex),
               static_cast<void*>(this));
        return XCODE_FAILURE;
    }
    XCode const code = m_mutex.waitForConditionUntil(*this, deadline);
    if (code == ZK::Detail::codeOfErrno(ETIMEDOUT))
        return code;
    return logged(code, "Condition %p: WAIT FAILED: %s\n", this);
}

XCode ZKThreadCondition::waitFor(int milliseconds)
{
    ZK::Time deadline = ZK::Time::NOW(m_source);
    deadline.addMilliseconds(milliseconds);
    return waitUntil(deadline);
}

XCode ZKThreadCondition::signal()
{
    return logged(ZK::Detail::codeOfErrno(pthread_cond_signal(&m_condition)), "Condition %p: SIGNAL FAILED: %s\n",
                  this);
}

XCode ZKThreadCondition::broadcast()
{
    return logged(ZK::Detail::codeOfErrno(pthread_cond_broadcast(&m_condition)), "Condition %p: BROADCAST FAILED: %s\n",
                  this);
}
