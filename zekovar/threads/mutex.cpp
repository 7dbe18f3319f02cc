#include "zekovar/threads/mutex.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/time.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/sliced_lock.h"

#include <syslog.h>

namespace
{
/// Shows the mutex as free for a scope. It is held again at the end also if the thread is cancelled meanwhile.
class ShownAsFree
{
public:
    explicit ShownAsFree(ZKMutex& mutex) : m_mutex(mutex) { m_mutex.onUnlocked(); }

    ~ShownAsFree() { m_mutex.onLocked(); }

    ShownAsFree(ShownAsFree const&) = delete;
    ShownAsFree& operator=(ShownAsFree const&) = delete;

private:
    ZKMutex& m_mutex;
};
}

ZKMutex::ZKMutex(bool recursive) : ZKLock(Type::MUTEX)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, recursive ? PTHREAD_MUTEX_RECURSIVE : PTHREAD_MUTEX_DEFAULT);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

ZKMutex::~ZKMutex()
{
    leaveReport();
    pthread_mutex_destroy(&m_mutex);
}

XCode ZKMutex::lock()
{
    int const result = ZK::Detail::lockInSlices(
        *this, [this] { return pthread_mutex_trylock(&m_mutex); },
        [this](timespec const& deadline) { return pthread_mutex_timedlock(&m_mutex, &deadline); });
    if (result == 0)
        return XCODE_SUCCESS;
    XCode const code = ZK::Detail::codeOfErrno(result);
    syslog(LOG_CRIT, "Mutex %p: FAILED TO LOCK: %s\n", static_cast<void*>(this), code.toString().c_str());
    return code;
}

void ZKMutex::unlock()
{
    onUnlocked();
    int const result = pthread_mutex_unlock(&m_mutex);
    if (result == 0)
        return;
    ZK::Detail::NoCancellation guard; // the callers are destructors
    syslog(LOG_CRIT, "Mutex %p: FAILED TO UNLOCK: %s\n", static_cast<void*>(this),
           ZK::Detail::codeOfErrno(result).toString().c_str());
}

XCode ZKMutex::waitForCondition(ZKThreadCondition& condition)
{
    ShownAsFree guard(*this);
    return ZK::Detail::codeOfErrno(pthread_cond_wait(&condition.m_condition, &m_mutex));
}

XCode ZKMutex::waitForConditionUntil(ZKThreadCondition& condition, ZK::Time const& deadline)
{
    ShownAsFree guard(*this);
    timespec const& time = deadline;
    return ZK::Detail::codeOfErrno(pthread_cond_timedwait(&condition.m_condition, &m_mutex, &time));
}

ZKMutex& FAST_MUTEX()
{
    static ZKMutex s_mutex(false);
    return s_mutex;
}

ZKMutex& RECURSIVE_MUTEX()
{
    static ZKMutex s_mutex(true);
    return s_mutex;
}
