#include "zekovar/events/file_event.h"

ZKFileEvent::ZKFileEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*callback)(bool, void*), void* argument,
                         ZKFile const& file, _ZKFileObserver::Type type, bool enable)
    : ZKEvent(loop, priority, &ON_FILE_READY_DECOUPLED, this),
      _ZKFileObserver(loop, file, type, false, nullptr, nullptr, nullptr),
      m_callback(callback),
      m_callbackArgument(argument),
      m_hangup(false)
{
    // Not by the base's constructor: an edge that the loop served before this object is complete would post nothing.
    if (enable)
        _ZKFileObserver::enable();
}

ZKFileEvent::~ZKFileEvent()
{
    disable();
}

void ZKFileEvent::cancel()
{
    disable();
    ZKEvent::cancel();
}

void ZKFileEvent::onFileReady()
{
    ZKEvent::set();
}

void ZKFileEvent::onHangup()
{
    m_hangup = true;
    setIfNotPending();
}

void ZKFileEvent::ON_FILE_READY_DECOUPLED(void* fileEvent)
{
    auto* const self = static_cast<ZKFileEvent*>(fileEvent);
    if (self->m_callback != nullptr)
        self->m_callback(self->m_hangup, self->m_callbackArgument);
}
