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
}

ZKEventQueue::ZKEventQueue(ZKEventLoop& loop, String const& name, unsigned int, unsigned int levelHint)
    : m_loop(loop),
      m_name(name),
      m_levelHint(levelHint),
      m_mutex(false),
      m_processing(false),
      m_removalMutex(false),
      m_removedTimes(0),
      m_processed(0),
      m_removedCount(0),
      m_addedCount(0),
      m_added(0),
      m_maxFillLevel(0),
      m_maxFillLevelInterval(0),
      m_addedTimes(0),
      m_removedSeen(0)
{
}

ZKEventQueue::~ZKEventQueue()
{
    EventInfo info;
    while (takeFirst(info))
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

bool ZKEventQueue::takeFirst(EventInfo& info)
{
    if (m_batch.empty())
    {
        if (getFillLevel() == 0)
            return false;
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        m_batch.swap(m_entries);
    }
    info = m_batch.front();
    m_batch.pop_front();
    onEventRemoved(info);
    return true;
}

bool ZKEventQueue::processEvent()
{
    EventInfo info;
    if (!takeFirst(info))
        return false;
    m_processing.store(true, std::memory_order_relaxed);
    info.event->process();
    m_processing.store(false, std::memory_order_relaxed);
    info.processed = std::max(ZK::Detail::eventTime(), info.removed);
    onProcessed(info);
    info.event->release();
    delete info.backtrace;
    return true;
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

void ZKEventQueue::getStatistics(Statistics& statistics)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    ZKAutoLock<ZKMutexPrivate> removalGuard(m_removalMutex);
    // Not the events' cheap clock, whose reading could be older than an entry.
    uint64_t const now = nanosecondsOf(ZK::Time::NOW(ZK::Time::Source::MONOTONIC));
    updateMaxFillLevel();
    statistics = m_statistics;
    statistics.added = m_added;
    statistics.processed = getProcessedCount();
    statistics.maxFillLevel = m_maxFillLevel;
    statistics.maxFillLevelInterval = std::exchange(m_maxFillLevelInterval, 0);
    // What was removed waited from added to removed, and what is queued from added to now: the fill level summed up over
    // time.
    statistics.load = m_removedTimes + (m_added - m_statistics.removed) * now - m_addedTimes;
    m_statistics.maxQueuingTimeInterval = 0;
    m_statistics.maxProcessingTimeInterval = 0;
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
    // The loop's count is fetched only if what is known of it leaves room for a new maximum.
    if (static_cast<uint32_t>(m_added) - m_removedSeen > m_maxFillLevelInterval)
        updateMaxFillLevel();
}

void ZKEventQueue::onEventRemoved(EventInfo& info)
{
    // Two threads' readings may differ by a little.
    info.removed = std::max(ZK::Detail::eventTime(), info.added);
    auto const milliseconds = static_cast<uint64_t>(info.removed.millisecondsSince(info.added));
    ZKAutoLock<ZKMutexPrivate> guard(m_removalMutex);
    m_statistics.removed++;
    m_removedCount.store(static_cast<uint32_t>(m_statistics.removed), std::memory_order_release);
    m_removedTimes += nanosecondsOf(info.removed);
    m_statistics.queuingTime += milliseconds;
    m_statistics.maxQueuingTimeInterval = std::max(m_statistics.maxQueuingTimeInterval, milliseconds);
}

void ZKEventQueue::onProcessed(EventInfo const& info)
{
    m_processed.store(m_processed.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    auto const milliseconds = static_cast<uint64_t>(info.processed.millisecondsSince(info.removed));
    if (milliseconds == 0)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_removalMutex);
    m_statistics.processingTime += milliseconds;
    m_statistics.maxProcessingTimeInterval = std::max(m_statistics.maxProcessingTimeInterval, milliseconds);
}

void ZKEventQueue::updateMaxFillLevel()
{
    m_removedSeen = m_removedCount.load(std::memory_order_relaxed);
    uint64_t const level = static_cast<uint32_t>(m_added) - m_removedSeen;
    m_maxFillLevel = std::max(m_maxFillLevel, level);
    m_maxFillLevelInterval = std::max(m_maxFillLevelInterval, level);
}
