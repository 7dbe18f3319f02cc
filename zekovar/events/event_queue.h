#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/time.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>
#include <cstdint>
#include <deque>

class ZKBacktrace;
class ZKEvent;
class ZKEventLoop;

/// The events of one priority of a loop: first in, first out, without a bound, with figures of load and delay.
///
/// All operations are safe from any thread, except that only the loop's thread calls `processEvent`. No handler runs
/// under the queue's mutex.
class ZKEventQueue
{
public:
    /// One entry, with the monotonic times of its life, each up to 50 microseconds early.
    struct EventInfo
    {
        ZKEvent* event = nullptr; ///< holds a reference
        ZK::Time added;
        ZK::Time removed;
        ZK::Time processed;
        ZKBacktrace* backtrace = nullptr; ///< null in normal running, deleted with the entry
    };

    struct Statistics
    {
        uint64_t added = 0;
        uint64_t removed = 0;
        uint64_t processed = 0;                 ///< handlers finished
        uint64_t maxFillLevel = 0;              ///< since the start
        uint64_t maxFillLevelInterval = 0;      ///< since the last `getStatistics`
        uint64_t load = 0;                      ///< nanoseconds times fill level
        uint64_t queuingTime = 0;               ///< milliseconds from added to removed, summed up
        uint64_t maxQueuingTimeInterval = 0;    ///< milliseconds, since the last `getStatistics`
        uint64_t processingTime = 0;            ///< milliseconds from removed to processed, summed up
        uint64_t maxProcessingTimeInterval = 0; ///< milliseconds, since the last `getStatistics`
    };

    /// `capacityHint` and `levelHint` bound nothing; the second is kept for tools.
    ZKEventQueue(ZKEventLoop& loop, String const& name, unsigned int capacityHint, unsigned int levelHint);

    ZKEventQueue(ZKEventQueue const&) = delete;
    ZKEventQueue& operator=(ZKEventQueue const&) = delete;

    /// Cancels and drops what is left, without running a handler.
    ~ZKEventQueue();

    /// Appends an entry, which holds a reference on `event`, and wakes the loop. `XCODE_FAILURE` for null.
    XCode addEvent(ZKEvent* event);

    /// Takes the first entry off and runs its event; false if there was none.
    bool processEvent();

    /// Read without a lock.
    unsigned int getFillLevel() const
    {
        uint32_t const removed = m_removedCount.load(std::memory_order_acquire);
        return m_addedCount.load(std::memory_order_relaxed) - removed;
    }

    /// Copies the figures and starts a new interval for the three interval maxima.
    void getStatistics(Statistics& statistics);

    /// "symbol line -> demangled name" of the entry's handler; empty without an event.
    static String GET_HANDLE_INFO(EventInfo const& info);

    ZKEventLoop& getLoop() const { return m_loop; }

    String const& getName() const { return m_name; }

    /// True while a handler runs. Read without a lock.
    bool isProcessing() const { return m_processing.load(std::memory_order_relaxed); }

    /// @name Single figures
    /// As in `Statistics`, without a new interval; the processed one is read without a lock.
    /// @{
    uint64_t getAddedCount() const;

    uint64_t getProcessedCount() const { return m_processed.load(std::memory_order_relaxed); }

    uint64_t getMaxFillLevel() const;

    /// @}

    /// False only if every event whose `addEvent` has returned is handled or being handled. Takes no lock; only the loop's
    /// thread asks, and the order of this look against the wake-up state is what its sleep rests on.
    bool hasEvents() const
    {
        return m_addedCount.load(std::memory_order_seq_cst) != m_removedCount.load(std::memory_order_relaxed);
    }

private:
    bool takeFirst(EventInfo& info);
    void onEventAdded(EventInfo const& info);
    void onEventRemoved(EventInfo& info);
    void onProcessed(EventInfo const& info);
    void updateMaxFillLevel();

    // Entries move in batches from the posters' side to the loop's, and each side has its own cache lines, so that the
    // two rarely meet.
    ZKEventLoop& m_loop;
    String m_name;
    unsigned int m_levelHint;
    mutable ZKMutexPrivate m_mutex;  // guards the posters' side; taken before m_removalMutex
    std::deque<EventInfo> m_entries; // what isn't yet in m_batch

    alignas(64) std::atomic<bool> m_processing;
    Statistics m_statistics;              // removed, queuing and processing times; what else it has is apart
    ZKMutexPrivate m_removalMutex;        // guards m_statistics and m_removedTimes
    uint64_t m_removedTimes;              // sum of all `removed` in nanoseconds, modulo 2^64
    std::atomic<uint64_t> m_processed;    // written by the loop's thread alone, without the mutex
    std::atomic<uint32_t> m_removedCount; // the low word of what is removed
    std::deque<EventInfo> m_batch;        // only the loop's thread looks at it

    alignas(64) std::atomic<uint32_t> m_addedCount; // low word of m_added; less m_removedCount, the fill level
    uint64_t m_added;                               // from here on guarded by m_mutex
    uint64_t m_maxFillLevel;
    uint64_t m_maxFillLevelInterval;
    uint64_t m_addedTimes;  // sum of all `added` in nanoseconds, modulo 2^64
    uint32_t m_removedSeen; // an m_removedCount of the past
};
