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
uint64_t nanosecondsBetween(ZK::Time const& earlier, ZK::Time const& later)
{
    auto const seconds = static_cast<int64_t>(later.getSeconds()) - static_cast<int64_t>(earlier.getSeconds());
    auto const nanoseconds = static_cast<int64_t>(later.getNanoseconds()) - earlier.getNanoseconds();
    return static_cast<uint64_t>(seconds * 1000000000 + nanoseconds);
}

/// Never negative: two threads' readings may differ by a little.
uint64_t millisecondsBetween(ZK::Time const& earlier, ZK::Time const& later)
{
    return static_cast<uint64_t>(std::max(later.millisecondsSince(earlier), 0LL));
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
    : m_loop(loop), m_name(name), m_levelHint(levelHint), m_mutex(true), m_processing(false), m_fillLevel(0)
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
    if (m_fillLevel.load(std::memory_order_relaxed) == 0)
        return false;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    if (m_entries.empty())
        return false;
    info = m_entries.front();
    m_entries.pop_front();
    info.removed = ZK::Detail::eventTime();
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
    info.processed = ZK::Detail::eventTime();
    onProcessed(info);
    info.event->release();
    delete info.backtrace;
    return true;
}

unsigned int ZKEventQueue::getFillLevel() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return static_cast<unsigned int>(m_entries.size());
}

uint64_t ZKEventQueue::getAddedCount() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return m_statistics.added;
}

uint64_t ZKEventQueue::getMaxFillLevel() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return m_statistics.maxFillLevel;
}

uint64_t ZKEventQueue::getProcessedCount() const
{
    return SharedFigure(m_statistics.processed).get();
}

void ZKEventQueue::getStatistics(Statistics& statistics)
{
    ZK::Time const now = ZK::Detail::eventTime();
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    updateLoadTime(now, m_entries.size());
    updateMaxFillLevel(m_entries.size());
    statistics.added = m_statistics.added;
    statistics.removed = m_statistics.removed;
    statistics.processed = getProcessedCount();
    statistics.maxFillLevel = m_statistics.maxFillLevel;
    statistics.maxFillLevelInterval = std::exchange(m_statistics.maxFillLevelInterval, 0);
    statistics.load = m_statistics.load;
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
    uint64_t const level = m_entries.size();
    m_statistics.added++;
    updateMaxFillLevel(level);
    updateLoadTime(info.added, level - 1);
    m_fillLevel.store(static_cast<uint32_t>(level), std::memory_order_seq_cst);
}

void ZKEventQueue::onEventRemoved(EventInfo const& info)
{
    uint64_t const level = m_entries.size();
    m_statistics.removed++;
    updateLoadTime(info.removed, level + 1);
    uint64_t const milliseconds = millisecondsBetween(info.added, info.removed);
    m_statistics.queuingTime += milliseconds;
    m_statistics.maxQueuingTimeInterval = std::max(m_statistics.maxQueuingTimeInterval, milliseconds);
    m_fillLevel.store(static_cast<uint32_t>(level), std::memory_order_relaxed);
}

void ZKEventQueue::onProcessed(EventInfo const& info)
{
    uint64_t const milliseconds = millisecondsBetween(info.removed, info.processed);
    SharedFigure(m_statistics.processed).add(1);
    SharedFigure(m_statistics.processingTime).add(milliseconds);
    SharedFigure(m_statistics.maxProcessingTimeInterval).raise(milliseconds);
}

void ZKEventQueue::updateMaxFillLevel(uint64_t level)
{
    m_statistics.maxFillLevel = std::max(m_statistics.maxFillLevel, level);
    m_statistics.maxFillLevelInterval = std::max(m_statistics.maxFillLevelInterval, level);
}

void ZKEventQueue::updateLoadTime(ZK::Time const& now, uint64_t level)
{
    // Readings of different threads come in a little out of order: what is then subtracted here modulo 2^64 is added again
    // by the next update.
    if (m_lastLoadUpdate.getSeconds() != 0)
        m_statistics.load += level * nanosecondsBetween(m_lastLoadUpdate, now);
    m_lastLoadUpdate = now;
}
