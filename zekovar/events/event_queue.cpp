#include "zekovar/events/event_queue.h"

#include "zekovar/events/event.h"
#include "zekovar/events/event_clock.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/backtrace.h"
#include "zekovar/threads/symbol_line.h"

#include <algorithm>
#include <cstdlib>
#include <execinfo.h>
#include <utility>

namespace
{
uint64_t nanosecondsOf(ZK::Time const& time)
{
    return static_cast<uint64_t>(time.getSeconds()) * 1000000000 + static_cast<uint64_t>(time.getNanoseconds());
}

/// For a figure that only the loop's thread raises, while other threads read and reset it.
class SharedFigure
{
public:
    explicit SharedFigure(uint64_t& value) : m_value(value) {}

    uint64_t get() const { return m_value.load(std::memory_order_relaxed); }

    void set(uint64_t value) { m_value.store(value, std::memory_order_relaxed); }

    void add(uint64_t value)
    {
        if (value != 0)
            set(get() + value);
    }

    void raise(uint64_t value)
    {
        if (value > get())
            set(value);
    }

private:
    std::atomic_ref<uint64_t> m_value;
};
}

ZKEventQueue::ZKEventQueue(ZKEventLoop& loop, String const& name, unsigned int, unsigned int levelHint)
    : m_loop(loop),
      m_name(name),
      m_levelHint(levelHint),
      m_mutex(true),
      m_added(0),
      m_maxFillLevel(0),
      m_maxFillLevelInterval(0),
      m_addedTimes(0),
      m_removedSeen(0),
      m_addedCount(0),
      m_processing(false),
      m_removalMutex(false),
      m_removedCount(0)
{
}

ZKEventQueue::~ZKEventQueue()
{
    EventInfo info;
    while (takeFirst(info, ZK::Time()))
    {
        info.event->cancel();
        info.event->process();
        info.event->release();
        delete info.backtrace;
    }
}

XCode ZKEventQueue::addEvent(ZKEvent* event)
{
    if (event == nullptr)
        return XCODE_FAILURE;
    EventInfo info;
    info.event = event;
    info.added = ZK::Detail::eventTime();
    event->addRef();
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        m_entries.push_back(info);
        onEventAdded(info);
    }
    m_loop.onEventAdded(this);
    return XCODE_SUCCESS;
}

bool ZKEventQueue::takeFirst(EventInfo& info, ZK::Time const& now)
{
    if (m_batch.empty())
    {
        if (!hasEvents())
            return false;
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        m_batch.swap(m_entries);
    }
    info = m_batch.front();
    m_batch.pop_front();
    onEventRemoved(info, now);
    return true;
}

bool ZKEventQueue::processEvent()
{
    ZK::Time now;
    return processEvent(now);
}

bool ZKEventQueue::processEvent(ZK::Time& now)
{
    EventInfo info;
    if (!takeFirst(info, now))
        return false;
    m_processing.store(true, std::memory_order_relaxed);
    info.event->process();
    m_processing.store(false, std::memory_order_relaxed);
    info.processed = std::max(ZK::Detail::eventTime(), info.removed);
    onProcessed(info);
    // a destructor may take its time
    now = info.event->getRefCount() > 1 ? info.processed : ZK::Time();
    info.event->release();
    delete info.backtrace;
    return true;
}

unsigned int ZKEventQueue::getFillLevel() const
{
    uint32_t const removed = m_removedCount.load(std::memory_order_acquire);
    return m_addedCount.load(std::memory_order_acquire) - removed;
}

uint64_t ZKEventQueue::getAddedCount() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return m_added;
}

uint64_t ZKEventQueue::getMaxFillLevel() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return m_maxFillLevel;
}

uint64_t ZKEventQueue::getProcessedCount() const
{
    return SharedFigure(m_statistics.processed).get();
}

void ZKEventQueue::getStatistics(Statistics& statistics)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    ZKAutoLock<ZKMutexPrivate> removalGuard(m_removalMutex);
    // Not the events' cheap clock, whose reading could be older than an entry.
    uint64_t const now = nanosecondsOf(ZK::Time::NOW(ZK::Time::Source::MONOTONIC));
    updateMaxFillLevel();
    statistics.added = m_added;
    statistics.removed = m_statistics.removed;
    statistics.processed = getProcessedCount();
    statistics.maxFillLevel = m_maxFillLevel;
    statistics.maxFillLevelInterval = std::exchange(m_maxFillLevelInterval, 0);
    // What was removed waited from added to removed, and what is queued from added to now: the fill level summed up over
    // time.
    statistics.load = m_statistics.load + getFillLevel() * now - m_addedTimes;
    statistics.queuingTime = m_statistics.queuingTime;
    statistics.maxQueuingTimeInterval = std::exchange(m_statistics.maxQueuingTimeInterval, 0);
    statistics.processingTime = SharedFigure(m_statistics.processingTime).get();
    SharedFigure maxProcessingTime(m_statistics.maxProcessingTimeInterval);
    statistics.maxProcessingTimeInterval = maxProcessingTime.get();
    maxProcessingTime.set(0);
}

String ZKEventQueue::GET_HANDLE_INFO(EventInfo const& info)
{
    if (info.event == nullptr)
        return String();
    void* address = reinterpret_cast<void*>(info.event->getHandler());
    char** const symbols = backtrace_symbols(&address, 1);
    if (symbols == nullptr)
        return String();
    String line(symbols[0]);
    std::free(symbols);
    if (String const name = ZK::Detail::demangledNameOf(line); !name.isEmpty())
        line.concatf(" -> %s", name.c_str());
    return line;
}

void ZKEventQueue::onEventAdded(EventInfo const& info)
{
    m_added++;
    m_addedTimes += nanosecondsOf(info.added);
    m_addedCount.store(static_cast<uint32_t>(m_added), std::memory_order_seq_cst);
    updateMaxFillLevel();
}

void ZKEventQueue::onEventRemoved(EventInfo& info, ZK::Time const& now)
{
    // Two threads' readings may differ by a little.
    info.removed = std::max(now != ZK::Time() ? now : ZK::Detail::eventTime(), info.added);
    auto const milliseconds = static_cast<uint64_t>(info.removed.millisecondsSince(info.added));
    ZKAutoLock<ZKMutexPrivate> guard(m_removalMutex);
    m_statistics.removed++;
    m_statistics.load += nanosecondsOf(info.removed);
    m_statistics.queuingTime += milliseconds;
    m_statistics.maxQueuingTimeInterval = std::max(m_statistics.maxQueuingTimeInterval, milliseconds);
    m_removedCount.store(static_cast<uint32_t>(m_statistics.removed), std::memory_order_release);
}

void ZKEventQueue::onProcessed(EventInfo const& info)
{
    auto const milliseconds = static_cast<uint64_t>(info.processed.millisecondsSince(info.removed));
    SharedFigure(m_statistics.processed).add(1);
    SharedFigure(m_statistics.processingTime).add(milliseconds);
    SharedFigure(m_statistics.maxProcessingTimeInterval).raise(milliseconds);
}

void ZKEventQueue::updateMaxFillLevel()
{
    // The loop's count is fetched only if what is known of it leaves room for a new maximum.
    auto const count = static_cast<uint32_t>(m_added);
    if (count - m_removedSeen <= m_maxFillLevelInterval)
        return;
    m_removedSeen = m_removedCount.load(std::memory_order_relaxed);
    uint64_t const level = count - m_removedSeen;
    m_maxFillLevel = std::max(m_maxFillLevel, level);
    m_maxFillLevelInterval = std::max(m_maxFillLevelInterval, level);
}
