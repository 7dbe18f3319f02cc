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

    /// Writes one byte, without ever blocking: triggers that find the pipe full (64 KiB of them not yet served) are merged with
    /// those before. Fails with the code of the write.
    virtual XCode trigger();

    virtual void onTrigger();

private:
    ZKFile m_writeEnd;
};
