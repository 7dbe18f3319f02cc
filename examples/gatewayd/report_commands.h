#pragma once

#include "command_group.h"
#include "state_report.h"

/// The daemon's state in all layouts, and a value of the operator's own.
class ReportCommands : public CommandGroup
{
public:
    explicit ReportCommands(MonitorList const& monitors);

private:
    void report(Call const& call, String const& arguments);
    void set(Call const& call, String const& arguments);
    void get(Call const& call, String const& arguments);
    void render(Call const& call, String const& arguments);

    StateReport m_report;
    ZK::Property::Value m_values;
};
