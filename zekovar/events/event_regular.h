#pragma once

#include "zekovar/events/event.h"

/// Joins an event to a member function of `T`: each post calls it once, on the loop's thread.
///
/// The owner must outlive it. A thread other than the loop's synchronises to the loop before it deletes one that may be
/// pending.
template <class T>
class ZKEventRegular
{
public:
    ZKEventRegular(ZKEventLoop& loop, EventPrio::Type priority, T* owner, void (T::*method)())
        : m_owner(owner), m_method(method), m_event(new ZKEvent(loop, priority, &HANDLE_EVENT, this))
    {
    }

    ZKEventRegular(ZKEventRegular const&) = delete;
    ZKEventRegular& operator=(ZKEventRegular const&) = delete;

    ~ZKEventRegular() { m_event->destroy(); }

    ZKEvent& getEvent() const { return *m_event; }

    static void HANDLE_EVENT(void* regular)
    {
        auto* const self = static_cast<ZKEventRegular*>(regular);
        if (self->m_owner != nullptr && self->m_method != nullptr)
            (self->m_owner->*self->m_method)();
    }

private:
    T* m_owner;
    void (T::*m_method)();
    ZKEvent* m_event; // holds a reference
};
