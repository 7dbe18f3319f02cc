#pragma once

#include "zekovar/events/event_dataqueue.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/process/exec_job_event.h"

#include <vector>

class ZKEventLoop;

/// Runs programs as jobs with names, whose reports arrive on an event loop.
///
/// A job is run once, also one that was set up to respawn. It belongs to the manager until it is taken back; when it
/// has ended, and the handler knows, it is destroyed and its name forgotten.
///
/// All operations are for the loop's thread, or for one that is synchronised to the loop. Handlers may call any of them
/// and may destroy the manager. An operation on a name that the manager doesn't know fails with `XCODE_FAILURE`.
///
///     _ZKExecJobManager manager(MGMT::INSTANCE(), EventPrio::LOW, &handler);
///     String jobName;
///     if (XCode code = manager.executeJob("/bin/ping", {"-c1", host}, jobName, ""); code.isErr()) return code;
class _ZKExecJobManager
{
public:
    /// `defaultHandler` may be null.
    _ZKExecJobManager(ZKEventLoop& loop, EventPrio::Type priority, _ZKExecJobEvent::CallbackHandler* defaultHandler);

    _ZKExecJobManager(_ZKExecJobManager const&) = delete;
    _ZKExecJobManager& operator=(_ZKExecJobManager const&) = delete;

    /// Stops and destroys all jobs that are still the manager's. Blocks as `cancelAndDestroyJob` does.
    ~_ZKExecJobManager();

    /// @name Execution
    /// `jobName` is set to the new job's name, "job_%p", which no other living job has. What the program writes also goes
    /// to the file `outputFile`, which is made or emptied, unless its name is empty. On failure there is no job, and
    /// `jobName` is unchanged; a `job` that was passed, which is of the caller's making by `new`, is still the caller's.
    ///
    /// A program that can't be executed isn't a failure here: the handler hears of it as of any other end.
    /// @{
    XCode executeJob(String const& cmd, std::vector<String> const& args, String& jobName, String const& outputFile);
    XCode executeJob(String const& cmd, std::vector<String> const& args, std::vector<String> const& env,
                     String& jobName, String const& outputFile);

    /// Runs what the job was set up for, with the manager's handler in place of its own. `XCODE_FAILURE` for null and
    /// for a job that runs.
    XCode executeJob(_ZKExecJob* job, String& jobName, String const& outputFile);

    /// The same with a handler in place of the default one; null for none.
    XCode executeJobWithUserProvidedHandler(String const& cmd, std::vector<String> const& args, String& jobName,
                                            String const& outputFile, _ZKExecJobEvent::CallbackHandler* handler);
    XCode executeJobWithUserProvidedHandler(String const& cmd, std::vector<String> const& args,
                                            std::vector<String> const& env, String& jobName, String const& outputFile,
                                            _ZKExecJobEvent::CallbackHandler* handler);
    XCode executeJobWithUserProvidedHandler(_ZKExecJob* job, String& jobName, String const& outputFile,
                                            _ZKExecJobEvent::CallbackHandler* handler);
    /// @}

    /// As `_ZKExecJob::sendInput` and `signal`.
    XCode sendInputToJob(String const& name, String const& text);
    XCode sendSignal(String const& name, int signal);

    /// Gives the job to the caller, who deletes it. One that is running goes on, and its reports go on to the handler
    /// until its end. `XCODE_FAILURE` also if it was taken back already.
    XCode getTheJobBack(String const& name, _ZKExecJob** job);

    /// The job, still the manager's. `XCODE_FAILURE` also if it was taken back.
    XCode getJobPtr(String const& name, _ZKExecJob** job);

    /// Stops the job with SIGINT and destroys it, and the handler doesn't hear of it any more. Blocks until the program
    /// has ended; one that takes longer than a second is killed. `XCODE_FAILURE`, with nothing done, also for a job that
    /// was taken back.
    XCode cancelAndDestroyJob(String const& name);

    /// As `cancelAndDestroyJob`, but a job that was taken back goes on, and just its reports end.
    XCode destroyJobEvent(String const& name);

    /// From the start of a job until its end is reported.
    bool isJobExecuting(String const& name);

    /// @name For the event objects
    /// @{

    /// Posts the name of a job that has ended.
    void reportEnd(String const& name);

    /// Destroys the event object, unless the name has gone to another job since it was posted.
    void onJobTerminated(String& name);
    /// @}

private:
    _ZKExecJobEvent* find(String const& name) const;
    _ZKExecJob* findJob(String const& name) const;
    void onEndedName(String name);

    ZKStringHashTable<_ZKExecJobEvent*> m_events;
    ZKEventDataqueue<_ZKExecJobManager, String> m_endedNames;
    ZKEventLoop& m_loop;
    EventPrio::Type m_priority;
    _ZKExecJobEvent::CallbackHandler* m_defaultHandler;
};
