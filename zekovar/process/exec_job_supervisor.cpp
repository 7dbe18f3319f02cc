#include "zekovar/process/exec_job_supervisor.h"

#include "zekovar/process/exec_job.h"
#include "zekovar/threads/auto_lock.h"

#include <algorithm>
#include <utility>

using Guard = ZKAutoLock<ZKMutex>;

_ZKExecJobSupervisor::_ZKExecJobSupervisor() : m_mutex(false)
{
}

String _ZKExecJobSupervisor::BUILD_CMD_LINE(_ZKExecJob& job)
{
    ZKAutoLock<ZKMutexPrivate> guard(job.m_lock);
    String line = job.m_command;
    for (String const& argument : job.m_arguments)
        line.concat(" ", 1).concat(argument);
    return line;
}

void _ZKExecJobSupervisor::addJob(_ZKExecJob* job)
{
    String const cmdLine = BUILD_CMD_LINE(*job);
    Guard guard(m_mutex);
    forgetJob(job);
    getOrCreateReport(cmdLine).jobs.push_back(job);
    dropIdleReports();
}

void _ZKExecJobSupervisor::removeJob(_ZKExecJob* job)
{
    Guard guard(m_mutex);
    forgetJob(job);
    dropIdleReports();
}

XCode _ZKExecJobSupervisor::getByJob(_ZKExecJob* job, Report& report)
{
    Guard guard(m_mutex);
    Report* const found = findByJob(job);
    if (found != nullptr)
        report = *found;
    return testExpression(found);
}

XCode _ZKExecJobSupervisor::getByCmdLine(String const& cmdLine, Report& report)
{
    Guard guard(m_mutex);
    Report* const found = getReport(cmdLine);
    if (found != nullptr)
        report = *found;
    return testExpression(found);
}

void _ZKExecJobSupervisor::startExecuteJob(_ZKExecJob* job, unsigned int run)
{
    Guard guard(m_mutex);
    Report* const report = findByJob(job);
    if (report == nullptr)
        return;
    report->starts++;
    report->maxRun = std::max(report->maxRun, run);
}

void _ZKExecJobSupervisor::endExecuteJob(_ZKExecJob* job, unsigned int run, bool stopped, XCode code, bool& keepGoing)
{
    keepGoing = true;
    Guard guard(m_mutex);
    Report* const report = findByJob(job);
    if (report == nullptr)
        return;
    report->maxRun = std::max(report->maxRun, run);
    if (stopped)
    {
        report->stoppedEnds++;
    }
    else if (code.isErr())
    {
        report->failedEnds++;
        report->lastFailure = std::move(code);
    }
    else
    {
        report->cleanEnds++;
    }
}

_ZKExecJobSupervisor::Report* _ZKExecJobSupervisor::findByJob(_ZKExecJob const* job)
{
    for (auto& entry : m_reports)
    {
        auto const& jobs = entry.value().jobs;
        if (std::find(jobs.begin(), jobs.end(), job) != jobs.end())
            return &entry.value();
    }
    return nullptr;
}

_ZKExecJobSupervisor::Report* _ZKExecJobSupervisor::getReport(String const& cmdLine)
{
    ZKStringHashTable<Report>::Iterator position;
    return m_reports.get(cmdLine, position) ? &position.value() : nullptr;
}

_ZKExecJobSupervisor::Report& _ZKExecJobSupervisor::getOrCreateReport(String const& cmdLine)
{
    if (Report* const report = getReport(cmdLine))
        return *report;
    Report report;
    report.cmdLine = cmdLine;
    return m_reports.add(cmdLine, report);
}

void _ZKExecJobSupervisor::forgetJob(_ZKExecJob const* job)
{
    if (Report* const report = findByJob(job))
        std::erase(report->jobs, job);
}

void _ZKExecJobSupervisor::dropIdleReports()
{
    auto const isIdle = [](auto const& entry) { return entry.value().jobs.empty(); };
    unsigned int idle = 0;
    for (auto const& entry : m_reports)
        idle += isIdle(entry);
    for (auto position = m_reports.begin(); idle > MAX_IDLE_REPORTS;)
    {
        if (!isIdle(*position))
        {
            ++position;
            continue;
        }
        m_reports.erase(position);
        --idle;
    }
}
