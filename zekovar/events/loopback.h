#pragma once

#include "zekovar/events/file_observer.h"

/// A pipe to a loop of one's own: each `trigger()` on any thread gives one `onTrigger()` on the loop's thread.
///
/// Both ends are non-blocking and close-on-exec. Deleting it takes what `ZK::FileObserver` asks for.
class ZKFileObserverLoopback : public _ZKFileObserver
{
public:
    /// If the kernel has no pipe to give, one line goes to the system monitor, and every trigger fails.
    ZKFileObserverLoopback(ZKEventLoop& loop, bool enable, void (*handler)(void*), void* argument);

    ~ZKFileObserverLoopback() override;

    void onFileReady() override;

    /// Writes one byte. With the pipe full (64 KiB of triggers not yet served) it waits for the loop to make room,
    /// unless the caller itself keeps the loop from doing so: on the loop's thread, on one that is synchronised to the
    /// loop, or with the loop stopped, this trigger is merged with those that wait.
    virtual XCode trigger();

    virtual void onTrigger();

private:
    ZKFile m_writeEnd;
};
