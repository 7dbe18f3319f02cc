#pragma once

#include "zekovar/diagnostics/monitor_id.h"

/// The only way by which the lower folders reach the diagnostics.
///
/// Safe from every thread, while a tracked lock is held, before the monitors exist and after they are gone; nothing
/// here waits for a loop or brings one into being. `format` and what follows are those of `printf`, a line end isn't
/// needed.
namespace ZK::Detail
{
/// Writes a line to the system monitor, for failures that no caller can act on. `severity` is a syslog priority, 0 to
/// 7. Without such a monitor the line goes to syslog with the same prompt, so that it isn't lost.
void logToSystemMonitor(int severity, char const* format, ...) __attribute__((format(printf, 2, 3)));

/// As above, to the base monitor of `id`. A severity of 7 stands for that monitor's debug severity. Nothing is written
/// for an id that has no row in the monitor table.
void logToMonitor(RtdMonitorID id, int severity, char const* format, ...) __attribute__((format(printf, 3, 4)));
}
