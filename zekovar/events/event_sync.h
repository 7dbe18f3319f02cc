#pragma once

#include "zekovar/events/event_prio.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/lock.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/semaphore.h"

class ZKEvent;
class ZKEventLoop;
class ZKThread;

/// Stops a loop's thread between two events, so that another thread may touch the loop's data.
///
/// Each loop has one for each priority (`ZKEventLoop::getEventSync`); the priority says how far the request overtakes
/// what is queued. While a thread holds the stop it is "synchronised to" the loop's thread: further levels, of any
/// priority, are granted at once, as they are on the loop's own thread. Levels of one loop end in the reverse order of
/// their beginning. Keep the stop short: nothing of the loop runs meanwhile. Threads that take several loops take them
/// in one order, or they can deadlock. On a loop that isn't running `lock` blocks until it runs.
///
/// | state     | caller                                   | loop's thread                           |
/// | --------- | ---------------------------------------- | --------------------------------------- |
/// | idle      |                                          |                                         |
/// | requested | has serial and hold, waits for `entered` | works its queues down to the request    |
/// | held      | works on the loop's data                 | has signalled `entered`, waits for hold |
/// | leaving   | has unlocked hold, waits for `left`      | locks and unlocks hold, signals `left`  |
/// | idle      | unlocks serial                           | goes on with its queues                 |
///
/// Safe from any thread. A waiting thread shows in the lock report as waiting for a "sync-event".
///
///     ZKAutoLock<ZKEventLoop> stop(loop); // priority normal
///     loopData.push(value);
class ZKEventSync : public ZKLock
{
public:
    ZKEventSync(ZKEventLoop& loop, EventPrio::Type priority);

    ZKEventSync(ZKEventSync const&) = delete;
    ZKEventSync& operator=(ZKEventSync const&) = delete;

    ~ZKEventSync() override;

    /// "%s-%p" of the loop's name and this object.
    String getLockName() const override;

    XCode lock() override { return synchronize(); }

    void unlock() override { unsynchronize(); }

    /// Blocks until the loop stands still, without limit; a cancellation of the thread takes effect behind that. On
    /// failure the loop isn't held and a line goes to the system monitor: `XCODE_FAILURE` if the thread's list can't
    /// be stored, else the code of the failed lock or post.
    XCode synchronize();

    /// Ends one level; the last one lets the loop go on. Without effect on a thread that isn't synchronised to the
    /// loop.
    void unsynchronize();

    /// Holds the loop's thread until the caller that stopped it lets go.
    void handleSyncEvent();

    static void HANDLE_SYNC_EVENT(void* eventSync);

private:
    XCode stopLoop();

    ZKEvent* m_event;
    ZKThread* m_thread;
    ZKSemaphore m_entered;
    ZKSemaphore m_left;
    ZKMutex m_serial; // admits one foreign thread at a time; taken before m_hold
    ZKMutex m_hold;   // the loop's thread waits here while it is stopped
};

/// Synchronises to a loop at normal priority for a scope.
template <>
class [[nodiscard]] ZKAutoLock<ZKEventLoop>
{
public:
    explicit ZKAutoLock(ZKEventLoop& loop);

private:
    ZKAutoLock<ZKEventSync> m_stop;
};
