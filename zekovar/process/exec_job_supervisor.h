#pragma once

#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/singleton.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex.h"

#include <vector>

class _ZKExecJob;

/// Keeps statistics of the programs that jobs have run, by command line. Safe from all threads.
///
/// At most `MAX_IDLE_REPORTS` reports of command lines without a job are kept; the oldest goes first.
///
///     _ZKExecJobSupervisor::Report report;
///     if (_ZKExecJobSupervisor::INSTANCE().getByCmdLine("ntpdate pool", report))
///         print(report.starts, report.failedEnds, report.lastFailure.toString());
class _ZKExecJobSupervisor : private ZKSingleton<_ZKExecJobSupervisor>
{
    friend class ZKSingleton<_ZKExecJobSupervisor>;

public:
    struct Report
    {
        String cmdLine;
        std::vector<_ZKExecJob*> jobs; ///< set up with this command line
        unsigned int starts = 0;
        unsigned int cleanEnds = 0;   ///< with exit status 0
        unsigned int stoppedEnds = 0; ///< by `stop`, whatever the result
        unsigned int failedEnds = 0;
        unsigned int maxRun = 0; ///< most runs of one job between its start and its end
        XCode lastFailure;
    };

    static constexpr unsigned int MAX_IDLE_REPORTS = 256;

    using ZKSingleton<_ZKExecJobSupervisor>::INSTANCE;

    /// The command and each argument, joined by single blanks.
    static String BUILD_CMD_LINE(_ZKExecJob& job);

    /// Enters a job in the report of its command line, and takes it out of the one that it was in.
    void addJob(_ZKExecJob* job);

    /// A job that isn't entered is ignored.
    void removeJob(_ZKExecJob* job);

    /// Copies the report that a job is entered in. `XCODE_FAILURE`, with `report` untouched, if there is none.
    XCode getByJob(_ZKExecJob* job, Report& report);

    /// As `getByJob`, by command line; also of jobs that are gone.
    XCode getByCmdLine(String const& cmdLine, Report& report);

    /// A job's thread calls this before each run; `run` counts from 1 at each start of the thread.
    void startExecuteJob(_ZKExecJob* job, unsigned int run);

    /// And this behind each run. `keepGoing` tells whether a job that respawns may; at present each may.
    void endExecuteJob(_ZKExecJob* job, unsigned int run, bool stopped, XCode code, bool& keepGoing);

private:
    _ZKExecJobSupervisor();

    Report* findByJob(_ZKExecJob const* job);
    Report* getReport(String const& cmdLine);
    Report& getOrCreateReport(String const& cmdLine);
    void forgetJob(_ZKExecJob const* job);
    void dropIdleReports();

    ZKMutex m_mutex; // guards m_reports
    ZKStringHashTable<Report> m_reports;
};
