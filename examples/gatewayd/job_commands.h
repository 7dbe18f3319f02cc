#pragma once

#include "command_group.h"

#include <map>

/// Jobs on an executor with a thread of its own, and the report on all executors, futures and past jobs.
class JobCommands : public CommandGroup
{
public:
    JobCommands();

    void end() override;

private:
    class PausingJob;

    void jobs(Call const& call, String const& arguments);
    void job(Call const& call, String const& arguments);
    void cancelJob(Call const& call, String const& arguments);

    void onEnd(Call const& call, unsigned int number, XCode const& code);
    ZKPtr<ZK::IFuture> futureOf(unsigned int number) const;

    ZKSemaphore m_ending;    // cuts the job in progress short
    ZKSemaphore m_allTold;   // no job is left behind `end`
    mutable ZKMutex m_mutex; // guards m_isEnding and m_futures
    bool m_isEnding = false;
    std::map<unsigned int, ZKPtr<ZK::IFuture>> m_futures;
    unsigned int m_lastNumber = 0; // belongs to the console's loop
    ZKPtr<ZK::IExecutor> m_executor;
};
