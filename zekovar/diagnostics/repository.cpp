#include "zekovar/diagnostics/repository.h"

#include "zekovar/diagnostics/monitor_table.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/everlasting.h"
#include "zekovar/property/info_rows.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex_private.h"

#include <algorithm>

namespace
{
using Event = ObserverEvent<RTD::Monitor>;

// guards the monitors in the gates between being found there and being counted
constinit ZK::Detail::Everlasting<ZKMutexPrivate> s_gateMutex(false);

// calls of `getInfo` in one another: one that a monitor's report leads to prints no second listing
constinit thread_local unsigned int s_infoNesting = 0;

bool isId(RtdMonitorID id)
{
    return id >= MON_NO && id < RTD_MONITOR_COUNT;
}

unsigned int keyOf(RtdMonitorID id, unsigned int slot, unsigned int port)
{
    return static_cast<unsigned int>(id) << 24 | slot << 16 | port;
}

unsigned int keyOf(RTD::Monitor const& monitor)
{
    return keyOf(monitor.getID(), monitor.getSlot(), monitor.getPort());
}

XCode testKey(RtdMonitorID id, unsigned int slot, unsigned int port)
{
    return testExpression(isId(id) && slot <= RTD::NO_SLOT && port <= RTD::NO_PORT);
}

bool isBase(RTD::Monitor const& monitor)
{
    return monitor.getSlot() == RTD::NO_SLOT && monitor.getPort() == RTD::NO_PORT;
}

void setGate(RtdMonitorID id, RTD::Monitor* monitor, int debugLevel)
{
    ZKAutoLock<ZKMutexPrivate> guard(s_gateMutex.object);
    RTD::Detail::s_logGates[id].monitor.store(monitor, std::memory_order_release);
    RTD::Detail::s_logGates[id].debugLevel.store(debugLevel, std::memory_order_relaxed);
}
}

namespace RTD::Detail
{
constinit LogGate s_logGates[RTD_MONITOR_COUNT];
}

namespace RTD
{
/// Empties the repository at the end of the process. The object itself stays, for threads that still run.
class REPOSITORY::Closer
{
public:
    explicit Closer(ZKPPtr<REPOSITORY>& repository) : m_repository(repository) {}

    ~Closer() { m_repository->close(); }

private:
    ZKPPtr<REPOSITORY>& m_repository;
};

ZKPPtr<REPOSITORY>& REPOSITORY::_INSTANCE()
{
    // the constructor needs CRIT, which is thus built before the closer and destroyed after it
    static auto& s_instance = *new ZKPPtr<REPOSITORY>(ZK::MovePtr<REPOSITORY>(new REPOSITORY()));
    static Closer const s_closer(s_instance);
    return s_instance;
}

REPOSITORY::REPOSITORY()
    : ZK::RefCounted(&CRIT::INSTANCE().getEventSync(EventPrio::NORMAL)), m_monitors(16), m_minLevels(16)
{
}

ZKLock* REPOSITORY::getLock()
{
    return m_closed.load() ? nullptr : ZK::RefCounted::getLock();
}

ZKPPtr<Monitor> REPOSITORY::GET_MONITOR(RtdMonitorID id)
{
    if (!isId(id))
        return ZKPPtr<Monitor>();
    ZKAutoLock<ZKMutexPrivate> guard(s_gateMutex.object);
    return ZKPPtr<Monitor>(Detail::s_logGates[id].monitor.load(std::memory_order_relaxed));
}

Monitor* REPOSITORY::addMonitor(RtdMonitorID id, unsigned int slot, unsigned int port)
{
    if (testKey(id, slot, port).isErr() || m_closed.load())
        return nullptr;
    if (ZKPPtr<Monitor> const known = getMonitor(id, slot, port))
    {
        (*known).incRegCount();
        return known.getObj();
    }
    ZKPPtr<Monitor> const added(ZK::MovePtr<Monitor>(new Monitor(id, slot, port)));
    (*added).incRegCount();
    Observers::RollCall const observers(m_observers);
    enter(added);
    m_observers.broadcastEvent(Event(added), &Monitor::Observer::onMonitorAdded);
    attachObservers(observers, *added);
    if (slot != NO_SLOT && port != NO_PORT && isRegistered(*added))
    {
        ZKPPtr<Monitor> base = GET_MONITOR(id);
        (*added).addSessions(base);
    }
    if (int level = -1; m_minLevels.get(static_cast<unsigned int>(id), level))
        (*added).setMinDebugLevel(level);
    return isRegistered(*added) ? added.getObj() : nullptr;
}

int REPOSITORY::removeMonitor(RtdMonitorID id, unsigned int slot, unsigned int port)
{
    Monitors::Iterator position;
    if (testKey(id, slot, port).isErr() || !m_monitors.get(keyOf(id, slot, port), position))
        return 0;
    ZKPPtr<Monitor> const removed(position.value());
    if ((*removed).decRegCount() > 0)
        return 0;
    // those who remove themselves in the notification can't find this monitor any more to get off it
    Observers::RollCall const observers(m_observers);
    leave(position);
    m_observers.broadcastEvent(Event(removed), &Monitor::Observer::onMonitorRemoved);
    for (auto const& entry : observers.entries())
    {
        for (int use = 0; use < entry.uses; use++)
            (*removed).removeObserver(entry.delegate.getObj());
    }
    return 0;
}

int REPOSITORY::removeMonitor(Monitor* monitor)
{
    return monitor != nullptr ? removeMonitor(monitor->getID(), monitor->getSlot(), monitor->getPort()) : 0;
}

ZKPPtr<Monitor> REPOSITORY::getMonitor(RtdMonitorID id, unsigned int slot, unsigned int port) const
{
    ZKPPtr<Monitor> found;
    if (testExpression(isId(id) && slot <= 0xFF && port <= 0xFFFF).isSuccess())
        m_monitors.get(keyOf(id, slot, port), found);
    return found;
}

ZKPPtr<Monitor> REPOSITORY::getMonitor(String const& name, unsigned int slot, unsigned int port) const
{
    for (auto const& entry : m_monitors)
    {
        Monitor const& monitor = *entry.value();
        // compared as a `String`, whose length counts, and last because making one may take memory
        if (monitor.getSlot() == slot && monitor.getPort() == port &&
            name == String(getRtdMonitorInfo(monitor.getID())->name))
            return entry.value();
    }
    return ZKPPtr<Monitor>();
}

ZKPPtr<Monitor> REPOSITORY::getMonitor(Monitor* monitor) const
{
    return monitor != nullptr ? getMonitor(monitor->getID(), monitor->getSlot(), monitor->getPort())
                              : ZKPPtr<Monitor>();
}

bool REPOSITORY::enableMonitor(Monitor* monitor, String const& session, int severity, int debugLevel)
{
    if (monitor != nullptr)
        monitor->addSession(session, severity, debugLevel);
    return monitor != nullptr;
}

bool REPOSITORY::enableMonitor(String const& name, unsigned int slot, unsigned int port, String const& session,
                               int severity, int debugLevel)
{
    return enableMonitor(getMonitor(name, slot, port).getObj(), session, severity, debugLevel);
}

bool REPOSITORY::enableMonitor(RtdMonitorID id, unsigned int slot, unsigned int port, String const& session, int,
                               int severity)
{
    return enableMonitor(getMonitor(id, slot, port).getObj(), session, severity, 1);
}

bool REPOSITORY::disableMonitor(Monitor* monitor, String const& session)
{
    if (monitor != nullptr)
        monitor->removeSession(session);
    return monitor != nullptr;
}

bool REPOSITORY::disableMonitor(String const& name, unsigned int slot, unsigned int port, String const& session)
{
    return disableMonitor(getMonitor(name, slot, port).getObj(), session);
}

bool REPOSITORY::disableMonitor(RtdMonitorID id, unsigned int slot, unsigned int port, String const& session)
{
    return disableMonitor(getMonitor(id, slot, port).getObj(), session);
}

bool REPOSITORY::disableMonitor(String const& session)
{
    String const name(session); // which may lie in a session that goes
    bool found = false;
    for (ZKPPtr<Monitor> const& monitor : allMonitors())
    {
        if (!isRegistered(*monitor) || !(*monitor).containsSession(name))
            continue;
        (*monitor).removeSession(name);
        found = true;
    }
    return found;
}

ZKVector<ZKPPtr<Monitor>>& REPOSITORY::getEnabledMonitors(String const& session,
                                                          ZKVector<ZKPPtr<Monitor>>& monitors) const
{
    for (auto const& entry : m_monitors)
    {
        if ((*entry.value()).containsSession(session))
            monitors.add(entry.value());
    }
    return monitors;
}

void REPOSITORY::setMinDebugLevel(RtdMonitorID id, int level)
{
    if (!isId(id))
        return;
    if (level < 0)
        m_minLevels.remove(static_cast<unsigned int>(id));
    else
        m_minLevels.set(static_cast<unsigned int>(id), level);
    if (ZKPPtr<Monitor> const base = GET_MONITOR(id))
        (*base).setMinDebugLevel(level);
}

void REPOSITORY::addObserver(Monitor::Observer* observer)
{
    if (observer == nullptr)
        return;
    ZKPtr<Delegate> const delegate(ZK::MovePtr<Delegate>(new Delegate(observer)));
    addObserver(delegate.getObj());
}

void REPOSITORY::addObserver(Delegate* delegate)
{
    if (delegate == nullptr)
        return;
    ZKPtr<Delegate> const newcomer(delegate);
    m_observers.addObserver(delegate, 0, false);
    Observers::RollCall const observers(m_observers);
    // those that are added meanwhile tell the newcomer themselves
    for (ZKPPtr<Monitor> const& monitor : allMonitors())
    {
        if (!observers.isPresent(delegate))
            return;
        if (!isRegistered(*monitor))
            continue;
        Event event(monitor);
        delegate->notifyEvent(&Monitor::Observer::onMonitorAdded, event);
        if (observers.isPresent(delegate) && isRegistered(*monitor))
            (*monitor).addObserver(delegate);
    }
}

void REPOSITORY::removeObserver(Monitor::Observer* observer)
{
    m_observers.removeObserver(observer);
    for (ZKPPtr<Monitor> const& monitor : allMonitors())
        (*monitor).removeObserver(observer);
}

void REPOSITORY::removeObserver(Delegate* delegate)
{
    if (delegate == nullptr)
        return;
    ZKPtr<Delegate> const leaver(delegate);
    m_observers.removeObserver(delegate);
    for (ZKPPtr<Monitor> const& monitor : allMonitors())
        (*monitor).removeObserver(delegate);
}

void REPOSITORY::getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                         unsigned int detail, String const& indent) const
{
    ++s_infoNesting;
    ZK::Detail::InfoRows rows(container, maxLevel, maxDetail);
    String title(indent);
    rows.add(level, detail, title += "Debug Monitors", String::s_empty);
    if (level < maxLevel && s_infoNesting == 1)
    {
        for (auto const& entry : m_monitors)
            (*entry.value()).getInfo(container, maxLevel, level + 1, maxDetail, detail, String::s_empty);
    }
    --s_infoNesting;
}

void REPOSITORY::enter(ZKPPtr<Monitor> const& monitor)
{
    m_monitors.add(keyOf(*monitor), monitor);
    if (isBase(*monitor))
        setGate((*monitor).getID(), monitor.getObj(), (*monitor).getEffectiveDebugLevel());
}

void REPOSITORY::leave(Monitors::Iterator position)
{
    Monitor const& monitor = *position.value();
    if (isBase(monitor))
        setGate(monitor.getID(), nullptr, Detail::LogGate::SHUT);
    m_monitors.erase(position);
}

bool REPOSITORY::isRegistered(Monitor const& monitor) const
{
    Monitors::ConstIterator position;
    return m_monitors.get(keyOf(monitor), position) && position.value() == &monitor;
}

/// For walks on which observers may add and remove monitors.
ZKVector<ZKPPtr<Monitor>> REPOSITORY::allMonitors() const
{
    ZKVector<ZKPPtr<Monitor>> monitors(m_monitors.size() + 1);
    for (auto const& entry : m_monitors)
        monitors.add(entry.value());
    return monitors;
}

/// Makes those who observed before `monitor` came its observers, once for each use. Later ones have seen to it already.
void REPOSITORY::attachObservers(Observers::RollCall const& observers, Monitor& monitor)
{
    for (auto const& entry : observers.entries())
    {
        for (int use = 0; use < std::min(entry.uses, entry.wrapper->uses()) && isRegistered(monitor); use++)
            monitor.addObserver(entry.delegate.getObj());
    }
}

void REPOSITORY::close()
{
    Monitors monitors(std::move(m_monitors));
    for (auto const& entry : monitors)
    {
        if (isBase(*entry.value()))
            setGate((*entry.value()).getID(), nullptr, Detail::LogGate::SHUT);
    }
    m_closed.store(true);
}
}
