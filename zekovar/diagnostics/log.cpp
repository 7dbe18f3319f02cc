#include "zekovar/diagnostics/log.h"

#include "zekovar/diagnostics/repository.h"

#include <cstdarg>

namespace RTD::Detail
{
// no call here goes through the arrow of a pointer, which would wait for CRIT

void DebugLineById::write(char const* format, ...) const
{
    ZKPPtr<Monitor> const monitor = REPOSITORY::GET_MONITOR(m_id);
    if (!monitor)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (*monitor).vmonitor((*monitor).getDebugSeverity(), format, arguments);
    va_end(arguments);
}

void DebugLineByMonitor::write(char const* format, ...) const
{
    std::va_list arguments;
    va_start(arguments, format);
    m_monitor->vmonitor(m_monitor->getDebugSeverity(), format, arguments);
    va_end(arguments);
}

template <int SEVERITY>
void SeverityLine<SEVERITY>::operator()(RtdMonitorID id, char const* format, ...) const
{
    ZKPPtr<Monitor> const monitor = REPOSITORY::GET_MONITOR(id);
    if (!monitor)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (*monitor).vmonitor(SEVERITY, format, arguments);
    va_end(arguments);
}

template <int SEVERITY>
void SeverityLine<SEVERITY>::operator()(Monitor const* monitor, char const* format, ...) const
{
    if (monitor == nullptr)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    monitor->vmonitor(SEVERITY, format, arguments);
    va_end(arguments);
}

template struct SeverityLine<LOG_EMERG>;
template struct SeverityLine<LOG_CRIT>;
template struct SeverityLine<LOG_ERR>;
template struct SeverityLine<LOG_WARNING>;
template struct SeverityLine<LOG_INFO>;
}
