#pragma once

#include "zekovar/diagnostics/log_gate.h"
#include "zekovar/diagnostics/monitor.h"
#include "zekovar/diagnostics/monitor_id.h"

#include <syslog.h>

/// How code writes its lines. Safe from every thread, under any lock, before the repository exists and after it is
/// gone; nothing here waits for a loop or brings anything into being.
///
///     RTD_DEBUG(MON_JOB, 1, "[%s] State: %s", describe().c_str(), state);
///     RTD::error(MON_JOB, "[%s] CANNOT INVOKE", name.c_str());

/// Writes a debug line to the base monitor of `id`, in the manner of `printf`, if it lets `detailLevel` (int, 0 upward)
/// pass. Otherwise the format and its arguments aren't evaluated, and the line costs a load and a comparison.
#define RTD_DEBUG(id, detailLevel, ...) RTD_DETAIL_DEBUG_LINE(id, detailLevel, __VA_ARGS__)

/// As above for a monitor of which the caller has a reference, or null.
#define RTD_DEBUG_MONITOR(monitor, detailLevel, ...) RTD_DETAIL_DEBUG_LINE(monitor, detailLevel, __VA_ARGS__)

#define RTD_DETAIL_DEBUG_LINE(target, detailLevel, ...)                                                                \
    do                                                                                                                 \
    {                                                                                                                  \
        if (auto const rtdDebugLine = RTD::Detail::debugLine((target), (detailLevel)); rtdDebugLine.passes())          \
            rtdDebugLine.write(__VA_ARGS__);                                                                           \
    } while (false)

namespace RTD::Detail
{
/// A debug line by id. It takes a reference of the monitor only while it writes: another thread may remove it.
class DebugLineById
{
public:
    DebugLineById(RtdMonitorID id, bool passes) : m_id(id), m_passes(passes) {}

    bool passes() const { return m_passes; }

    void write(char const* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    RtdMonitorID m_id;
    bool m_passes;
};

class DebugLineByMonitor
{
public:
    explicit DebugLineByMonitor(Monitor const* monitor) : m_monitor(monitor) {}

    bool passes() const { return m_monitor != nullptr; }

    void write(char const* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    Monitor const* m_monitor;
};

inline DebugLineById debugLine(RtdMonitorID id, int detailLevel)
{
    return DebugLineById(id, passGate(id, detailLevel) != nullptr);
}

inline DebugLineByMonitor debugLine(Monitor const* monitor, int detailLevel)
{
    bool const passes = monitor != nullptr && detailLevel <= monitor->getEffectiveDebugLevel();
    return DebugLineByMonitor(passes ? monitor : nullptr);
}

/// Writes lines of one severity.
template <int SEVERITY>
struct SeverityLine
{
    void operator()(RtdMonitorID id, char const* format, ...) const __attribute__((format(printf, 3, 4)));
    void operator()(Monitor const* monitor, char const* format, ...) const __attribute__((format(printf, 3, 4)));
};
}

namespace RTD
{
/// Write a line of that severity to a monitor or the base monitor of an id, in the manner of `printf`, whatever the
/// levels are: `RTD::error(MON_SYSTEM, "OUT OF %s", what)`. Without a monitor nothing happens.
inline constexpr Detail::SeverityLine<LOG_EMERG> emergency{};
inline constexpr Detail::SeverityLine<LOG_CRIT> critical{};
inline constexpr Detail::SeverityLine<LOG_ERR> error{};
inline constexpr Detail::SeverityLine<LOG_WARNING> warning{};
inline constexpr Detail::SeverityLine<LOG_INFO> info{};
}
