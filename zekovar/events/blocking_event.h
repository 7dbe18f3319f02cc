#pragma once

#include "zekovar/events/event.h"
#include "zekovar/threads/semaphore.h"

/// An event whose `set` returns when the handler has run.
///
/// For threads other than the loop's: a loop that sets such an event of its own waits for itself and never returns. The
/// same holds for a thread that is synchronised to the loop. The loop must be running, or be started later.
class _ZKBlockingEvent : public ZKEvent
{
public:
    _ZKBlockingEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument);

    /// Posts the event and blocks, without limit, until the loop has taken it: until the handler has run, or until the
    /// entry was dropped because the event was cancelled or the queue is going. Fails at once with what `ZKEvent::set`
    /// gives, else with the code of the failed wait.
    XCode set() override;

    /// Runs the handler and lets the poster go. `getPending` isn't lowered: it counts all posts.
    void process() override;

protected:
    ~_ZKBlockingEvent() override;

private:
    ZKSemaphore m_done;
};
