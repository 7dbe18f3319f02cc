#pragma once

#include "zekovar/events/event_prio.h"
#include "zekovar/events/event_queue.h"
#include "zekovar/events/file_queue.h"
#include "zekovar/events/loopback.h"
#include "zekovar/events/ticker.h"
#include "zekovar/threads/thread.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

class ZKEventSync;

/// A thread that serves events by priority, files and timers; all asynchronous work runs on one of a few such loops.
///
/// One turn sleeps in `epoll_wait` and then serves the ready files in the kernel's order, each at its place: tickers
/// and timers call their handlers, file observers their callbacks, and the loopback pipe drains the three queues.
/// Draining handles one event at a time and starts again at "high" after each, first in, first out within a queue; it
/// ends when all three are empty. So a steady stream of high events starves the low ones, and any stream of events
/// starves files and timers.
///
/// Any thread may post. Starting, stopping and destroying a loop is the affair of its owner, but its own handlers may stop it
/// too. It can be started again after a stop. It must not be destroyed on its own thread, and a class that overrides a virtual
/// operation stops it in its own destructor.
///
///     ZKEventLoop loop("Radio", 0, 100, 1000, 10000, 0);
///     loop.start();
class ZKEventLoop
{
public:
    /// `queueSizeHint` and `levelHint` bound nothing. Ticks and the longest period of a timer on them are in
    /// milliseconds; 0 puts a ticker out of use.
    ZKEventLoop(String const& name, unsigned int queueSizeHint, unsigned int fineTickMs, unsigned int coarseTickMs,
                unsigned int maxTickerPeriodMs, unsigned int levelHint);

    ZKEventLoop(ZKEventLoop const&) = delete;
    ZKEventLoop& operator=(ZKEventLoop const&) = delete;

    /// Stops the loop, waits for its thread to be gone and drops what is queued, without running it.
    virtual ~ZKEventLoop();

    /// Starts the thread and has the loop supervised; without effect on a running loop. If the system has no thread to give,
    /// the supervisor shows the loop as blocked, and a stop and another start try again.
    virtual void start();

    /// Ends the thread at the end of its present turn and waits for that, unless the caller is the loop's thread or
    /// keeps it standing still. What is posted later stays queued until the next start. Without effect on a stopped
    /// loop.
    virtual void stop();

    /// Makes the loop take one more turn.
    virtual void wakeupLoop();

    /// The body of the loop's thread: turns until the loop is stopped.
    virtual XCode runLoop();

    /// The manager for a timer with a period of `milliseconds`; null if it needs a timer of its own.
    ZKTickerManager* getTickerManager(unsigned int milliseconds);

    /// Wakes the loop for an event that was just added to one of its queues; free of system calls unless the loop may
    /// sleep.
    void onEventAdded(ZKEventQueue* queue);

    /// Drains the queues. Only on the loop's thread.
    void onTrigger();

    static void ON_TRIGGER(void* loop);

    String const& getName() const { return m_name; }

    /// The name with a number that no other loop of the process has: "%s-%8.8x".
    String const& getUniqueName() const { return m_uniqueName; }

    /// A number that is no priority counts as low, here and in `getEventSync`.
    ZKEventQueue& getQueue(EventPrio::Type priority) const { return *m_queues[indexOf(priority)]; }

    /// The lock by which another thread makes this loop stand still.
    ZKEventSync& getEventSync(EventPrio::Type priority) const { return *m_syncEvents[indexOf(priority)]; }

    ZKFileQueue& getFileQueue() const { return *m_fileQueue; }

    ZKThread& getThread() { return m_thread; }

    ZKThread const& getThread() const { return m_thread; }

    bool isStopped() const { return m_stopped.load(std::memory_order_acquire); }

    bool isCurrentThread() const { return ZKThread::CURRENT() == &m_thread; }

private:
    static unsigned int indexOf(EventPrio::Type priority)
    {
        return static_cast<unsigned int>(priority) < EventPrio::COUNT ? priority : EventPrio::LOW;
    }

    void waitForThread();
    void drainQueues();
    bool hasEvents() const;

    static std::atomic<uint32_t> s_nextUniqueId;

    /// What a poster has to do about a sleeping loop.
    enum class WakeUp : uint32_t
    {
        NEEDED,   ///< the loop sleeps or is about to: the poster that swaps this for `UNDER_WAY` writes a byte
        UNDER_WAY ///< a byte is on its way, or the loop is draining and looks at the queues once more
    };

    String m_name;
    String m_uniqueName;
    std::array<std::unique_ptr<ZKEventQueue>, EventPrio::COUNT> m_queues;
    std::unique_ptr<ZKFileQueue> m_fileQueue;
    std::unique_ptr<ZKFileObserverLoopback> m_loopback;
    ZKThreadMethod<ZKEventLoop> m_thread;
    std::atomic<bool> m_stopped;
    std::array<std::unique_ptr<ZKEventSync>, EventPrio::COUNT> m_syncEvents;
    ZKTickerManager m_fineTicker;
    ZKTickerManager m_coarseTicker;
    unsigned int m_maxTickerPeriod; // milliseconds
    std::atomic<WakeUp> m_wakeUp;
};
