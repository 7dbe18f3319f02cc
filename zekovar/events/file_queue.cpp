#include "zekovar/events/file_queue.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/system_code.h"

#include <syslog.h>
#include <unistd.h>

namespace
{
void countUp(std::atomic<unsigned int>& counter)
{
    counter.fetch_add(1, std::memory_order_relaxed);
}
}

ZKFileQueue::ZKFileQueue(String const& name)
    : ZKLock(ZKLock::Type::EPOLL),
      m_name(name),
      m_epollFd(epoll_create1(EPOLL_CLOEXEC)),
      m_events{},
      m_eventCount(0),
      m_currentObserver(nullptr),
      m_observerCount(0),
      m_processedEvents(0),
      m_skippedError(0),
      m_skippedHangup(0),
      m_skippedRead(0),
      m_skippedWrite(0),
      m_disabledPending(0)
{
    if (m_epollFd < 0)
    {
        ZK::Detail::logToSystemMonitor(LOG_EMERG,
                                       "EPOLL_CREATE FAILED. IS EPOLL SUPPORT ENABLED IN THE KERNEL CONFIG?");
    }
}

ZKFileQueue::~ZKFileQueue()
{
    leaveReport();
    if (m_epollFd >= 0)
        ::close(m_epollFd);
}

String ZKFileQueue::getLockName() const
{
    return String::stringOfFormat("%s (%p)", m_name.c_str(), static_cast<void const*>(this));
}

XCode ZKFileQueue::addFileObserver(ZK::FileObserverIf* observer)
{
    if (observer == nullptr)
        return XCODE_FAILURE;
    ZKFile& file = observer->getObservedFile();
    file.setBlocking(false);
    int const result = epoll_ctl(m_epollFd, EPOLL_CTL_ADD, file.getFd(), &observer->getObservedFileEpollEvent());
    XCode code = ZK::Detail::codeOfResult(result);
    m_observerCount.fetch_add(1, std::memory_order_relaxed);
    return code;
}

void ZKFileQueue::removeFileObserver(ZK::FileObserverIf* observer)
{
    if (observer == nullptr)
        return;
    if (int const fd = observer->getObservedFile().getFd(); fd >= 0)
        epoll_ctl(m_epollFd, EPOLL_CTL_DEL, fd, &observer->getObservedFileEpollEvent());
    ZK::FileObserverIf* current = observer;
    m_currentObserver.compare_exchange_strong(current, nullptr, std::memory_order_relaxed);
    int const count = m_eventCount.load(std::memory_order_relaxed);
    for (int i = 0; i < count; ++i)
    {
        ZK::FileObserverIf* entry = observer;
        if (m_events[i].observer.compare_exchange_strong(entry, nullptr, std::memory_order_relaxed))
        {
            m_events[i].mask.store(0, std::memory_order_relaxed);
            countUp(m_disabledPending);
        }
    }
    m_observerCount.fetch_sub(1, std::memory_order_relaxed);
}

XCode ZKFileQueue::rearmFileObserver(ZK::FileObserverIf* observer)
{
    if (observer == nullptr)
        return XCODE_FAILURE;
    int const fd = observer->getObservedFile().getFd();
    return ZK::Detail::codeOfResult(epoll_ctl(m_epollFd, EPOLL_CTL_MOD, fd, &observer->getObservedFileEpollEvent()));
}

void ZKFileQueue::waitForFileActivity()
{
    onWait(0);
    int const count = fetchBatch();
    XCode const code = ZK::Detail::codeOfResult(count);
    onWaitCanceled();
    if (count < 0)
    {
        if (code != ZK::Detail::codeOfErrno(EINTR))
        {
            ZK::Detail::logToSystemMonitor(LOG_CRIT, "Queue %s: Waken up from poll_wait: %s\n", m_name.c_str(),
                                           code.toString().c_str());
        }
        return;
    }
    for (int i = 0; i < count; ++i)
        dispatch(m_events[i]);
    m_eventCount.store(0, std::memory_order_relaxed);
}

int ZKFileQueue::fetchBatch()
{
    // A copy of the kernel's records, which are packed on some platforms, so that removers can clear entries
    // atomically.
    epoll_event ready[BATCH_SIZE];
    int const count = epoll_wait(m_epollFd, ready, BATCH_SIZE, -1);
    for (int i = 0; i < count; ++i)
    {
        m_events[i].observer.store(static_cast<ZK::FileObserverIf*>(ready[i].data.ptr), std::memory_order_relaxed);
        m_events[i].mask.store(ready[i].events, std::memory_order_relaxed);
    }
    m_eventCount.store(count, std::memory_order_relaxed);
    return count;
}

void ZKFileQueue::dispatch(ReadyFile const& file)
{
    uint32_t const mask = file.mask.load(std::memory_order_relaxed);
    m_currentObserver.store(file.observer.load(std::memory_order_relaxed), std::memory_order_relaxed);
    // Each condition looks afresh: a callback may have removed the observer.
    auto const notify = [this](std::atomic<unsigned int>& skipped, auto callback)
    {
        if (ZK::FileObserverIf* const observer = m_currentObserver.load(std::memory_order_relaxed))
            callback(*observer);
        else
            countUp(skipped);
    };
    if ((mask & (EPOLLIN | EPOLLPRI)) != 0)
    {
        bool const priority = (mask & EPOLLPRI) != 0;
        notify(m_skippedRead, [priority](ZK::FileObserverIf& observer) { observer.onObservedFileReadReady(priority); });
    }
    if ((mask & EPOLLOUT) != 0)
        notify(m_skippedWrite, [](ZK::FileObserverIf& observer) { observer.onObservedFileWriteReady(); });
    if ((mask & (EPOLLHUP | EPOLLRDHUP)) != 0)
        notify(m_skippedHangup, [](ZK::FileObserverIf& observer) { observer.onObservedFileHangup(); });
    if ((mask & EPOLLERR) != 0)
        notify(m_skippedError, [](ZK::FileObserverIf& observer) { observer.onObservedFileError(); });
    m_currentObserver.store(nullptr, std::memory_order_relaxed);
    countUp(m_processedEvents);
}
