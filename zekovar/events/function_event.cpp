#include "zekovar/events/function_event.h"

#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/synchronized.h"

#include <atomic>
#include <cstdint>

namespace ZK::Detail
{
namespace
{
/// Tells the function also of posts that end without a call of the handler.
class FunctionEvent : public ZKEvent
{
public:
    FunctionEvent(ZKEventLoop& loop, FunctionEventAsync& function)
        : ZKEvent(loop, EventPrio::NORMAL, &FunctionEventAsync::HANDLE, &function), m_function(&function)
    {
    }

    void process() override
    {
        m_processing.exchange(1);
        ZKEvent::process();
        FunctionEventAsync* const function = m_function.load();
        if (function != nullptr && isCancelled())
            function->onPostDropped();
        m_processing.store(0);
        m_processing.notify_all();
    }

    /// From here on no post that is taken off the queue reaches the function. True if one that was taken off before may
    /// be in the handler.
    bool leaveFunction()
    {
        m_function.store(nullptr);
        cancel();
        // no plain load: `process` changes the same word, so one that this doesn't see finds the event cancelled
        return m_processing.fetch_or(0) != 0;
    }

    void waitForHandler() { m_processing.wait(1); }

private:
    std::atomic<FunctionEventAsync*> m_function; // null once the function has stopped the event
    std::atomic<uint32_t> m_processing{0};       // 1 while the loop's thread is in `process`
};
}

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
    : m_loop(loop), m_event(MovePtr<ZKEvent>(new FunctionEvent(loop, *this)))
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
    auto& event = static_cast<FunctionEvent&>(*m_event);
    // by an earlier call, or by the end of the queue, and then nothing of the loop may be touched
    bool const wasCancelled = event.isCancelled();
    bool const mayBeHandling = event.leaveFunction();

    // The loop isn't asked to stand still for this: one that is stopped, or on its way to that, never would, and what
    // matters is only that its thread isn't in the handler.
    if (mayBeHandling && !wasCancelled && !isCurrentThreadSynchronizedTo(m_loop))
        event.waitForHandler();
}

void FunctionEventAsync::HANDLE(void* functionEvent)
{
    static_cast<FunctionEventAsync*>(functionEvent)->handle();
}
}
