#include "monitor_list.h"

#include <utility>

namespace
{
/// Orders by id, slot and port.
unsigned int keyOf(RTD::Monitor const& monitor)
{
    return static_cast<unsigned int>(monitor.getID()) << 24 | monitor.getSlot() << 16 | monitor.getPort();
}
}

MonitorList::MonitorList() : m_mutex(false)
{
    RTD::REPOSITORY::_INSTANCE()->addObserver(this);
}

MonitorList::~MonitorList()
{
    RTD::REPOSITORY::_INSTANCE()->removeObserver(this);
}

String MonitorList::report() const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    String text;
    for (auto const& [key, entry] : m_entries)
    {
        String const level = entry.level < 0 ? String("off") : String(String::Formatted(), "level %d", entry.level);
        String const sessions = sessionsOf(entry);
        text.concatf("%3u  %-24s %s%s%s\n", key >> 24, entry.name.c_str(), level.c_str(),
                     sessions.isEmpty() ? "" : ", ", sessions.c_str());
    }
    return text;
}

ZK::Property::Value MonitorList::toValue() const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    ZK::Property::Value monitors = ZK::Property::array();
    for (auto const& [key, entry] : m_entries)
    {
        ZK::Property::Value monitor;
        monitor["monitor"] = entry.name;
        monitor["id"] = key >> 24;
        monitor["level"] = entry.level;
        monitor["sessions"] = sessionsOf(entry);
        monitors.add(std::move(monitor));
    }
    return monitors;
}

String MonitorList::sessionsOf(Entry const& entry)
{
    String text;
    for (auto const& [name, session] : entry.sessions)
    {
        text.concatf("%s%s (%s, %d)", text.isEmpty() ? "" : ", ", name.c_str(),
                     RTD::GET_SYSLOG_SEVERITY(session.severity), session.debugLevel);
    }
    return text;
}

void MonitorList::onMonitorAdded(Event& event)
{
    RTD::Monitor const& monitor = *event.getSource();
    ZKAutoLock<ZKMutex> guard(m_mutex);
    Entry& entry = entryOf(event);
    RTD::BUILD_MONITOR_NAME(entry.name, getRtdMonitorInfo(monitor.getID())->name, monitor.getSlot(), monitor.getPort(),
                            ":", "/");
}

void MonitorList::onMonitorRemoved(Event& event)
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    m_entries.erase(keyOf(*event.getSource()));
}

void MonitorList::onSessionAdded(Event& event)
{
    String name;
    RTD::Monitor::SessionInfo session;
    event.getMarshaller().unmarshal(name);
    event.getMarshaller().unmarshal(session.severity);
    event.getMarshaller().unmarshal(session.debugLevel);
    ZKAutoLock<ZKMutex> guard(m_mutex);
    entryOf(event).sessions[name] = session;
}

void MonitorList::onSessionRemoved(Event& event)
{
    String name;
    event.getMarshaller().unmarshal(name);
    ZKAutoLock<ZKMutex> guard(m_mutex);
    entryOf(event).sessions.erase(name);
}

void MonitorList::onDebugLevelChanged(Event& event)
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    entryOf(event);
}

/// The monitor's entry with its present level; the mutex is held.
MonitorList::Entry& MonitorList::entryOf(Event& event)
{
    RTD::Monitor const& monitor = *event.getSource();
    Entry& entry = m_entries[keyOf(monitor)];
    entry.level = monitor.getEffectiveDebugLevel();
    return entry;
}
