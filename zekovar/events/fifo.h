#pragma once

#include "zekovar/events/event.h"
#include "zekovar/events/file_observer.h"
#include "zekovar/files/file.h"

/// The sending end of the named fifo "/tmp/fifo_" and the name, by which another process posts to an event loop.
///
/// The fifo stays in the file system when the trigger goes.
///
///     ZKFifoTrigger trigger("config_changed");
///     trigger.trigger();
class ZKFifoTrigger
{
public:
    /// Makes the fifo if there is nothing of that name, and opens it for reading as well, so that no reader has to be
    /// there. What fails here shows as the failure of `trigger`.
    explicit ZKFifoTrigger(String const& name);

    ZKFifoTrigger(ZKFifoTrigger const&) = delete;
    ZKFifoTrigger& operator=(ZKFifoTrigger const&) = delete;

    virtual ~ZKFifoTrigger();

    /// Writes one byte, from any thread. Blocks while the fifo is full, which takes thousands of bytes that nobody
    /// reads.
    XCode trigger();

private:
    ZKFile m_file;
};

/// The receiving end of a named fifo: calls `onTrigger` on the loop's thread for each byte.
///
/// Lifetime is that of `_ZKFileObserver`; `onTrigger` may disable or delete the observer. As the loop's thread reads the
/// fifo, no other one changes or deletes an enabled observer without being synchronised to the loop.
///
/// Once enabled, the observer counts as such to its end: after `disable` a further `enable` opens the fifo, but the loop
/// doesn't watch it any more.
class ZKFifoObserver : public _ZKFileObserver
{
public:
    /// `handler` may be null. With `enable` it may run before the constructor has returned; a class that overrides
    /// `onTrigger` passes false and enables itself at the end of its own constructor. The result of that is dropped.
    ZKFifoObserver(ZKEventLoop& loop, String const& name, bool enable, void (*handler)(void*), void* argument);

    ~ZKFifoObserver() override;

    using _ZKFileObserver::enable;

    /// Makes the fifo if there is nothing of that name, opens it and has the loop watch it; success if it is open
    /// already. `XCODE_FAILURE` if the file is no fifo, else the code of what failed.
    XCode enable() override;

    /// Closes the fifo. Bytes that come meanwhile are lost unless a trigger keeps the fifo open.
    void disable() override;

    void onFileReady() override;

    /// Called for each byte; runs the handler.
    virtual void onTrigger();

private:
    bool* m_pDestroyed; // tells onFileReady that onTrigger has deleted this object
};

/// A fifo whose bytes are posted as events, one post for each byte, so that the handler takes its turn by priority.
///
/// Made with `new` and dropped with `destroy()`, which also closes the fifo. So `cancel` and `destroy` ask for the
/// same thread as the changes of an observer.
class ZKFifoEvent : public ZKEvent, public ZKFifoObserver
{
public:
    ZKFifoEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument, String const& name,
                bool enable);

    /// Closes the fifo before it cancels the event.
    void cancel() override;

    void onTrigger() override;

protected:
    ~ZKFifoEvent() override;
};
