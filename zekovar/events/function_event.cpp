#include "zekovar/events/function_event.h"

#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/threads/auto_lock.h"

namespace ZK::Detail
{
/// Tells the function also of posts that end without a call of the handler.
class FunctionEvent : public ZKEvent
{
public:
    FunctionEvent(ZKEventLoop& loop, void (*handler)(void*), FunctionEventAsync* function)
        : ZKEvent(loop, EventPrio::NORMAL, handler, function), m_function(function)
    {
    }

    void process() override
    {
        ZKEvent::process();
        if (!isCancelled())
            return;
        if (FunctionEventAsync* const function = m_function.load())
            function->onPostDropped();
    }

    void leaveFunction() { m_function.store(nullptr); }

private:
    std::atomic<FunctionEventAsync*> m_function; // null once the function has stopped the event
};

FunctionEventSync::FunctionEventSync(ZKEventLoop& loop) : ZKLock(ZKLock::Type::SYNC_FUNCTION), m_loop(loop)
{
}

FunctionEventSync::~FunctionEventSync()
{
    leaveReport();
}

String FunctionEventSync::getLockName() const
{
    return String::stringOfFormat("%s-%p", m_loop.getName().c_str(), static_cast<void const*>(this));
}

XCode FunctionEventSync::lock()
{
    return m_loop.getEventSync(EventPrio::NORMAL).lock();
}

void FunctionEventSync::unlock()
{
    m_loop.getEventSync(EventPrio::NORMAL).unlock();
}

FunctionEventAsync::FunctionEventAsync(ZKEventLoop& loop)
    : m_loop(loop), m_event(MovePtr<ZKEvent>(new FunctionEvent(loop, &HANDLE, this)))
{
}

FunctionEventAsync::~FunctionEventAsync()
{
    stop();
}

void FunctionEventAsync::handle()
{
}

void FunctionEventAsync::onPostDropped()
{
}

XCode FunctionEventAsync::set()
{
    return m_event->set();
}

void FunctionEventAsync::stop()
{
    // cancelled already: by an earlier call, or by the end of the queue, and then nothing of the loop may be touched
    if (m_event->isCancelled())
        return;
    static_cast<FunctionEvent&>(*m_event).leaveFunction();
    m_event->cancel();

    // From here on no post that is taken off the queue starts the handler; one that was taken off before may be in it.
    // A thread that runs no longer, or not yet, has no handler to wait for. A loop that another thread starts just now
    // is no exception: its thread is marked as running before it locks the queue's mutex to take a post off. So either
    // it does that after the call below, and sees the event cancelled, or it is seen to be running. A loop that another
    // thread stops just now may end before it serves the request: then this waits until the loop runs again.
    m_loop.getQueue(EventPrio::NORMAL).getFillLevel();
    if (m_loop.getThread().isRunning())
    {
        ZKAutoLock<ZKEventSync> const stoppedLoop(m_loop.getEventSync(EventPrio::NORMAL));
    }
}

void FunctionEventAsync::HANDLE(void* functionEvent)
{
    static_cast<FunctionEventAsync*>(functionEvent)->handle();
}
}
