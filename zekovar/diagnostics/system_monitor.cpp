#include "zekovar/diagnostics/system_monitor.h"

#include "zekovar/diagnostics/monitor_table.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/diagnostics/syslog.h"

#include <cstdarg>
#include <syslog.h>

namespace
{
/// What is written to the base monitor of an id; without one, to syslog with the prompt of the id's row.
__attribute__((format(printf, 4, 0))) void writeLine(RTD::Monitor const* monitor, RtdMonitorID id, int severity,
                                                     char const* format, std::va_list arguments)
{
    if (monitor != nullptr)
        monitor->vmonitor(severity, format, arguments);
    else
        RTD::VSYSLOG_PREFIX(getRtdMonitorInfo(id)->prompt, severity, String::s_empty, format, arguments);
}
}

namespace ZK::Detail
{
void logToSystemMonitor(int severity, char const* format, ...)
{
    ZKPPtr<RTD::Monitor> const monitor = RTD::REPOSITORY::GET_MONITOR(MON_SYSTEM);
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(monitor.getObj(), MON_SYSTEM, severity, format, arguments);
    va_end(arguments);
}

void logToMonitor(RtdMonitorID id, int severity, char const* format, ...)
{
    if (id < 0 || id >= RTD_MONITOR_COUNT)
        return;
    ZKPPtr<RTD::Monitor> const monitor = RTD::REPOSITORY::GET_MONITOR(id);
    if (monitor && severity == LOG_DEBUG)
        severity = (*monitor).getDebugSeverity();
    std::va_list arguments;
    va_start(arguments, format);
    writeLine(monitor.getObj(), id, severity, format, arguments);
    va_end(arguments);
}
}
