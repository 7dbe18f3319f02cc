#pragma once

#include "command_group.h"
#include "timers.h"

/// The operator's timers on the chosen loop.
class TimerCommands : public CommandGroup
{
public:
    explicit TimerCommands(ZKEventLoop& loop);

    void end() override;

private:
    void timer(Call const& call, String const& arguments);
    void timers(Call const& call, String const& arguments);
    void cancel(Call const& call, String const& arguments);

    ZKEventLoop& m_loop;
    Timers m_timers;
};
