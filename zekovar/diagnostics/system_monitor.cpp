#include "zekovar/diagnostics/system_monitor.h"

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
}
