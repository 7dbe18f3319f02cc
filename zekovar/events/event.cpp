#include "zekovar/events/event.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_queue.h"

ZKEvent::ZKEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument)
    : RefCounted(nullptr),
      m_pending(0),
      m_queue(&loop.getQueue(priority)),
      m_handler(handler),
      m_handlerArgument(argument),
      m_cancelled(false)
{
}

ZKEvent::~ZKEvent() = default;

XCode ZKEvent::set()
{
    if (isCancelled())
        return XCODE_FAILURE;
    m_pending.fetch_add(1, std::memory_order_relaxed);
    XCode code = m_queue->addEvent(this);
    if (code.isErr())
        m_pending.fetch_sub(1, std::memory_order_relaxed);
    return code;
}

XCode ZKEvent::setIfNotPending()
{
    return isPending() ? XCODE_SUCCESS : set();
}

void ZKEvent::cancel()
{
    if (!isCancelled())
        m_cancelled.store(true, std::memory_order_relaxed);
}

void ZKEvent::cancelIgnoreRace()
{
    m_cancelled.store(true, std::memory_order_relaxed);
}

void ZKEvent::destroy()
{
    cancel();
    release();
}

void ZKEvent::destroyIgnoreRace()
{
    cancelIgnoreRace();
    release();
}

void ZKEvent::process()
{
    m_pending.fetch_sub(1, std::memory_order_relaxed);
    if (!isCancelled())
        handle();
}

void ZKEvent::handle()
{
    if (m_handler != nullptr && !isCancelled())
        m_handler(m_handlerArgument);
}

ZKEventLoop& ZKEvent::eventLoop() const
{
    return m_queue->getLoop();
}
