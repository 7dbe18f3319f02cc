#pragma once

#include "zekovar/foundation/ptr.h"
#include "zekovar/threads/lock.h"

class ZKEvent;
class ZKEventLoop;

namespace ZK::Detail
{
/// The lock that a function of mode "sync" holds around its target: the stop of a loop at normal priority.
class FunctionEventSync : public ZKLock
{
public:
    explicit FunctionEventSync(ZKEventLoop& loop);
    ~FunctionEventSync() override;

    /// "%s-%p" of the loop's name and this object.
    String getLockName() const override;

    XCode lock() override;
    void unlock() override;

private:
    ZKEventLoop& m_loop;
};

/// The half of a function of mode "async" that doesn't depend on its signature: an event of normal priority which, on
/// the loop's thread, calls `handle` once for each `set`.
class FunctionEventAsync
{
public:
    explicit FunctionEventAsync(ZKEventLoop& loop);

    FunctionEventAsync(FunctionEventAsync const&) = delete;
    FunctionEventAsync& operator=(FunctionEventAsync const&) = delete;

    /// Stops the event.
    virtual ~FunctionEventAsync();

    virtual void handle();

    /// Called instead of `handle` for a post that ends with its queue, on the thread that destroys the loop.
    virtual void onPostDropped();

    /// Posts the event. Safe from any thread. Fails once the event has been stopped.
    XCode set();

    static void HANDLE(void* functionEvent);

protected:
    /// Ends the event for good: `handle` isn't running when this returns, unless it is the caller, and won't be called
    /// again. To be called before the outermost destructor, so that `handle` doesn't meet a half-destroyed object.
    ///
    /// It blocks while `handle` runs; whoever holds a lock that the target needs deadlocks. The loop itself isn't asked
    /// for anything, so it may be stopped, or blocked in another handler.
    void stop();

private:
    ZKEventLoop& m_loop;
    ZKPtr<ZKEvent> m_event;
};
}
