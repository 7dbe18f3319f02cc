#include "zekovar/events/file_observer.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/file_queue.h"

namespace
{
uint32_t maskOf(ZK::FileObserverIf::Type type)
{
    constexpr uint32_t HANGUP = EPOLLHUP | EPOLLRDHUP;
    switch (type)
    {
    case ZK::FileObserverIf::READ:
        return EPOLLIN | HANGUP | EPOLLET;
    case ZK::FileObserverIf::WRITE:
        return EPOLLOUT | HANGUP | EPOLLET;
    case ZK::FileObserverIf::READ_WRITE:
        return EPOLLIN | EPOLLOUT | HANGUP | EPOLLET;
    }
    return EPOLLET;
}
}

namespace ZK
{
namespace Detail
{
FileObserverBase::FileObserverBase(ZKEventLoop& loop)
    : FileObserverBase(loop, ZKFile(-1, false, false), FileObserverIf::READ)
{
}

FileObserverBase::FileObserverBase(ZKEventLoop& loop, ZKFile const& file, Type type)
    : m_loop(loop), m_epollEvent{}, m_file(file), m_type(type), m_enabled(false)
{
    m_epollEvent.events = maskOf(type);
    m_epollEvent.data.ptr = static_cast<FileObserverIf*>(this);
}

FileObserverBase::~FileObserverBase()
{
    FileObserverBase::disable();
}

void FileObserverBase::setFile(ZKFile const& file, Type type)
{
    m_file = file;
    m_type = type;
    m_epollEvent.events = maskOf(type);
}

XCode FileObserverBase::addToLoop()
{
    if (m_enabled.exchange(true, std::memory_order_relaxed))
        return XCODE_SUCCESS;
    return m_loop.getFileQueue().addFileObserver(this);
}

void FileObserverBase::disable()
{
    if (m_enabled.exchange(false, std::memory_order_relaxed))
        m_loop.getFileQueue().removeFileObserver(this);
}
}

FileObserver::FileObserver(ZKEventLoop& loop) : FileObserverBase(loop)
{
}

FileObserver::FileObserver(ZKEventLoop& loop, ZKFile const& file, Type type, bool enable)
    : FileObserverBase(loop, file, type)
{
    if (enable)
        FileObserver::enable();
}

FileObserver::~FileObserver()
{
    disable();
}

void FileObserver::onObservedFileReadReady(bool)
{
}

void FileObserver::onObservedFileWriteReady()
{
}

void FileObserver::onObservedFileHangup()
{
}

void FileObserver::onObservedFileError()
{
}

XCode FileObserver::enable()
{
    if (m_file.getFd() < 0)
        return XCODE_FAILURE;
    addToLoop();
    return XCODE_SUCCESS;
}

XCode FileObserver::enable(ZKFile const& file, Type type)
{
    disable();
    prepare(file, type);
    return enable();
}

void FileObserver::prepare(ZKFile const& file, Type type)
{
    setFile(file, type);
}
}

_ZKFileObserver::_ZKFileObserver(ZKEventLoop& loop, void (*readyHandler)(void*), void* argument,
                                 void (*hangupHandler)(void*))
    : FileObserverBase(loop), m_onReady(readyHandler), m_onHangup(hangupHandler), m_argument(argument)
{
}

_ZKFileObserver::_ZKFileObserver(ZKEventLoop& loop, ZKFile const& file, Type type, bool enable,
                                 void (*readyHandler)(void*), void* argument, void (*hangupHandler)(void*))
    : FileObserverBase(loop, file, type), m_onReady(readyHandler), m_onHangup(hangupHandler), m_argument(argument)
{
    if (enable)
        _ZKFileObserver::enable();
}

_ZKFileObserver::~_ZKFileObserver()
{
    disable();
}

void _ZKFileObserver::onObservedFileReadReady(bool)
{
    onFileReady();
}

void _ZKFileObserver::onObservedFileWriteReady()
{
    onObservedFileReadReady(false);
}

void _ZKFileObserver::onObservedFileHangup()
{
    onHangup();
}

void _ZKFileObserver::onObservedFileError()
{
    onObservedFileReadReady(false);
}

XCode _ZKFileObserver::enable()
{
    addToLoop();
    return XCODE_SUCCESS;
}

XCode _ZKFileObserver::enable(ZKFile const& file, Type type)
{
    disable();
    setFile(file, type);
    return enable();
}

void _ZKFileObserver::onFileReady()
{
    if (m_onReady != nullptr)
        m_onReady(m_argument);
}

void _ZKFileObserver::onHangup()
{
    if (m_onHangup != nullptr)
        m_onHangup(m_argument);
}
