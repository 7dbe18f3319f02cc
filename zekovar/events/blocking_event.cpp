#include "zekovar/events/blocking_event.h"

_ZKBlockingEvent::_ZKBlockingEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument)
    : ZKEvent(loop, priority, handler, argument), m_done(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME)
{
}

_ZKBlockingEvent::~_ZKBlockingEvent() = default;

XCode _ZKBlockingEvent::set()
{
    XCode code = ZKEvent::set();
    if (code.isErr())
        return code;
    return m_done.wait();
}

void _ZKBlockingEvent::process()
{
    handle();
    m_done.signal();
}
