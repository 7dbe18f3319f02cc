#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/thread.h"

// All of this runs with ZKLock::s_globalMutex held, but for what takes it itself.

constinit ZKThread* ZKThread::s_pFirstObject = nullptr;

void ZKThread::onWaitForLock(ZKLock* lock, unsigned int milliseconds)
{
    if (lock->getType() < ZKLock::Type::COUNT)
        setWaitSlot(lock->getType(), lock, milliseconds);
}

void ZKThread::onWaitforLockCanceled(ZKLock* lock)
{
    if (lock->getType() < ZKLock::Type::COUNT)
        setWaitSlot(lock->getType(), nullptr, 0);
}

void ZKThread::onLocked(ZKLock* lock)
{
    unsigned int const size = m_obtainedLocks.size();
    m_obtainedLocks.add(lock);
    if (m_obtainedLocks.size() != size)
        lock->addMention();
}

void ZKThread::onUnlocked(ZKLock*)
{
    unsigned int const size = m_obtainedLocks.size();
    if (size == 0)
        return;
    if (ZKLock* const newest = m_obtainedLocks[size - 1]; newest != nullptr)
        newest->dropMention();
    m_obtainedLocks.removeLast();
}

void ZKThread::setWaitSlot(unsigned int type, ZKLock* lock, unsigned int milliseconds)
{
    ZKLock*& slot = m_waitLocks[type];
    if (slot != nullptr)
        slot->dropMention();
    if (lock != nullptr)
        lock->addMention();
    slot = lock;
    m_waitMilliseconds[type] = milliseconds;
}

void ZKThread::FORGET_LOCK(ZKLock* lock)
{
    for (ZKThread* thread = s_pFirstObject; thread != nullptr; thread = thread->m_nextObject)
    {
        for (unsigned int type = 0; type < ZKLock::Type::COUNT; type++)
        {
            if (thread->m_waitLocks[type] == lock)
                thread->setWaitSlot(type, nullptr, 0);
        }
        for (ZKLock*& obtained : thread->m_obtainedLocks)
        {
            if (obtained != lock)
                continue;
            obtained->dropMention();
            obtained = nullptr;
        }
    }
}

ZKThread::Presence ZKThread::PRESENCE_OF(unsigned long id)
{
    Presence presence = Presence::FOREIGN;
    for (ZKThread* thread = s_pFirstObject; thread != nullptr; thread = thread->m_nextObject)
    {
        if (thread->m_id != id)
            continue;
        if (!thread->has(ENDED))
            return Presence::PRESENT;
        presence = Presence::ENDED;
    }
    return presence;
}

void ZKThread::linkObject()
{
    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
    m_nextObject = s_pFirstObject;
    if (m_nextObject != nullptr)
        m_nextObject->m_previousObject = this;
    s_pFirstObject = this;
}

void ZKThread::unlinkObject()
{
    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
    (m_previousObject != nullptr ? m_previousObject->m_nextObject : s_pFirstObject) = m_nextObject;
    if (m_nextObject != nullptr)
        m_nextObject->m_previousObject = m_previousObject;

    while (m_heldLocks != nullptr)
        m_heldLocks->setHolder(nullptr);
    for (unsigned int type = 0; type < ZKLock::Type::COUNT; type++)
        setWaitSlot(type, nullptr, 0);
    while (!m_obtainedLocks.isEmpty())
        onUnlocked(nullptr);
}
