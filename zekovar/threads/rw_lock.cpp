#include "zekovar/threads/rw_lock.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/sliced_lock.h"

#include <syslog.h>

ZKRWLock::Lock::Lock(pthread_rwlock_t& rwlock, bool write)
    : ZKLock(write ? Type::WRITE_LOCK : Type::READ_LOCK), m_rwlock(&rwlock), m_write(write)
{
}

ZKRWLock::Lock::~Lock()
{
    leaveReport();
}

XCode ZKRWLock::Lock::lock()
{
    int const result = ZK::Detail::lockInSlices(
        *this, [this] { return m_write ? pthread_rwlock_trywrlock(m_rwlock) : pthread_rwlock_tryrdlock(m_rwlock); },
        [this](timespec const& deadline)
        {
            return m_write ? pthread_rwlock_timedwrlock(m_rwlock, &deadline)
                           : pthread_rwlock_timedrdlock(m_rwlock, &deadline);
        });
    if (result == 0)
        return XCODE_SUCCESS;
    XCode const code = ZK::Detail::codeOfErrno(result);
    syslog(LOG_CRIT, "%sLock %p: FAILED TO LOCK: %s\n", m_write ? "Write" : "Read", static_cast<void*>(this),
           code.toString().c_str());
    return code;
}

void ZKRWLock::Lock::unlock()
{
    onUnlocked();
    int const result = pthread_rwlock_unlock(m_rwlock);
    if (result == 0)
        return;
    ZK::Detail::NoCancellation guard; // the callers are destructors
    syslog(LOG_CRIT, "Lock %p: FAILED TO UNLOCK: %s\n", static_cast<void*>(this),
           ZK::Detail::codeOfErrno(result).toString().c_str());
}

ZKRWLock::ZKRWLock() : m_readLock(m_rwlock, false), m_writeLock(m_rwlock, true)
{
    pthread_rwlock_init(&m_rwlock, nullptr);
}

ZKRWLock::~ZKRWLock()
{
    pthread_rwlock_destroy(&m_rwlock);
}

ZKRWLock& RW_LOCK()
{
    static ZKRWLock s_lock;
    return s_lock;
}
