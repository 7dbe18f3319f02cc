#include "zekovar/diagnostics/qhsm.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/foundation/error.h"

#include <memory>
#include <new>
#include <utility>

namespace
{
/// Refuses a number of pool events whose array the 32-bit target could not address.
unsigned int checkedCount(unsigned int count)
{
    if (count >= 0xAAAAAAB)
        throw std::bad_array_new_length();
    return count;
}

/// For the values that a pool drops.
constexpr auto DELETE_EVENT = [](QEvent const* event) { delete event; };
}

ZK::QHsmRtd::QHsmRtd(QStateHandler initial) : QHsmRtd(initial, nullptr, -1)
{
}

ZK::QHsmRtd::QHsmRtd(QStateHandler initial, RTD::Monitor* monitor, int level)
    : QHsm(initial), m_monitor(monitor), m_level(level), m_logAlways(false)
{
}

ZK::QHsmRtd::~QHsmRtd() = default;

void ZK::QHsmRtd::logDispatch(QEvent const* event, QStateHandler state)
{
    if (!isWatched())
        return;
    write(String::stringOfFormat("[%s] > %s: Dispatching event '%s' in state '%s'", getLogPrefix(), machineName(),
                                 getEventName(event->sig), getStateName(state)));
}

void ZK::QHsmRtd::logTransition(QStateHandler target, QStateHandler source)
{
    if (!isWatched())
        return;
    write(String::stringOfFormat("[%s] > %s: Transition '%s' -> '%s'", getLogPrefix(), machineName(),
                                 getStateName(source), getStateName(target)));
}

void ZK::QHsmRtd::logHandled(QEvent const* event, QStateHandler state)
{
    if (!isWatched())
        return;
    write(String::stringOfFormat("[%s] > %s: Event '%s' handled in state '%s'", getLogPrefix(), machineName(),
                                 getEventName(event->sig), getStateName(state)));
}

void ZK::QHsmRtd::logHandledNoAction(QEvent const* event, QStateHandler state)
{
    if (!isWatched())
        return;
    write(String::stringOfFormat("[%s] > %s: Event '%s' handled without action in state '%s'", getLogPrefix(),
                                 machineName(), getEventName(event->sig), getStateName(state)));
}

void ZK::QHsmRtd::logIgnored(QEvent const* event, QStateHandler state)
{
    String const line = String::stringOfFormat("[%s] > %s: EVENT '%s' IGNORED IN STATE '%s'", getLogPrefix(),
                                               machineName(), getEventName(event->sig), getStateName(state));
    RTD::error(m_monitor.get(), "%s", line.c_str());
}

char const* ZK::QHsmRtd::machineName() const
{
    return "SM   ";
}

void ZK::QHsmRtd::setMonitor(RTD::Monitor* monitor, int level)
{
    m_monitor = monitor;
    m_level = level;
}

char const* ZK::QHsmRtd::EVENT_NAME(unsigned short signal)
{
    switch (signal)
    {
    case Q_ENTRY_SIG:
        return "entryEvent";
    case Q_EXIT_SIG:
        return "exitEvent";
    case Q_INIT_SIG:
        return "initEvent";
    default:
        return ERROR::UNKNOWN;
    }
}

/// Whether the hooks build their lines at all.
bool ZK::QHsmRtd::isWatched() const
{
    return m_logAlways || (m_monitor != nullptr && m_monitor->getEffectiveDebugLevel() >= 0);
}

void ZK::QHsmRtd::write(String const& line) const
{
    if (m_logAlways)
        RTD::info(m_monitor.get(), "%s", line.c_str());
    else
        RTD_DEBUG_MONITOR(m_monitor.get(), m_level, "%s", line.c_str());
}

ZK::QHsmDeferEv::QHsmDeferEv(QStateHandler initial, RTD::Monitor* monitor, int level, unsigned int maxDeferred,
                             ZKEventLoop& loop, EventPrio::Type priority)
    : QHsmRtd(initial, monitor, level),
      m_deferred(checkedCount(maxDeferred)),
      m_recallPool(loop, priority, this, &QHsmDeferEv::onRecalled, maxDeferred),
      m_loop(loop)
{
}

ZK::QHsmDeferEv::~QHsmDeferEv()
{
    m_recallPool.drain(DELETE_EVENT);
    flushDeferEvents();
}

XCode ZK::QHsmDeferEv::defer(QEvent const* event, bool unique)
{
    if (unique && containsEvent(event))
    {
        RTD_DEBUG_MONITOR(m_monitor.get(), m_level,
                          "[%s] > %s: Deferring event '%s' in state '%s' ignored: event already enqueued.",
                          getLogPrefix(), machineName(), getEventName(event->sig), getStateName(m_state));
        return XCODE_SUCCESS;
    }
    RTD_DEBUG_MONITOR(m_monitor.get(), m_level, "[%s] > %s: Deferring event '%s' in state '%s'", getLogPrefix(),
                      machineName(), getEventName(event->sig), getStateName(m_state));
    if (m_deferred.isFull())
    {
        RTD::critical(m_monitor.get(), "[%s] > %s: FAILED TO DEFER EVENT '%s': QUEUE FULL", getLogPrefix(),
                      machineName(), getEventName(event->sig));
        return XCODE_FAILURE;
    }
    m_deferred.put(event->clone());
    return XCODE_SUCCESS;
}

bool ZK::QHsmDeferEv::containsEvent(QEvent const* event) const
{
    uint32_t const fillLevel = m_deferred.getFillLevel();
    // machines give their prefix in an operation that isn't const
    RTD_DEBUG_MONITOR(m_monitor.get(), m_level, "[%s] event queue fill level: %u",
                      const_cast<QHsmDeferEv*>(this)->getLogPrefix(), fillLevel);
    for (uint32_t i = 0; i < fillLevel; ++i)
    {
        if (*event == *m_deferred[i])
            return true;
    }
    return false;
}

XCode ZK::QHsmDeferEv::recall()
{
    while (!m_deferred.isEmpty())
    {
        std::unique_ptr<QEvent> event(m_deferred.get());
        unsigned short const signal = event->sig;
        if (XCode code = m_recallPool.set(event.get(), 0); code.isErr())
        {
            RTD::critical(m_monitor.get(), "[%s] > %s: FAILED TO RECALL EVENT '%s': %s", getLogPrefix(), machineName(),
                          getEventName(signal), code.toString().c_str());
            return code;
        }
        static_cast<void>(event.release()); // recallEvent deletes it
        RTD_DEBUG_MONITOR(m_monitor.get(), m_level, "[%s] > %s: Recalling event '%s'", getLogPrefix(), machineName(),
                          getEventName(signal));
    }
    return XCODE_SUCCESS;
}

void ZK::QHsmDeferEv::recallEvent(QEvent*& event)
{
    std::unique_ptr<QEvent> const owned(std::exchange(event, nullptr));
    RTD_DEBUG_MONITOR(m_monitor.get(), m_level, "[%s] > %s: Handling recalled event '%s' in state '%s'", getLogPrefix(),
                      machineName(), getEventName(owned->sig), getStateName(m_state));
    QHsm::dispatch(owned.get());
}

void ZK::QHsmDeferEv::flushDeferEvents()
{
    while (!m_deferred.isEmpty())
        delete m_deferred.get();
}

ZK::QHsmDispatchAsync::QHsmDispatchAsync(QStateHandler initial, RTD::Monitor* monitor, int level,
                                         unsigned int maxDeferred, ZKEventLoop& loop, EventPrio::Type priority)
    : QHsmDeferEv(initial, monitor, level, maxDeferred, loop, priority),
      m_dispatchPool(loop, priority, this, &QHsmDispatchAsync::onPosted, maxDeferred)
{
}

ZK::QHsmDispatchAsync::~QHsmDispatchAsync()
{
    m_dispatchPool.drain(DELETE_EVENT);
}

void ZK::QHsmDispatchAsync::dispatch(QEvent const* event)
{
    std::unique_ptr<QEvent const> clone(event->clone());
    if (m_dispatchPool.set(clone.get(), 0).isSuccess())
        static_cast<void>(clone.release()); // onDispatch deletes it
}

void ZK::QHsmDispatchAsync::dispatch(unsigned short signal)
{
    QEvent const event(signal);
    dispatch(&event);
}

void ZK::QHsmDispatchAsync::onDispatch(QEvent const*& event)
{
    std::unique_ptr<QEvent const> const owned(std::exchange(event, nullptr));
    QHsm::dispatch(owned.get());
}
