#include "zekovar/events/event_sync.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/thread.h"

#include <memory>
#include <syslog.h>

namespace
{
void logFailure()
{
    ZK::Detail::logToSystemMonitor(LOG_CRIT, "EVENT SYNCHRONIZATION FAILED");
}

/// The calling thread's list, made with the own id in it if there is none yet; null if it can't be stored.
ZKThreadAttributeSynchronized* obtainList()
{
    if (ZKThreadAttributeSynchronized* list = ZKThreadAttributeSynchronized::CURRENT())
        return list;
    auto list = std::make_unique<ZKThreadAttributeSynchronized>();
    list->pushThread(ZKThread::CURRENT_ID());
    if (ZKThreadAttributeSynchronized::s_attributeType.set(list.get()).isErr())
        return nullptr;
    return list.release();
}
}

ZKEventSync::ZKEventSync(ZKEventLoop& loop, EventPrio::Type priority)
    : ZKLock(ZKLock::Type::SYNC_EVENT),
      m_event(new ZKEvent(loop, priority, &HANDLE_SYNC_EVENT, this)),
      m_thread(&loop.getThread()),
      m_entered(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME),
      m_left(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME),
      m_serial(true),
      m_hold(true)
{
}

ZKEventSync::~ZKEventSync()
{
    leaveReport();
    m_event->destroy();
}

String ZKEventSync::getLockName() const
{
    return String::stringOfFormat("%s-%p", m_event->eventLoop().getName().c_str(), static_cast<void const*>(this));
}

XCode ZKEventSync::synchronize()
{
    ZKThreadAttributeSynchronized* list = obtainList();
    if (list == nullptr)
    {
        logFailure();
        return XCODE_FAILURE;
    }
    unsigned long target = m_thread->getId();
    if (!list->isStopped(target))
    {
        if (XCode code = stopLoop(); code.isErr())
            return code;
        target = m_thread->getId(); // a loop that didn't run at first has a thread only now
    }
    onLocked();
    list->enterLevel(target);
    return XCODE_SUCCESS;
}

void ZKEventSync::unsynchronize()
{
    ZKThreadAttributeSynchronized* list = ZKThreadAttributeSynchronized::CURRENT();
    unsigned long const target = m_thread->getId();
    if (list == nullptr || !list->hasLevel(target))
        return;
    onUnlocked();
    list->leaveLevel(target);
    if (list->isStopped(target))
        return;
    ZK::Detail::NoCancellation const guard;
    m_hold.unlock();
    m_left.wait();
    m_serial.unlock();
}

void ZKEventSync::handleSyncEvent()
{
    m_entered.signal();
    {
        ZKAutoLock<ZKMutex> untilReleased(m_hold);
    }
    m_left.signal();
}

void ZKEventSync::HANDLE_SYNC_EVENT(void* eventSync)
{
    static_cast<ZKEventSync*>(eventSync)->handleSyncEvent();
}

XCode ZKEventSync::stopLoop()
{
    // a caller that was cancelled on the way would leave the loop standing for ever
    ZK::Detail::NoCancellation const guard;
    onWait(0);
    XCode code = m_serial.lock();
    if (code.isSuccess())
    {
        code = m_hold.lock();
        if (code.isSuccess())
        {
            code = m_event->set();
            if (code.isErr())
                m_hold.unlock();
        }
        if (code.isErr())
            m_serial.unlock();
    }
    if (code.isErr())
    {
        onWaitCanceled();
        logFailure();
        return code;
    }
    while (m_entered.wait().isErr())
        continue;
    onWaitCanceled();
    return code;
}

ZKAutoLock<ZKEventLoop>::ZKAutoLock(ZKEventLoop& loop) : m_stop(loop.getEventSync(EventPrio::NORMAL))
{
}
