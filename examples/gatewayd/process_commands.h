#pragma once

#include "command_group.h"
#include "task_thread.h"

#include <map>

/// Programs that run by way of the shell server.
class ProcessCommands : public CommandGroup
{
public:
    ProcessCommands();
    ~ProcessCommands() override;

    /// Kills the programs that still run.
    void end() override;

private:
    class Run;

    void run(Call const& call, String const& arguments);
    void runs(Call const& call, String const& arguments);
    void kill(Call const& call, String const& arguments);

    void start(std::shared_ptr<Run> const& run);
    void onResult(unsigned int number, XCode const& code);
    void onOutput(unsigned int number, String const& text);
    std::shared_ptr<Run> runOf(unsigned int number) const;

    mutable ZKMutex m_mutex; // guards m_runs and m_isEnding
    std::map<unsigned int, std::shared_ptr<Run>> m_runs;
    bool m_isEnding = false;
    ZKSemaphore m_allGone;         // no run is left behind `end`
    unsigned int m_lastNumber = 0; // belongs to the console's loop
    TaskThreads m_starters;        // starting and signalling wait for the server
};
