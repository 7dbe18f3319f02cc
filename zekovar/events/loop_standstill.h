#pragma once

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/synchronized.h"

namespace ZK::Detail
{
/// Keeps the loop's thread out of all handlers for a scope. A loop that isn't running has none, and isn't asked.
class LoopStandstill
{
public:
    explicit LoopStandstill(ZKEventLoop& loop) : m_stop(loop.getEventSync(EventPrio::NORMAL)), m_isLocked(false)
    {
        bool const isInHandler = isCurrentThreadSynchronizedTo(loop);
        while (!isInHandler && loop.isStopped() && loop.getThread().isAlive() && loop.getThread().isRunning())
            ZKThread::SLEEP(1); // the last turn
        if (isInHandler || !loop.isStopped())
            m_isLocked = m_stop.lock().isSuccess();
    }

    LoopStandstill(LoopStandstill const&) = delete;
    LoopStandstill& operator=(LoopStandstill const&) = delete;

    ~LoopStandstill()
    {
        if (m_isLocked)
            m_stop.unlock();
    }

private:
    ZKEventSync& m_stop;
    bool m_isLocked;
};
}
