#pragma once

#include "zekovar/diagnostics/monitor_id.h"

namespace ZK::Detail
{
/// Writes one line to the system monitor, for failures that no caller can act on.
///
/// `severity` is a syslog priority, 0 to 7; `format` and what follows are those of `printf`, a line end isn't needed.
/// Safe from every thread, and while a tracked lock is held. This is the only way by which the lower folders reach the
/// diagnostics.
void logToSystemMonitor(int severity, char const* format, ...) __attribute__((format(printf, 2, 3)));

/// As above, to the monitor `id`, with its prompt in front of each line of the text. A severity of 7 stands for that
/// monitor's debug severity. Nothing is written for an id that has no row in the monitor table.
void logToMonitor(RtdMonitorID id, int severity, char const* format, ...) __attribute__((format(printf, 3, 4)));
}
