#pragma once

#include "command_group.h"
#include "monitor_list.h"

#include <memory>

/// All commands of the console: its own and those of the groups.
class Workbench : public CommandGroup
{
public:
    /// The commands put `loop`, which the user has chosen, to work.
    Workbench(ZKEventLoop& loop, Console& console);

    /// Runs one command line; whatever is wrong with it is answered in one line. On the console's loop.
    void execute(String const& line);

    void end() override;

private:
    Command const* find(String const& name) const;

    void help(Command const& command, String const& arguments);
    void wait(Command const& command, String const& arguments);
    void quit(Command const& command, String const& arguments);

    MonitorList m_monitors;
    std::vector<std::unique_ptr<CommandGroup>> m_groups;
};
