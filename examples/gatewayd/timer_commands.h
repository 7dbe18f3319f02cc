#pragma once

#include "command_group.h"
#include "timers.h"

/// The operator's timers on the chosen loop.
class TimerCommands : public CommandGroup
{
public:
    TimerCommands(Console& console, ZKEventLoop& loop);

    void end() override;

private:
    void timer(Command const& command, String const& arguments);
    void timers(Command const& command, String const& arguments);
    void cancel(Command const& command, String const& arguments);

    ZKEventLoop& m_loop;
    Timers m_timers;
};
