#pragma once

#include "command_group.h"

#include "zekovar/zekovar.h"

class MonitorList;

/// Debug sessions on the monitors that the daemon has registered, and those monitors.
class DebugCommands : public CommandGroup
{
public:
    /// Registers the monitors of the library's own lines.
    explicit DebugCommands(MonitorList const& monitors);
    ~DebugCommands() override;

    void end() override;

private:
    /// What `debug` asks for.
    struct Request
    {
        explicit Request(Call const& by) : call(by) {}

        Call call;
        RtdMonitorID id = MON_NO;
        unsigned int slot = RTD::NO_SLOT;
        unsigned int port = RTD::NO_PORT;
        String session;
        int severity = 0;
        int level = 0;
    };

    void debug(Call const& call, String const& arguments);
    void nodebug(Call const& call, String const& arguments);
    void monitors(Call const& call, String const& arguments);

    char const* parse(String const& arguments, Request& request) const;
    void enable(Request const& request);
    void disable(Call const& call, String const& session);

    MonitorList const& m_monitors;
    ZK::Function<void(Request)> m_enableOnCrit; // a change of monitors waits for CRIT, the console doesn't
    ZK::Function<void(Call, String)> m_disableOnCrit;
};
