#include "zekovar/events/timeout_event.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/events/timer_file.h"
#include "zekovar/foundation/system_code.h"

#include <algorithm>
#include <cstdint>
#include <syslog.h>

_ZKTimeoutEvent::_ZKTimeoutEvent(ZKEventLoop& loop, EventPrio::Type priority, void (*handler)(void*), void* argument)
    : ZKEvent(loop, priority, handler, argument),
      _ZKFileObserver(loop, nullptr, nullptr, nullptr),
      m_timerFile("", true, false),
      m_periodic(false),
      m_ticker(nullptr),
      m_reloadTicks(0),
      m_ticksLeft(0)
{
}

_ZKTimeoutEvent::~_ZKTimeoutEvent()
{
    _ZKTimeoutEvent::stop();
}

void _ZKTimeoutEvent::cancel()
{
    stop();
    ZKEvent::cancel();
}

XCode _ZKTimeoutEvent::start(unsigned int milliseconds, bool periodic, bool immediately)
{
    if (isCancelled() || milliseconds == 0)
        return XCODE_FAILURE;
    stop();
    if (immediately)
    {
        if (XCode code = ZKEvent::set(); code.isErr())
            return code;
    }
    m_periodic.store(periodic, std::memory_order_relaxed);
    if (periodic)
    {
        if (ZKTickerManager* ticker = eventLoop().getTickerManager(milliseconds))
            return startOnTicker(*ticker, milliseconds);
    }
    return startOnDescriptor(milliseconds, periodic);
}

void _ZKTimeoutEvent::stop()
{
    if (ZKTickerManager* ticker = m_ticker.load(std::memory_order_relaxed))
    {
        ticker->removeTicker(this);
        m_ticker.store(nullptr, std::memory_order_relaxed);
    }
    else if (m_timerFile.isOpen())
    {
        ZK::Detail::armTimer(m_timerFile, 0, false);
    }
}

void _ZKTimeoutEvent::onTick()
{
    if (m_ticksLeft.fetch_sub(1, std::memory_order_relaxed) != 1)
        return;
    m_ticksLeft.store(m_reloadTicks.load(std::memory_order_relaxed), std::memory_order_relaxed);
    // the handler may destroy this event: nothing of it may be touched behind the call
    handleTimeout();
}

void _ZKTimeoutEvent::onFileReady()
{
    // Nothing to take means that the timer was stopped or started anew by a callback of the same turn of the loop,
    // after the kernel had reported the expiry.
    if (ZK::Detail::takeExpiries(m_timerFile) == ZK::Detail::codeOfErrno(EAGAIN))
        return;
    handleTimeout();
}

void _ZKTimeoutEvent::handleTimeout()
{
    handle();
}

XCode _ZKTimeoutEvent::startOnTicker(ZKTickerManager& ticker, unsigned int milliseconds)
{
    uint64_t const resolution = ticker.getResolution();
    auto const ticks = static_cast<unsigned int>(std::max<uint64_t>((milliseconds + resolution / 2) / resolution, 1));
    m_reloadTicks.store(ticks, std::memory_order_relaxed);
    m_ticksLeft.store(ticks, std::memory_order_relaxed);
    m_ticker.store(&ticker, std::memory_order_relaxed);
    XCode code = ticker.addTicker(this);
    if (code.isErr())
    {
        ZK::Detail::logToSystemMonitor(LOG_EMERG, "OUT OF TICKER RESOURCES");
        m_ticker.store(nullptr, std::memory_order_relaxed);
    }
    return code;
}

XCode _ZKTimeoutEvent::startOnDescriptor(unsigned int milliseconds, bool periodic)
{
    if (!m_timerFile.isOpen())
    {
        if (XCode code = ZK::Detail::openTimer(m_timerFile); code.isErr())
            return code;
        enable(m_timerFile, READ);
    }
    return ZK::Detail::armTimer(m_timerFile, milliseconds, periodic);
}
