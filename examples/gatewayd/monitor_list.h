#pragma once

#include "zekovar/zekovar.h"

#include <map>

/// The monitors of the process, their levels and their sessions, as the repository tells them to an observer.
///
/// The notifications come on any thread that changes a monitor, while the loop CRIT stands still. The list keeps a copy, so that a
/// report waits for no loop.
class MonitorList : private RTD::Monitor::Observer
{
public:
    /// Waits for CRIT, as the destructor does.
    MonitorList();
    ~MonitorList();

    MonitorList(MonitorList const&) = delete;
    MonitorList& operator=(MonitorList const&) = delete;

    /// One line a monitor, by id, slot and port: name, effective debug level and sessions.
    String report() const;

    /// The same as an "Array" of "Object"s.
    ZK::Property::Value toValue() const;

private:
    using Event = ObserverEvent<RTD::Monitor>;

    struct Entry
    {
        String name;
        int level = -1;
        std::map<String, RTD::Monitor::SessionInfo> sessions;
    };

    void onMonitorAdded(Event& event) override;
    void onMonitorRemoved(Event& event) override;
    void onSessionAdded(Event& event) override;
    void onSessionRemoved(Event& event) override;
    void onDebugLevelChanged(Event& event) override;

    Entry& entryOf(Event& event);
    static String sessionsOf(Entry const& entry);

    mutable ZKMutex m_mutex; // guards m_entries
    std::map<unsigned int, Entry> m_entries;
};
