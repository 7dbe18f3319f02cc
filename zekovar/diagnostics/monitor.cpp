#include "zekovar/diagnostics/monitor.h"

#include "zekovar/diagnostics/log_gate.h"
#include "zekovar/diagnostics/monitor_table.h"
#include "zekovar/diagnostics/syslog.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"

#include <algorithm>
#include <syslog.h>

namespace
{
constexpr int PERMANENT_LEVEL = 9;

using Event = ObserverEvent<RTD::Monitor>;

/// Made before anything changes: it keeps the monitor alive, whatever its observers do, until it goes.
Event sessionEvent(RTD::Monitor* monitor, String const& session)
{
    Event event{ZKPPtr<RTD::Monitor>(monitor)};
    event.getMarshaller().marshal(session);
    return event;
}

void addLevels(Event& event, RTD::Monitor::SessionInfo const& info)
{
    event.getMarshaller().marshal(info.severity);
    event.getMarshaller().marshal(info.debugLevel);
}
}

namespace RTD
{
Monitor::Monitor(RtdMonitorID id, unsigned int slot, unsigned int port)
    : ZK::RefCounted(&CRIT::INSTANCE().getEventSync(EventPrio::NORMAL)),
      m_id(id),
      m_slot(slot),
      m_port(port),
      m_registrations(0),
      m_sessions(16),
      m_debugSeverity(LOG_DEBUG),
      m_minDebugLevel(-1),
      m_effectiveDebugLevel(-1)
{
    BUILD_LOG_PROMPT(m_messagePrefix, getRtdMonitorInfo(id)->prompt, slot, port);
    updateDebugLevel();
}

Monitor::~Monitor() = default;

void Monitor::protectedRelease()
{
    release();
}

void Monitor::monitor(int severity, char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitor(severity, format, arguments);
    va_end(arguments);
}

void Monitor::vmonitor(int severity, char const* format, std::va_list arguments) const
{
    vmonitorPrefix(severity, String::s_empty, format, arguments);
}

void Monitor::monitorPrefix(int severity, String const& extra, char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitorPrefix(severity, extra, format, arguments);
    va_end(arguments);
}

void Monitor::vmonitorPrefix(int severity, String const& extra, char const* format, std::va_list arguments) const
{
    VSYSLOG_PREFIX(m_messagePrefix, severity, extra, format, arguments);
}

void Monitor::_monitor_debug_deprecated(char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitor(LOG_DEBUG, format, arguments);
    va_end(arguments);
}

void Monitor::_monitor_debug_deprecated(int, char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitor(LOG_DEBUG, format, arguments);
    va_end(arguments);
}

void Monitor::_monitor_error_deprecated(char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitor(LOG_ERR, format, arguments);
    va_end(arguments);
}

void Monitor::_monitor_error_deprecated(int, char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    vmonitor(LOG_ERR, format, arguments);
    va_end(arguments);
}

void Monitor::addSession(String const& session, int severity, int debugLevel)
{
    SessionInfo const info{severity, std::min(debugLevel, maxDebugLevel())};
    Event event = sessionEvent(this, session);
    addLevels(event, info);
    int const oldLevel = getEffectiveDebugLevel();
    m_sessions.set(session, info);
    updateDebugLevel();
    bool const levelChanged = getEffectiveDebugLevel() != oldLevel;
    m_observers.broadcastEvent(event, &Observer::onSessionAdded);
    if (levelChanged)
        broadcastDebugLevel();
}

void Monitor::removeSession(String const& session)
{
    Event const event = sessionEvent(this, session); // `session` may be the key that goes
    int const oldLevel = getEffectiveDebugLevel();
    m_sessions.remove(session);
    updateDebugLevel();
    if (getEffectiveDebugLevel() != oldLevel)
        broadcastDebugLevel();
    m_observers.broadcastEvent(event, &Observer::onSessionRemoved);
}

void Monitor::setLevel(String const& session, int severity, int debugLevel)
{
    ZKPPtr<Monitor> const self(this);
    String const name(session);
    int const max = maxDebugLevel();
    int const level = debugLevel > max ? max : std::max(debugLevel, m_minDebugLevel);
    if (containsSession(name))
        removeSession(name);
    addSession(name, severity, level);
}

bool Monitor::containsSession(String const& session) const
{
    return m_sessions.contains(session);
}

void Monitor::addSessions(ZKPPtr<Monitor>& source)
{
    if (!source)
        return;
    ZKPPtr<Monitor> const self(this);
    ZKPPtr<Monitor> const from(source);
    ZKLockPtr<Monitor> const locked = from.getLock();
    // walks a copy, because observers may change either monitor in between
    ZKStringHashTable<SessionInfo> const sessions(locked->m_sessions);
    locked.unlock();
    for (auto const& entry : sessions)
    {
        SessionInfo info;
        bool const isThere = locked->m_sessions.get(entry.key(), info);
        locked.unlock();
        if (isThere)
            addSession(entry.key(), info.severity, info.debugLevel);
    }
}

int Monitor::getSeverityOfSession(String const& session) const
{
    SessionInfo info;
    return m_sessions.get(session, info) ? info.severity : -1;
}

int Monitor::getDebugLevelOfSession(String const& session) const
{
    SessionInfo info;
    return m_sessions.get(session, info) ? info.debugLevel : -1;
}

void Monitor::setMinDebugLevel(int level)
{
    m_debugSeverity.store(level < 0 ? LOG_DEBUG : LOG_INFO, std::memory_order_relaxed);
    m_minDebugLevel = level;
    if (getEffectiveDebugLevel() < level)
        setEffectiveDebugLevel(level);
}

void Monitor::updateDebugLevel()
{
    int const max = maxDebugLevel();
    int level = -1;
    if (max < -1)
        level = PERMANENT_LEVEL;
    else if (m_sessions.isEmpty())
        level = std::max(m_minDebugLevel, -1);
    else
    {
        for (auto const& entry : m_sessions)
            level = std::max(level, entry.value().debugLevel);
        level = std::max(std::min(level, max), m_minDebugLevel);
    }
    setEffectiveDebugLevel(level);
}

void Monitor::addObserver(Observer* observer)
{
    if (observer == nullptr)
        return;
    ZKPtr<Delegate> const delegate(ZK::MovePtr<Delegate>(new Delegate(observer)));
    addObserver(delegate.getObj());
}

void Monitor::addObserver(Delegate* delegate)
{
    if (delegate == nullptr)
        return;
    ZKPPtr<Monitor> const self(this);
    m_observers.addObserver(delegate, 0, false);
    ZKPtr<Delegate> const newcomer(delegate);
    ObserverContainer<Monitor, Observer>::RollCall const observers(m_observers);
    // walks a copy, because the newcomer may change the sessions
    ZKStringHashTable<SessionInfo> const sessions(m_sessions);
    for (auto const& entry : sessions)
    {
        SessionInfo info;
        if (!m_sessions.get(entry.key(), info))
            continue;
        if (!observers.isPresent(delegate))
            return;
        Event event = sessionEvent(this, entry.key());
        addLevels(event, info);
        delegate->notifyEvent(&Observer::onSessionAdded, event);
    }
    if (getEffectiveDebugLevel() < 0 || !observers.isPresent(delegate))
        return;
    Event event{self};
    delegate->notifyEvent(&Observer::onDebugLevelChanged, event);
}

void Monitor::removeObserver(Observer* observer)
{
    m_observers.removeObserver(observer);
}

void Monitor::removeObserver(Delegate* delegate)
{
    m_observers.removeObserver(delegate);
}

unsigned int Monitor::getNumberOfSubMonitors() const
{
    auto const& ids = getRtdMonitorInfo(m_id)->subMonitors;
    return static_cast<unsigned int>(std::find(std::begin(ids), std::end(ids), MON_NO) - std::begin(ids));
}

unsigned int Monitor::getSubMonitorID(unsigned int index) const
{
    auto const& ids = getRtdMonitorInfo(m_id)->subMonitors;
    return index < std::size(ids) ? static_cast<unsigned int>(ids[index]) : 0;
}

int Monitor::maxDebugLevel() const
{
    return getRtdMonitorInfo(m_id)->maxDebugLevel;
}

void Monitor::setEffectiveDebugLevel(int level)
{
    m_effectiveDebugLevel.store(level, std::memory_order_relaxed);
    Detail::LogGate& gate = Detail::s_logGates[m_id];
    if (gate.monitor.load(std::memory_order_relaxed) == this)
        gate.debugLevel.store(level, std::memory_order_relaxed);
}

void Monitor::broadcastDebugLevel()
{
    m_observers.broadcastEvent(Event{ZKPPtr<Monitor>(this)}, &Observer::onDebugLevelChanged);
}
}
