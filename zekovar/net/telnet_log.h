#pragma once

#include "zekovar/diagnostics/monitor.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/string.h"

namespace ZK::Detail
{
/// Where a telnet client and its connections write their lines: a monitor, or none, and what stands in front of each.
class TelnetLog
{
public:
    TelnetLog(ZKPPtr<RTD::Monitor> const& monitor, String const& prefix) : m_monitor(monitor), m_prefix(prefix) {}

    /// The same monitor with `addition` behind the prefix.
    TelnetLog(TelnetLog const& other, String const& addition) : TelnetLog(other.m_monitor, other.m_prefix)
    {
        m_prefix.concat(addition);
    }

    /// Whether debug lines of this detail level, 0 upward, are written. Ask it before costly arguments are made.
    bool passes(int detailLevel) const;

    void debug(int detailLevel, char const* format, ...) const __attribute__((format(printf, 3, 4)));
    void error(char const* format, ...) const __attribute__((format(printf, 2, 3)));

private:
    ZKPPtr<RTD::Monitor> m_monitor;
    String m_prefix;
};
}
