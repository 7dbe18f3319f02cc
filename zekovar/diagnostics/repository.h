#pragma once

#include "zekovar/diagnostics/log_gate.h"
#include "zekovar/diagnostics/monitor.h"
#include "zekovar/diagnostics/monitor_id.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

#include <atomic>

namespace RTD
{
/// The register of all monitors of the process.
///
/// A monitor is known by its id, slot and port; slot 254 and port 65534 mean the base monitor of the id. Its lock is
/// that of the monitors, the loop `CRIT` standing still, and the arrow holds it for the call. The static functions look
/// monitors up without it and don't bring the repository into being: they never wait for a loop and may be used on
/// every thread and under any lock.
///
///     RTD::REPOSITORY::_INSTANCE()->addMonitor(MON_SIP_TRANSPORT, 2, 14);
///     RTD::REPOSITORY::_INSTANCE()->enableMonitor("sip-transport", 2, 14, "cli", LOG_DEBUG, 3);
///
/// Monitors are released at the end of the process, before `CRIT` goes; from then on nothing is found or added.
class REPOSITORY : public ZK::RefCounted
{
public:
    using Delegate = Monitor::Delegate;

    /// Brings `CRIT` and the repository into being if they aren't there yet. Safe from every thread.
    static ZKPPtr<REPOSITORY>& _INSTANCE();

    /// The base monitor, or null. The arrow of the result takes the monitor's lock, which waits for `CRIT`.
    static ZKPPtr<Monitor> GET_MONITOR(RtdMonitorID id);

    /// The base monitor if there is one and `detailLevel` isn't above its effective debug level, else null. No
    /// reference goes with it: it is for ids whose monitor outlives its users. The macros of `diagnostics/log.h` are
    /// safe with any.
    static Monitor* GET_MONITOR_IF_ENABLED_FOR_LOGGING(RtdMonitorID id, int detailLevel)
    {
        return Detail::passGate(id, detailLevel);
    }

    /// `monitor` if it isn't null and lets the level pass, else null.
    static Monitor* GET_MONITOR_IF_ENABLED_FOR_LOGGING(Monitor* monitor, int detailLevel)
    {
        return monitor != nullptr && detailLevel <= monitor->getEffectiveDebugLevel() ? monitor : nullptr;
    }

    /// Makes a monitor, or counts one more registration of it. A new one is told to the observers, gets the sessions of
    /// its base monitor if it has a slot and a port, and the minimum level of its id. Null for an id that isn't in the
    /// table, a slot above 254 or a port above 65534, and if an observer has removed it at once. The monitor stays
    /// until as many removals.
    Monitor* addMonitor(RtdMonitorID id, unsigned int slot, unsigned int port);

    /// Takes one registration back; the last one takes the monitor out and tells the observers. 0 in any case.
    int removeMonitor(RtdMonitorID id, unsigned int slot, unsigned int port);
    int removeMonitor(Monitor* monitor);

    /// Null if there is none. Names are compared with case.
    ZKPPtr<Monitor> getMonitor(RtdMonitorID id, unsigned int slot, unsigned int port) const;
    ZKPPtr<Monitor> getMonitor(String const& name, unsigned int slot, unsigned int port) const;
    ZKPPtr<Monitor> getMonitor(Monitor* monitor) const;

    /// Opens a session; false if there is no such monitor.
    bool enableMonitor(Monitor* monitor, String const& session, int severity, int debugLevel);
    bool enableMonitor(String const& name, unsigned int slot, unsigned int port, String const& session, int severity,
                       int debugLevel);

    /// As above, but the debug level is always 1 and `ignored` has no effect.
    bool enableMonitor(RtdMonitorID id, unsigned int slot, unsigned int port, String const& session, int ignored,
                       int severity);

    /// Closes a session; false if there is no such monitor.
    bool disableMonitor(Monitor* monitor, String const& session);
    bool disableMonitor(String const& name, unsigned int slot, unsigned int port, String const& session);
    bool disableMonitor(RtdMonitorID id, unsigned int slot, unsigned int port, String const& session);

    /// Closes the sessions of that name on all monitors; false if there were none.
    bool disableMonitor(String const& session);

    /// Appends the monitors that have the session, oldest first.
    ZKVector<ZKPPtr<Monitor>>& getEnabledMonitors(String const& session, ZKVector<ZKPPtr<Monitor>>& monitors) const;

    /// Sets the minimum debug level of the base monitor, now or when it is made, and of the id's other monitors when
    /// they are made; a negative one takes it back.
    void setMinDebugLevel(RtdMonitorID id, int level);

    /// Makes the observer one of each monitor, present and future. Before this returns it is told of each that exists
    /// and of its sessions. Null changes nothing.
    void addObserver(Monitor::Observer* observer);
    void addObserver(Delegate* delegate);

    /// Takes back one `addObserver`, here and on each monitor, without a notification.
    void removeObserver(Monitor::Observer* observer);
    void removeObserver(Delegate* delegate);

    /// Adds all monitors to a report, oldest first: the line `indent` + "Debug Monitors", and one level deeper what
    /// `Monitor::getInfo` tells.
    void getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                 unsigned int detail, String const& indent) const;

    /// Null once the process ends, when the loop may be gone.
    ZKLock* getLock() override;

private:
    using Monitors = ZKUIntHashTable<ZKPPtr<Monitor>>;
    using Observers = ObserverContainer<Monitor, Monitor::Observer>;

    class Closer;

    REPOSITORY();

    void enter(ZKPPtr<Monitor> const& monitor);
    void leave(Monitors::Iterator position);
    bool isRegistered(Monitor const& monitor) const;
    ZKVector<ZKPPtr<Monitor>> allMonitors() const;
    void attachObservers(Observers::RollCall const& observers, Monitor& monitor);
    void close();

    Monitors m_monitors;
    ZKUIntHashTable<int> m_minLevels;
    Observers m_observers;
    std::atomic<bool> m_closed{false};
};
}
