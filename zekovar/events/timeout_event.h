#pragma once

#include "zekovar/events/event.h"
#include "zekovar/events/file_observer.h"
#include "zekovar/events/ticker.h"

#include <atomic>

/// A one-shot or periodic timer whose handler runs on the loop's thread, on the monotonic clock.
///
/// A periodic timer is laid on the ticks of one of the loop's two `ZKTickerManager` objects if its period suits one of
/// them (`ZKEventLoop::getTickerManager`), and is rounded to whole ticks; it then costs no descriptor. Its first expiry
/// comes up to one tick early. One-shot timers and long periods have a timer descriptor of their own, which stays open
/// for the next start. An expiry calls the handler directly: it doesn't pass through the queue and knows no priority.
/// Expiries that a busy loop missed are dropped.
///
///     idle -- start --> on a ticker or on the own descriptor -- start --> the same, anew
///     any  -- stop, or a one-shot's expiry --> idle;   any -- cancel --> idle for good
///
/// `start`, `stop` and `cancel` may come from any thread, one at a time; the handler may call them, and destroy the
/// event. On a thread other than the loop's, a handler may still be running when `stop` returns: synchronise to the
/// loop where that matters, and always before the last reference goes.
///
///     auto* timer = new _ZKTimeoutEvent(IO::INSTANCE(), EventPrio::NORMAL, &ON_TIMEOUT, this);
///     timer->start(500, true, false);
///     timer->destroy();
class _ZKTimeoutEvent : public ZKEvent, public _ZKFileObserver, public ZKTicker
{
public:
    /// `priority` is that of an immediate first run and of `set`.
    _ZKTimeoutEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument);

    void cancel() override;

    /// Starts the timer, or starts it anew. With `immediately` the handler also runs once through the queue.
    ///
    /// Fails with `XCODE_FAILURE` on a cancelled event and for 0 milliseconds, without touching a running timer; and,
    /// with the timer stopped, with the code of `ENOMEM` if the ticker has no place left and with that of `errno` if
    /// there is no descriptor or it can't be armed.
    virtual XCode start(unsigned int milliseconds, bool periodic, bool immediately);

    /// Stops the timer; an entry that stands in the queue stays there.
    virtual void stop();

    void onTick() override;
    void onFileReady() override;

    /// Called at each expiry; runs the handler.
    virtual void handleTimeout();

    /// As in the last `start` that got so far.
    bool isPeriodic() const { return m_periodic.load(std::memory_order_relaxed); }

    /// Null unless the timer runs on a ticker.
    ZKTickerManager* getTicker() const { return m_ticker.load(std::memory_order_relaxed); }

    /// The period in ticks, when it last ran on a ticker.
    unsigned int getReloadTicks() const { return m_reloadTicks.load(std::memory_order_relaxed); }

protected:
    ~_ZKTimeoutEvent() override;

private:
    XCode startOnTicker(ZKTickerManager& ticker, unsigned int milliseconds);
    XCode startOnDescriptor(unsigned int milliseconds, bool periodic);

    ZKFile m_timerFile;
    std::atomic<bool> m_periodic;
    std::atomic<ZKTickerManager*> m_ticker;
    std::atomic<unsigned int> m_reloadTicks;
    std::atomic<unsigned int> m_ticksLeft;
};

/// A timer that calls a member function with a value. The record owns the timer and ends it in its destructor, which
/// runs on the loop's thread or on one that is synchronised to the loop.
///
///     m_heartbeat = new ZKEventTimeoutData<Monitor, String>(loop, EventPrio::LOW, *this, &Monitor::onBeat, name);
///     m_heartbeat->getEvent().start(1000, true, false);
template <class Owner, class Data>
class ZKEventTimeoutData
{
public:
    using Method = void (Owner::*)(Data const&);

    ZKEventTimeoutData(ZKEventLoop& loop, EventPrio::Type priority, Owner& owner, Method method, Data const& data)
        : m_owner(&owner),
          m_method(method),
          m_data(data),
          m_event(new _ZKTimeoutEvent(loop, priority, &HANDLE_EVENT, this))
    {
    }

    ZKEventTimeoutData(ZKEventTimeoutData const&) = delete;
    ZKEventTimeoutData& operator=(ZKEventTimeoutData const&) = delete;

    ~ZKEventTimeoutData() { m_event->destroy(); }

    _ZKTimeoutEvent& getEvent() const { return *m_event; }

    /// The event's handler; `record` is the `ZKEventTimeoutData`. The member function may delete the record, and its
    /// argument with it.
    static void HANDLE_EVENT(void* record)
    {
        auto const* self = static_cast<ZKEventTimeoutData*>(record);
        (self->m_owner->*self->m_method)(self->m_data);
    }

private:
    Owner* m_owner;
    Method m_method;
    Data m_data;
    _ZKTimeoutEvent* m_event;
};
