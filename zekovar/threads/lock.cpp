#include "zekovar/threads/lock.h"

#include "zekovar/foundation/error.h"
#include "zekovar/foundation/string.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/thread.h"

char const* ZKLock::Type::NAME(Value type)
{
    static constexpr char const* NAMES[COUNT] = {
        "mutex",         "read-lock",           "write-lock", "semaphore", "sync-event",
        "sync-function", "sync-db-transaction", "epoll",      "cond-var",
    };
    return type < COUNT ? NAMES[type] : ERROR::UNKNOWN;
}

ZKLock::ZKLock(Type::Value type)
    : m_type(type), m_holder(nullptr), m_lockCount(0), m_mentions(0), m_nextHeld(nullptr), m_previousHeld(nullptr)
{
}

ZKLock::~ZKLock()
{
    leaveReport();
}

String ZKLock::getLockName() const
{
    return String::stringOfFormat("%p", static_cast<void const*>(this));
}

String ZKLock::getLockStatus() const
{
    return String();
}

XCode ZKLock::lock()
{
    return XCODE_SUCCESS;
}

void ZKLock::unlock()
{
}

void ZKLock::onWait(unsigned int milliseconds)
{
    ZKThread* const thread = ZKThread::CURRENT();
    if (thread == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(s_globalMutex);
    thread->onWaitForLock(this, milliseconds);
}

void ZKLock::onWaitCanceled()
{
    ZKThread* const thread = ZKThread::CURRENT();
    if (thread == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(s_globalMutex);
    thread->onWaitforLockCanceled(this);
}

void ZKLock::onLocked()
{
    ZKThread* const thread = ZKThread::CURRENT();
    ZKAutoLock<ZKMutexPrivate> guard(s_globalMutex);
    if (thread != nullptr && getHolder() == nullptr)
        setHolder(thread);
    m_lockCount.store(getLockCount() + 1, std::memory_order_relaxed);
    if (thread != nullptr)
        thread->onLocked(this);
}

void ZKLock::onUnlocked()
{
    ZKThread* const thread = ZKThread::CURRENT();
    ZKAutoLock<ZKMutexPrivate> guard(s_globalMutex);
    unsigned int const count = getLockCount() - 1;
    m_lockCount.store(count, std::memory_order_relaxed);
    if (count == 0 && getHolder() != nullptr)
        setHolder(nullptr);
    if (thread != nullptr)
        thread->onUnlocked(this);
}

void ZKLock::removeFromThreads()
{
    ZKAutoLock<ZKMutexPrivate> guard(s_globalMutex);
    setHolder(nullptr);
    ZKThread::FORGET_LOCK(this);
}

void ZKLock::setHolder(ZKThread* holder)
{
    if (ZKThread* const before = getHolder(); before != nullptr)
    {
        (m_previousHeld != nullptr ? m_previousHeld->m_nextHeld : before->m_heldLocks) = m_nextHeld;
        if (m_nextHeld != nullptr)
            m_nextHeld->m_previousHeld = m_previousHeld;
    }
    m_previousHeld = nullptr;
    m_nextHeld = holder != nullptr ? holder->m_heldLocks : nullptr;
    if (m_nextHeld != nullptr)
        m_nextHeld->m_previousHeld = this;
    if (holder != nullptr)
        holder->m_heldLocks = this;
    m_holder.store(holder, std::memory_order_relaxed);
}
