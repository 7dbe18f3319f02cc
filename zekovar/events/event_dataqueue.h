#pragma once

#include "zekovar/events/reentrant_queue.h"
#include "zekovar/events/timeout_event.h"

#include <memory>
#include <utility>

/// A fixed pool of events that carry a value each to a member function of `Owner`, on the loop's thread.
///
/// `set` is safe from any thread and doesn't allocate, but for what copying `Data` costs. The owner must outlive the
/// pool. A thread other than the loop's synchronises to the loop before it deletes a pool with posts under way.
template <class Owner, class Data>
class ZKEventDataqueue
{
public:
    using Method = void (Owner::*)(Data);

    /// `count` values can be under way at a time. `method` may be null.
    ZKEventDataqueue(ZKEventLoop& loop, EventPrio::Type priority, Owner* owner, Method method, unsigned int count)
        : m_owner(owner),
          m_method(method),
          m_count(count),
          m_wrappers(std::make_unique<EventWrapper[]>(count)),
          m_free(count)
    {
        for (unsigned int i = 0; i < m_count; ++i)
        {
            EventWrapper& wrapper = m_wrappers[i];
            wrapper.queue = this;
            wrapper.event = new _ZKTimeoutEvent(loop, priority, &HANDLE_EVENT, &wrapper);
            m_free.put(&wrapper);
        }
    }

    ZKEventDataqueue(ZKEventDataqueue const&) = delete;
    ZKEventDataqueue& operator=(ZKEventDataqueue const&) = delete;

    /// What is under way is dropped.
    ~ZKEventDataqueue()
    {
        cancel();
        for (unsigned int i = 0; i < m_count; ++i)
            m_wrappers[i].event->destroy();
    }

    /// Carries a copy of `data` to the owner: by a post, or by a timer if `delayMilliseconds` isn't 0. The code of
    /// ENOENT if all events of the pool are under way, else that of the failed post or timer; nothing is carried then.
    XCode set(Data const& data, unsigned int delayMilliseconds)
    {
        EventWrapper* wrapper = nullptr;
        if (XCode code = m_free.get(wrapper); code.isErr())
            return code;
        wrapper->data = data;
        XCode code =
            delayMilliseconds == 0 ? wrapper->event->set() : wrapper->event->start(delayMilliseconds, false, false);
        if (code.isErr())
        {
            wrapper->data = Data();
            m_free.put(wrapper);
        }
        return code;
    }

    /// Ends the pool before its destructor does: `set` fails from now on. Calls `drop` with each value that was under way,
    /// for data that doesn't free itself, and with an empty value for each event that was idle. For the loop's thread or
    /// one that is synchronised to the loop.
    template <class Drop>
    void drain(Drop drop)
    {
        cancel();
        for (unsigned int i = 0; i < m_count; ++i)
            drop(std::exchange(m_wrappers[i].data, Data()));
    }

    /// Gives the event back to the pool before it calls the owner, so that the owner can post again.
    static void HANDLE_EVENT(void* argument)
    {
        auto* const wrapper = static_cast<EventWrapper*>(argument);
        ZKEventDataqueue& queue = *wrapper->queue;
        Data data = std::exchange(wrapper->data, Data());
        queue.m_free.put(wrapper);
        if (queue.m_method != nullptr)
            (queue.m_owner->*queue.m_method)(std::move(data));
    }

private:
    struct EventWrapper
    {
        ZKEventDataqueue* queue = nullptr;
        _ZKTimeoutEvent* event = nullptr; // holds a reference
        Data data{};
    };

    void cancel()
    {
        for (unsigned int i = 0; i < m_count; ++i)
            m_wrappers[i].event->cancel();
    }

    Owner* m_owner;
    Method m_method;
    unsigned int m_count;
    std::unique_ptr<EventWrapper[]> m_wrappers;
    ZKReentrantQ<EventWrapper*> m_free;
};
