#include "zekovar/events/file_observer_fn.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"

namespace ZK
{
namespace
{
/// By way of a copy: the function may drop the observer, and with it its member.
template <class... Args>
void callCopy(Function<void(Args...)> function, Args... args)
{
    function(args...);
}
}

FileObserverFn::FileObserverFn(ZKEventLoop& loop)
    : RefCounted(&loop.getEventSync(EventPrio::NORMAL)), FileObserver(loop)
{
}

FileObserverFn::FileObserverFn(ZKEventLoop& loop, ZKFile const& file, Type type)
    : RefCounted(&loop.getEventSync(EventPrio::NORMAL)), FileObserver(loop, file, type, false)
{
}

FileObserverFn::~FileObserverFn() = default;

void FileObserverFn::onObservedFileReadReady(bool priority)
{
    callCopy(m_readReady, priority);
}

void FileObserverFn::onObservedFileWriteReady()
{
    callCopy(m_writeReady);
}

void FileObserverFn::onObservedFileHangup()
{
    callCopy(m_hangup);
}

void FileObserverFn::onObservedFileError()
{
    callCopy(m_error);
}
}
