#include "zekovar/events/function_event.h"

#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/synchronized.h"

#include <atomic>
#include <cstdint>

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
        Processing const processing(m_processing);
        ZKEvent::process();
        if (!isCancelled())
            return;
        if (FunctionEventAsync* const function = m_function.load())
            function->onPostDropped();
    }

    /// From here on no post that is taken off the queue starts the handler.
    void leaveFunction()
    {
        m_function.store(nullptr);
        cancel();
    }

    /// Blocks while a post that was taken off the queue before `leaveFunction` is in the handler.
    void waitForHandler()
    {
        while (isProcessing())
            m_processing.wait(1);
    }

    /// Also a barrier: a post that begins later sees the event cancelled, as both sides change the same word.
    bool isProcessing() { return m_processing.fetch_or(0) != 0; }

private:
    class Processing
    {
    public:
        explicit Processing(std::atomic<uint32_t>& processing) : m_processing(processing) { m_processing.exchange(1); }

        Processing(Processing const&) = delete;
        Processing& operator=(Processing const&) = delete;

        ~Processing()
        {
            m_processing.store(0);
            m_processing.notify_all();
        }

    private:
        std::atomic<uint32_t>& m_processing;
    };

    std::atomic<FunctionEventAsync*> m_function; // null once the function has stopped the event
    std::atomic<uint32_t> m_processing{0};       // 1 while the loop's thread is in `process`
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
    auto& event = static_cast<FunctionEvent&>(*m_event);
    event.leaveFunction();

    // The loop isn't asked to stand still for this: one that is stopped, or on its way to that, never would, and what
    // matters is only that its thread isn't in the handler.
    if (event.isProcessing() && !isCurrentThreadSynchronizedTo(m_loop))
        event.waitForHandler();
}

void FunctionEventAsync::HANDLE(void* functionEvent)
{
    static_cast<FunctionEventAsync*>(functionEvent)->handle();
}
}
