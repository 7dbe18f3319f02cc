#include "zekovar/events/fifo.h"

#include "zekovar/foundation/system_code.h"

#include <fcntl.h>

namespace
{
constexpr unsigned int FIFO_MODE = 0666;

ZKFile fileOf(String const& name)
{
    return ZKFile(String("/tmp/fifo_").concat(name), true, false);
}

/// Makes the fifo unless it is there, also if the other end makes it at the same time.
XCode makeFifo(ZKFile& file)
{
    if (!file.exists())
    {
        XCode code = file.createFifo(FIFO_MODE);
        if (code != ZK::Detail::codeOfErrno(EEXIST))
            return code;
    }
    return testExpression(file.isFifo());
}
}

ZKFifoTrigger::ZKFifoTrigger(String const& name) : m_file(fileOf(name))
{
    makeFifo(m_file);
    m_file.open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE);
}

ZKFifoTrigger::~ZKFifoTrigger() = default;

XCode ZKFifoTrigger::trigger()
{
    return m_file.writeFixedSizeBlocking("x", 1, true);
}

ZKFifoObserver::ZKFifoObserver(ZKEventLoop& loop, String const& name, bool enable, void (*handler)(void*),
                               void* argument)
    : _ZKFileObserver(loop, fileOf(name), READ, false, handler, argument, nullptr), m_pDestroyed(nullptr)
{
    if (enable)
        ZKFifoObserver::enable();
}

ZKFifoObserver::~ZKFifoObserver()
{
    ZKFifoObserver::disable();
    if (m_pDestroyed != nullptr)
        *m_pDestroyed = true;
}

XCode ZKFifoObserver::enable()
{
    if (m_file.isOpen()) // opening it anew would take it out of the epoll set for good
        return _ZKFileObserver::enable();
    if (XCode code = makeFifo(m_file); code.isErr())
        return code;
    if (XCode code = m_file.open(O_RDONLY | O_NONBLOCK, 0, ZKFile::XO_NONE); code.isErr())
        return code;
    return _ZKFileObserver::enable();
}

void ZKFifoObserver::disable()
{
    if (m_file.isOpen())
        m_file.close();
}

void ZKFifoObserver::onFileReady()
{
    bool destroyed = false;
    m_pDestroyed = &destroyed;
    char byte = 0;
    while (m_file.readFixedSize(&byte, sizeof byte, true).isSuccess())
    {
        onTrigger();
        if (destroyed)
            return;
    }
    m_pDestroyed = nullptr;
}

void ZKFifoObserver::onTrigger()
{
    if (m_onReady != nullptr)
        m_onReady(m_argument);
}

ZKFifoEvent::ZKFifoEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument,
                         String const& name, bool enable)
    : ZKEvent(loop, priority, handler, argument), ZKFifoObserver(loop, name, false, nullptr, nullptr)
{
    // Not by the base's constructor: a byte that the loop read before this object is complete would post nothing.
    if (enable)
        ZKFifoObserver::enable();
}

ZKFifoEvent::~ZKFifoEvent() = default;

void ZKFifoEvent::cancel()
{
    disable();
    ZKEvent::cancel();
}

void ZKFifoEvent::onTrigger()
{
    ZKEvent::set();
}
