#pragma once

#include "zekovar/diagnostics/monitor_id.h"
#include "zekovar/diagnostics/observer.h"
#include "zekovar/diagnostics/syslog.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/string.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>

class InfoContainer;

namespace ZK::Detail
{
class InfoRows;
}

namespace RTD
{
/// A tap for the diagnostic output of one subsystem, or of one slot and port of it. Made and found only through
/// `RTD::REPOSITORY`.
///
/// Operators and programs open sessions on it, each with a name, a severity and a debug level. The monitor folds them
/// into one effective debug level, and a debug line passes if its detail level, 0 upward, isn't above that; at -1 none
/// does. The table of monitors sets a ceiling for each id; a ceiling below -1 makes a permanent monitor, which is
/// always at 9.
///
/// Writing lines and reading the id, slot, port, prefix, effective level and debug severity is safe from every thread
/// that holds a reference. It needs no lock: on a `ZKPPtr` write `(*monitor).monitor(...)`, because its arrow takes
/// one. Everything else needs the monitor's lock, which is the loop `CRIT` standing still at priority normal: the arrow takes it, the
/// repository's operations hold it. Observers are called with it.
///
///     ZKPPtr<RTD::Monitor> monitor = RTD::REPOSITORY::GET_MONITOR(MON_JOB);
///     if (monitor) monitor->addSession("cli", LOG_DEBUG, 2);
class Monitor : public ZK::RefCounted
{
public:
    /// What those who watch monitors are told. They may add and remove observers, sessions and monitors meanwhile.
    class Observer
    {
    public:
        virtual void onMonitorAdded(ObserverEvent<Monitor>& event) = 0;
        virtual void onMonitorRemoved(ObserverEvent<Monitor>& event) = 0;

        /// Payload: the session's name (`String`), severity (`int`) and debug level (`int`). Also for a session whose
        /// values are overwritten.
        virtual void onSessionAdded(ObserverEvent<Monitor>& event) = 0;

        /// Payload: the session's name (`String`). Also for a name that there was no session of.
        virtual void onSessionRemoved(ObserverEvent<Monitor>& event) = 0;

        /// The source's effective debug level is the new one.
        virtual void onDebugLevelChanged(ObserverEvent<Monitor>& event) = 0;

    protected:
        ~Observer() = default; // nobody deletes an observer through this interface
    };

    using Delegate = ObserverDelegate<Monitor, Observer>;

    struct SessionInfo
    {
        int severity = 0;
        int debugLevel = 0;
    };

    /// Only for the repository. `NO_SLOT` and `NO_PORT` make the base monitor of the id.
    Monitor(RtdMonitorID id, unsigned int slot, unsigned int port);

    /// As `release`: nobody else sees what the destructor touches, so it needs no lock, and the last reference may go
    /// on any thread, under any lock and after the loop is gone.
    void protectedRelease() override;

    ~Monitor() override;

    /// Writes a line at `severity`, 0 to 7, whatever the levels are.
    void monitor(int severity, char const* format, ...) const __attribute__((format(printf, 3, 4)));
    void vmonitor(int severity, char const* format, std::va_list arguments) const __attribute__((format(printf, 3, 0)));

    /// As `monitor`, with `extra` between the prompt and the text.
    void monitorPrefix(int severity, String const& extra, char const* format, ...) const
        __attribute__((format(printf, 4, 5)));
    void vmonitorPrefix(int severity, String const& extra, char const* format, std::va_list arguments) const
        __attribute__((format(printf, 4, 0)));

    /// Lines at severity 7 and 3 for old callers; the detail level has no effect.
    void _monitor_debug_deprecated(char const* format, ...) const __attribute__((format(printf, 2, 3)));
    void _monitor_debug_deprecated(int detailLevel, char const* format, ...) const
        __attribute__((format(printf, 3, 4)));
    void _monitor_error_deprecated(char const* format, ...) const __attribute__((format(printf, 2, 3)));
    void _monitor_error_deprecated(int detailLevel, char const* format, ...) const
        __attribute__((format(printf, 3, 4)));

    /// Opens a session or overwrites one of that name. `debugLevel` is lowered to the ceiling of the monitor's id.
    /// Tells the observers of the session, and then of the effective level if it changed.
    void addSession(String const& session, int severity, int debugLevel);

    /// Tells the observers of the effective level if it changed, and then, in any case, of the session.
    void removeSession(String const& session);

    /// Opens a session anew, closing one of that name first. A level above the ceiling becomes the ceiling, any other
    /// one is raised to the minimum debug level.
    void setLevel(String const& session, int severity, int debugLevel);

    bool containsSession(String const& session) const;

    /// Adds each session of `source` here, in its order. The caller needs both locks, which are one.
    void addSessions(ZKPPtr<Monitor>& source);

    /// -1 if there is no such session.
    int getSeverityOfSession(String const& session) const;
    int getDebugLevelOfSession(String const& session) const;

    /// Holds the monitor open at `level` at least, even without a session, or, if it is negative, no longer: then the
    /// effective level falls with the next `updateDebugLevel`. Debug lines get severity 6 while it is held open,
    /// otherwise 7. Tells no observer.
    void setMinDebugLevel(int level);

    /// Works the effective level out of the sessions, the minimum and the ceiling. The minimum wins over the ceiling.
    void updateDebugLevel();

    /// Adds the observer and tells it, before it returns, of each session and, if debug lines pass, of the effective
    /// level. Null changes nothing.
    void addObserver(Observer* observer);
    void addObserver(Delegate* delegate);

    /// Takes back one `addObserver`. Null and strangers change nothing.
    void removeObserver(Observer* observer);
    void removeObserver(Delegate* delegate);

    /// How many further monitors, 0 to 8, the table ties to this one.
    unsigned int getNumberOfSubMonitors() const;

    /// 0 for an index above 7.
    unsigned int getSubMonitorID(unsigned int index) const;

    RtdMonitorID getID() const { return m_id; }

    unsigned int getSlot() const { return m_slot; }

    unsigned int getPort() const { return m_port; }

    /// How many calls of the repository's `addMonitor` stand; the new number.
    unsigned int incRegCount() { return ++m_registrations; }

    unsigned int decRegCount() { return --m_registrations; }

    unsigned int getRegCount() const { return m_registrations; }

    unsigned int getNumberOfSessions() const { return m_sessions.size(); }

    /// The prompt of its lines, " # " included.
    String const& getMessagePrefix() const { return m_messagePrefix; }

    /// The severity for debug lines.
    int getDebugSeverity() const { return m_debugSeverity.load(std::memory_order_relaxed); }

    int getMinDebugLevel() const { return m_minDebugLevel; }

    int getEffectiveDebugLevel() const { return m_effectiveDebugLevel.load(std::memory_order_relaxed); }

    /// Adds the monitor to a report: a line with `indent`, its name and its effective level, and one level deeper, with
    /// up to 4 more detail, its row of the table, its sessions and its state. Lines beyond `maxLevel` or `maxDetail`
    /// are left out.
    void getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                 unsigned int detail, String const& indent) const;

private:
    void addTableInfo(ZK::Detail::InfoRows& rows, uint64_t level, uint64_t detail) const;
    void addSessionInfo(ZK::Detail::InfoRows& rows, uint64_t level, uint64_t detail) const;
    int maxDebugLevel() const;
    void setEffectiveDebugLevel(int level);
    void broadcastDebugLevel();

    ObserverContainer<Monitor, Observer> m_observers;
    RtdMonitorID m_id;
    unsigned int m_slot;
    unsigned int m_port;
    unsigned int m_registrations;
    ZKStringHashTable<SessionInfo> m_sessions;
    String m_messagePrefix;
    std::atomic<int> m_debugSeverity;
    int m_minDebugLevel;
    std::atomic<int> m_effectiveDebugLevel;
};
}
