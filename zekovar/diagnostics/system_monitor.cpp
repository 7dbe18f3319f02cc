#include "zekovar/diagnostics/system_monitor.h"

#include "zekovar/diagnostics/monitor_table.h"
#include "zekovar/diagnostics/syslog.h"

#include <cstdarg>
#include <syslog.h>

namespace ZK::Detail
{
void logToSystemMonitor(int severity, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vsyslog(severity, format, arguments);
    va_end(arguments);
}

void logToMonitor(RtdMonitorID id, int severity, char const* format, ...)
{
    if (id < 0 || id >= RTD_MONITOR_COUNT)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    RTD::VSYSLOG_PREFIX(getRtdMonitorInfo(id)->prompt, severity, String::s_empty, format, arguments);
    va_end(arguments);
}
}
