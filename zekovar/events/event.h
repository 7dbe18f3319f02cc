#pragma once

#include "zekovar/events/event_prio.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>
#include <cstdint>

class ZKEventLoop;
class ZKEventQueue;

/// A call that any thread can post to a loop, as often as it likes; each post runs the handler once, on the loop's
/// thread.
///
/// Made with `new`; the maker owns one reference and drops it with `destroy()`, each entry in the queue holds another.
/// So an event may be destroyed while it is queued: it lives until its entry's turn and its handler isn't run.
/// Cancelling from another thread doesn't wait for a handler that is running: synchronise to the loop first where that
/// matters. The loop must outlive its events.
///
///     auto* event = new ZKEvent(IO::INSTANCE(), EventPrio::NORMAL, &ON_DATA, this);
///     event->set();
///     event->destroy();
class ZKEvent : public ZK::RefCounted
{
public:
    /// `handler` may be null. A number that is no priority counts as low.
    ZKEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument);

    ZKEvent(ZKEvent const&) = delete;
    ZKEvent& operator=(ZKEvent const&) = delete;

    /// Posts the event; never blocks for longer than the queue's short lock. `XCODE_FAILURE` once it is cancelled.
    virtual XCode set();

    /// Posts the event unless it is queued already. Two threads at once may both post.
    virtual XCode setIfNotPending();

    /// Ends the event for good: entries that are still queued run no handler, and `set` refuses.
    virtual void cancel();

    /// As `cancel`, for callers that exclude a running handler themselves.
    virtual void cancelIgnoreRace();

    /// Cancels and drops the caller's reference.
    virtual void destroy();

    /// As `destroy`, by way of `cancelIgnoreRace`.
    virtual void destroyIgnoreRace();

    /// Called by the queue for each entry taken off it.
    virtual void process();

    /// Runs the handler, unless there is none or the event is cancelled.
    virtual void handle();

    ZKEventLoop& eventLoop() const;

    /// How many times the event stands in its queue.
    uint32_t getPending() const { return m_pending.load(std::memory_order_relaxed); }

    bool isPending() const { return getPending() != 0; }

    bool isCancelled() const { return m_cancelled.load(std::memory_order_relaxed); }

    void (*getHandler() const)(void*) { return m_handler; }

protected:
    ~ZKEvent() override;

    std::atomic<uint32_t> m_pending;
    ZKEventQueue* m_queue;
    void (*m_handler)(void*);
    void* m_handlerArgument;
    std::atomic<bool> m_cancelled;
};
