#include "zekovar/foundation/ref_counted.h"

#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/lock.h"

namespace ZK
{
void RefCounted::addRef()
{
    m_count.fetch_add(1);
}

bool RefCounted::tryRelease()
{
    return m_count.fetch_sub(1) == 1;
}

void RefCounted::release()
{
    if (tryRelease())
        callDtor();
}

void RefCounted::callDtor()
{
    delete this;
}

ZKLock* RefCounted::getLock()
{
    return m_lock;
}

void RefCounted::protectedRelease()
{
    if (!tryRelease())
        return;
    ZKLock* const lock = getLock();
    if (lock == nullptr || lock->lock().isErr())
    {
        callDtor();
        return;
    }
    callDtor();
    lock->unlock();
}

void RefCounted::securedProtectedRelease()
{
    ZKLock* const lock = getLock();
    bool const isLocked = lock != nullptr && lock->lock().isSuccess();
    if (tryRelease())
        callDtor();
    if (isLocked)
        lock->unlock();
}

void RefCountedUnlessBeingDestroying::addRef()
{
    unsigned int count = m_count.load();
    while (count != 0)
    {
        if (m_count.compare_exchange_weak(count, count + 1))
            return;
    }
    m_afterDeathCount.fetch_add(1);
}

bool RefCountedUnlessBeingDestroying::tryRelease()
{
    unsigned int count = m_count.load();
    while (count != 0)
    {
        if (m_count.compare_exchange_weak(count, count - 1))
            return count == 1;
    }
    m_afterDeathCount.fetch_sub(1);
    return false;
}
}
