#include "zekovar/net/telnet_log.h"

#include <cstdarg>
#include <syslog.h>

namespace ZK::Detail
{
bool TelnetLog::passes(int detailLevel) const
{
    return m_monitor && detailLevel <= (*m_monitor).getEffectiveDebugLevel();
}

void TelnetLog::debug(int detailLevel, char const* format, ...) const
{
    if (!passes(detailLevel))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (*m_monitor).vmonitorPrefix((*m_monitor).getDebugSeverity(), m_prefix, format, arguments);
    va_end(arguments);
}

void TelnetLog::error(char const* format, ...) const
{
    if (!m_monitor)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    (*m_monitor).vmonitorPrefix(LOG_ERR, m_prefix, format, arguments);
    va_end(arguments);
}
}
