#pragma once

#include "command_group.h"
#include "state_report.h"

/// The daemon's state in all layouts, and a value of the operator's own.
class ReportCommands : public CommandGroup
{
public:
    ReportCommands(Console& console, MonitorList const& monitors);

private:
    void report(Command const& command, String const& arguments);
    void set(Command const& command, String const& arguments);
    void get(Command const& command, String const& arguments);
    void render(Command const& command, String const& arguments);

    StateReport m_report;
    ZK::Property::Value m_values;
};
