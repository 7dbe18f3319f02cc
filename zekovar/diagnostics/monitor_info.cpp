#include "zekovar/diagnostics/monitor.h"
#include "zekovar/diagnostics/monitor_table.h"
#include "zekovar/diagnostics/syslog.h"
#include "zekovar/foundation/report_text.h"
#include "zekovar/property/info_rows.h"

#include <syslog.h>

namespace
{
String numberOrNone(unsigned int number, unsigned int none)
{
    return number == none ? String("(none)") : String::stringOf(number);
}
}

namespace RTD
{
void Monitor::getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                      unsigned int detail, String const& indent) const
{
    ZK::Detail::InfoRows rows(container, maxLevel, maxDetail);
    String name;
    BUILD_MONITOR_NAME(name, getRtdMonitorInfo(m_id)->name, m_slot, m_port, ":", "/");
    int const debugLevel = getEffectiveDebugLevel();
    rows.add(level, detail, name.insert(0, indent), debugLevel < 0 ? String("-") : String::stringOf(debugLevel));

    uint64_t const below = uint64_t{level} + 1;
    uint64_t const some = uint64_t{detail} + 2;
    uint64_t const more = some + 1;
    addTableInfo(rows, below, more);
    rows.add(below, some, "Permanent", YES_NO(maxDebugLevel() < -1));
    rows.add(below, some, "Sessions (Debug Level)", String::stringOf(m_sessions.size()));
    addSessionInfo(rows, below + 1, more);
    rows.add(below, some, "Effective Debug Level", String::stringOf(debugLevel));
    rows.add(below, some, "Minimum Debug Level", String::stringOf(m_minDebugLevel));
    rows.add(below, some, "Debug Severity", String::stringOf(getDebugSeverity()));
    rows.add(below, more, "Message Prefix", m_messagePrefix);
    rows.add(below, more + 1, "Ref. Count", String::stringOf(getRefCount()));
}

void Monitor::addTableInfo(ZK::Detail::InfoRows& rows, uint64_t level, uint64_t detail) const
{
    RtdMonitorInfo const& info = *getRtdMonitorInfo(m_id);
    rows.add(level, detail, "ID", String::stringOf(static_cast<int>(m_id)));
    rows.add(level, detail, "Slot", numberOrNone(m_slot, NO_SLOT));
    rows.add(level, detail, "Port", numberOrNone(m_port, NO_PORT));
    rows.add(level, detail, "Name", info.name);
    rows.add(level, detail, "Prompt", info.prompt);
    rows.add(level, detail, "Description", info.description);
    rows.add(level, detail, "Severity Mask", String::stringOfFormat("%4.4u", info.severityMask));
    // without a sign, so a permanent monitor shows a large number
    rows.add(level, detail, "Max. Debug Level", String::stringOf(static_cast<unsigned int>(info.maxDebugLevel)));
}

void Monitor::addSessionInfo(ZK::Detail::InfoRows& rows, uint64_t level, uint64_t detail) const
{
    if (!rows.isWanted(level, detail))
        return;
    for (auto const& entry : m_sessions)
    {
        String severity = GET_SYSLOG_SEVERITY(entry.value().severity);
        if (entry.value().severity == LOG_DEBUG)
            severity.concatf(" (detail %d)", entry.value().debugLevel);
        rows.add(level, detail, entry.key(), severity);
    }
}
}
