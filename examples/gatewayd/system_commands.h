#pragma once

#include "command_group.h"
#include "task_thread.h"

/// The calendar, memory figures and the library's tests of itself.
class SystemCommands : public CommandGroup
{
public:
    SystemCommands();

    void end() override;

private:
    void date(Call const& call, String const& arguments);
    void schedule(Call const& call, String const& arguments);
    void memory(Call const& call, String const& arguments);
    void selfTest(Call const& call, String const& arguments);

    TaskThreads m_testers; // tests may take their time
};
