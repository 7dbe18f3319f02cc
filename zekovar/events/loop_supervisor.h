#pragma once

#include "zekovar/events/event_prio.h"
#include "zekovar/events/timeout_event.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/semaphore.h"
#include "zekovar/threads/thread.h"

#include <cstdint>

class ZKEventLoop;

/// Tells whether each running loop of the process is alive and keeps up: a thread that looks once a second, and a
/// report for a diagnostic client. It raises no alarm and takes no action.
///
/// Two figures are kept for each loop, in seconds. The queuing delay is the time since the loop last got back to its
/// files, measured by a heartbeat timer on the loop. The processing time is the time in which events were waiting or
/// running and not one finished.
///
/// Safe from any thread. No operation but `unregisterEventLoop` waits for a loop. The instance lives from the first
/// start of a loop to the end of the process.
///
///     String text;
///     ZKEventLoopSupervisor::INSTANCE().getStatus(text);
class ZKEventLoopSupervisor : public ZKThread
{
public:
    /// What a queue shows to the once-a-second look.
    struct QueueState
    {
        uint64_t processed = 0;
        unsigned int fillLevel = 0;
        bool processing = false;
    };

    struct LoopStatus
    {
        ZKEventTimeoutData<ZKEventLoopSupervisor, String>* heartbeat = nullptr; ///< null while the loop is leaving
        ZKEventLoop* loop = nullptr;
        unsigned int maxQueuingDelay = 0;                         ///< seconds
        unsigned int queuingDelay = 0;                            ///< seconds
        unsigned int maxProcessingTime = 0;                       ///< seconds
        unsigned int processingTime = 0;                          ///< seconds
        unsigned int lastProcessed[EventPrio::COUNT] = {0, 0, 0}; ///< by priority

        /// Counts one more second.
        void countSecond(QueueState const (&queues)[EventPrio::COUNT]);

        /// Appends the loop's block of the report.
        void print(String& text) const;
    };

    struct Report
    {
        String name;                     ///< the loop's unique name
        unsigned int queuingDelay = 0;   ///< seconds
        unsigned int processingTime = 0; ///< seconds
    };

    /// The supervisor, with its thread running. Thread-safe; made by the first call.
    static ZKEventLoopSupervisor& INSTANCE();

    ZKEventLoopSupervisor(ZKEventLoopSupervisor const&) = delete;
    ZKEventLoopSupervisor& operator=(ZKEventLoopSupervisor const&) = delete;

    ~ZKEventLoopSupervisor() override;

    XCode runThread() override;

    /// The heartbeat of the loop of that unique name; an unknown name is ignored.
    virtual void onEvent(String const& uniqueName);

    /// Watches `loop` from now on, with all figures at 0. Null and a loop that is watched already are ignored.
    void registerEventLoop(ZKEventLoop* loop);

    /// Stops watching. Blocks until the loop's thread stands still, so that no heartbeat runs on return; not on the
    /// loop's own thread or one synchronised to it, nor for a loop without a thread. Null and an unknown loop are
    /// ignored. Once it has returned, the supervisor doesn't touch `loop` any more.
    void unregisterEventLoop(ZKEventLoop* loop);

    /// Replaces `reports` by the current figures of all loops, in the order of their registration.
    void getStatus(ZKVector<Report>& reports);

    /// Appends the text report.
    void getStatus(String& text);

private:
    ZKEventLoopSupervisor();

    void countSecond();

    /// Null if there is none.
    ZKEventLoop* firstLoop();

    /// With the mutex held, waits until another thread's `unregisterEventLoop` has finished.
    void waitUntilGone(String const& uniqueName);

    ZKMutex m_mutex; // guards m_loops and m_seconds; never held while waiting for a loop
    ZKStringHashTable<LoopStatus> m_loops;
    unsigned int m_seconds; // passes so far
    ZKSemaphore m_stopSignal;
    ZKThreadCondition m_left; // an entry has gone from m_loops
};
