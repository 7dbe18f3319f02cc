#pragma once

#include "command_group.h"

#include "zekovar/zekovar.h"

class MonitorList;

/// Debug sessions on the monitors that the daemon has registered, and those monitors.
class DebugCommands : public CommandGroup
{
public:
    /// Registers the monitors of the library's own lines.
    DebugCommands(Console& console, MonitorList const& monitors);
    ~DebugCommands() override;

    void end() override;

private:
    /// What `debug` asks for.
    struct Request
    {
        RtdMonitorID id = MON_NO;
        unsigned int slot = RTD::NO_SLOT;
        unsigned int port = RTD::NO_PORT;
        String session;
        int severity = 0;
        int level = 0;
    };

    void debug(Command const& command, String const& arguments);
    void nodebug(Command const& command, String const& arguments);
    void monitors(Command const& command, String const& arguments);

    char const* parse(String const& arguments, Request& request) const;
    void enable(Request const& request);
    void disable(String const& session);

    MonitorList const& m_monitors;
    ZK::Function<void(Request)> m_enableOnCrit; // a change of monitors waits for CRIT, the console doesn't
    ZK::Function<void(String)> m_disableOnCrit;
};
