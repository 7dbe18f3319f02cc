#pragma once

#include "command_group.h"
#include "monitor_list.h"

#include <memory>

class Console;

/// All commands of the console: its own and those of the groups.
class Workbench : public CommandGroup
{
public:
    /// The commands put `loop`, which the user has chosen, to work.
    Workbench(ZKEventLoop& loop, Console& console);

    /// Runs one command line; whatever is wrong with it is answered in one line. On the console's loop.
    void execute(std::shared_ptr<Session> const& session, String const& line);

    void end() override;

private:
    Command const* find(String const& name) const;

    void help(Call const& call, String const& arguments);
    void wait(Call const& call, String const& arguments);
    void quit(Call const& call, String const& arguments);

    MonitorList m_monitors;
    std::vector<std::unique_ptr<CommandGroup>> m_groups;
};
