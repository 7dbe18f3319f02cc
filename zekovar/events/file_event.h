#pragma once

#include "zekovar/events/event.h"
#include "zekovar/events/file_observer.h"

/// A file whose readiness is posted as an event, so that the work takes its turn by priority and not in the epoll
/// dispatch.
///
/// Each edge of readiness posts once; a hangup posts unless a post is queued. Made with `new` and dropped with
/// `destroy()`, which also ends the watching.
class ZKFileEvent : public ZKEvent, public _ZKFileObserver
{
public:
    /// `callback` gets true from the first hangup on, and `argument`.
    ZKFileEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*callback)(bool, void*), void* argument,
                ZKFile const& file, _ZKFileObserver::Type type, bool enable);

    /// Disables the observer before it cancels the event.
    void cancel() override;

    void onFileReady() override;
    void onHangup() override;

    static void ON_FILE_READY_DECOUPLED(void* fileEvent);

protected:
    ~ZKFileEvent() override;

private:
    void (*m_callback)(bool, void*);
    void* m_callbackArgument;
    bool m_hangup; // only the loop's thread looks at it
};
