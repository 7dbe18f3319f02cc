#include "zekovar/events/event_loop.h"

#include "zekovar/events/event_sync.h"
#include "zekovar/events/loop_supervisor.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/threads/no_cancellation.h"

#include <syslog.h>

ZKEventLoop::ZKEventLoop(String const& name, unsigned int queueSizeHint, unsigned int fineTickMs,
                         unsigned int coarseTickMs, unsigned int maxTickerPeriodMs, unsigned int levelHint)
    : m_name(name),
      m_uniqueName(name),
      m_thread(name, this, &ZKEventLoop::runLoop),
      m_stopped(true),
      m_fineTicker(*this, fineTickMs),
      m_coarseTicker(*this, coarseTickMs),
      m_maxTickerPeriod(maxTickerPeriodMs),
      m_wakeUp(WakeUp::NEEDED)
{
    m_uniqueName.format("%s-%8.8x", name.c_str(), s_nextUniqueId.fetch_add(1, std::memory_order_relaxed));
    for (unsigned int i = 0; i < EventPrio::COUNT; ++i)
    {
        char const* const priorityName = EventPrio::NAME(static_cast<EventPrio::Type>(i));
        m_queues[i] = std::make_unique<ZKEventQueue>(
            *this, String::stringOfFormat("%s.%s-priority", name.c_str(), priorityName), queueSizeHint, levelHint);
    }
    m_fileQueue = std::make_unique<ZKFileQueue>(String::stringOfFormat("%s.fds", name.c_str()));
    for (unsigned int i = 0; i < EventPrio::COUNT; ++i)
        m_syncEvents[i] = std::make_unique<ZKEventSync>(*this, static_cast<EventPrio::Type>(i));
    m_loopback = std::make_unique<ZKFileObserverLoopback>(*this, true, &ON_TRIGGER, this);
}

ZKEventLoop::~ZKEventLoop()
{
    ZKEventLoop::stop();
    waitForThread();
    m_coarseTicker.stop();
    m_fineTicker.stop();
    m_loopback->disable();
    for (unsigned int i = 0; i < EventPrio::COUNT; ++i)
    {
        m_syncEvents[i].reset();
        m_queues[i].reset();
    }
    // Behind the queues, whose events may be watching a file until they are cancelled there.
    m_fileQueue.reset();
    m_loopback.reset();
}

void ZKEventLoop::start()
{
    if (!isStopped())
        return;
    if (!isCurrentThreadSynchronizedTo(*this))
        waitForThread();
    m_stopped.store(false, std::memory_order_release);
    // Before there is a thread whose first handler might stop the loop, and so end the supervision.
    ZKEventLoopSupervisor::INSTANCE().registerEventLoop(this);
    m_thread.start(m_name);
}

void ZKEventLoop::stop()
{
    if (isStopped())
        return;
    ZKEventLoopSupervisor::INSTANCE().unregisterEventLoop(this);
    bool const canJoin = !isCurrentThreadSynchronizedTo(*this);
    if (!canJoin)
        m_thread.detach();
    m_stopped.store(true, std::memory_order_release);
    wakeupLoop();
    if (!canJoin)
        return;
    m_thread.join();
    waitForThread(); // a thread that stopped and restarted its own loop can't be joined
}

void ZKEventLoop::waitForThread()
{
    while (m_thread.isAlive() && m_thread.isRunning())
        ZKThread::SLEEP(1);
}

void ZKEventLoop::wakeupLoop()
{
    if (m_loopback == nullptr)
        return;
    if (XCode const code = m_loopback->trigger(); code.isErr())
        syslog(LOG_ERR, "Loop %s: WAKEUP FAILED: %s", m_name.c_str(), code.toString().c_str());
}

XCode ZKEventLoop::runLoop()
{
    while (!isStopped())
    {
        m_fileQueue->waitForFileActivity();
        // Without epoll the pipe can't be heard; only so can such a loop still be synchronised to, and stopped.
        if (!m_fileQueue->isOpen())
            onTrigger();
    }
    m_coarseTicker.stop();
    m_fineTicker.stop();
    return XCODE_SUCCESS;
}

ZKTickerManager* ZKEventLoop::getTickerManager(unsigned int milliseconds)
{
    if (m_fineTicker.getResolution() != 0 && milliseconds < m_coarseTicker.getResolution())
        return &m_fineTicker;
    if (m_coarseTicker.getResolution() == 0 || milliseconds > m_maxTickerPeriod)
        return nullptr;
    return &m_coarseTicker;
}

// A byte is written only where the loop may sleep. Let A be the poster's store of the queue's fill level and B its load
// of the wake-up state just behind it, C the loop's store of NEEDED after draining and D its look at the fill levels
// just behind that. All four are sequentially consistent. If B finds UNDER_WAY, it stands before the next C in their
// single order, so A stands before that D, which finds the event. If B finds NEEDED, the poster writes a byte itself,
// or the one who was faster in the exchange does, and that byte leads to another C and D. So no event stays behind
// while the loop sleeps. A byte too many only makes the loop look once more.
void ZKEventLoop::onEventAdded(ZKEventQueue*)
{
    if (m_loopback == nullptr || m_wakeUp.load(std::memory_order_seq_cst) != WakeUp::NEEDED)
        return;
    // A poster that was cancelled in its write would keep the others from writing.
    ZK::Detail::NoCancellation const guard;
    if (m_wakeUp.exchange(WakeUp::UNDER_WAY, std::memory_order_seq_cst) != WakeUp::NEEDED)
        return;
    if (XCode const code = m_loopback->trigger(); code.isErr())
    {
        m_wakeUp.store(WakeUp::NEEDED, std::memory_order_seq_cst);
        syslog(LOG_ERR, "Loop %s: TRIGGER FAILED: %s", m_name.c_str(), code.toString().c_str());
    }
}

void ZKEventLoop::onTrigger()
{
    do
    {
        m_wakeUp.store(WakeUp::UNDER_WAY, std::memory_order_seq_cst);
        drainQueues();
        m_wakeUp.store(WakeUp::NEEDED, std::memory_order_seq_cst);
    } while (hasEvents());
}

void ZKEventLoop::ON_TRIGGER(void* loop)
{
    static_cast<ZKEventLoop*>(loop)->onTrigger();
}

void ZKEventLoop::drainQueues()
{
    unsigned int priority = 0;
    while (priority < EventPrio::COUNT)
        priority = m_queues[priority]->processEvent() ? 0 : priority + 1;
}

bool ZKEventLoop::hasEvents() const
{
    for (auto const& queue : m_queues)
    {
        if (queue->hasEvents())
            return true;
    }
    return false;
}
