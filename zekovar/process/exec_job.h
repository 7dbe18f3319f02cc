#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex_private.h"
#include "zekovar/threads/thread.h"

#include <atomic>
#include <memory>
#include <vector>

/// A thread of this process that runs a program on a pseudo-terminal of its own and reports what it writes.
///
/// | state   | entered by                                                           |
/// | ------- | -------------------------------------------------------------------- |
/// | idle    | construction, and the end of the thread, after the last `terminated` |
/// | running | `start`                                                              |
/// | ending  | `stop`, which lets the present run end and no other begin            |
///
/// `start`, `stop`, `signal` and `sendInput` are safe from every thread, the others are the owner's. A signal never goes
/// to a process that isn't this job's program: the program's id is forgotten, under the lock that sending takes, before
/// the system may give it to another process. The process must not ignore SIGCHLD, or ends can't be told.
///
/// The destructor asks a running program to end with SIGINT, kills it after a second, and waits for the thread. So it
/// isn't for the handler. A class that overrides `runThread` calls `cleanup` in its own destructor.
///
///     _ZKExecJob job("backup");
///     job.setup(&handler, "tar -cf /flash/backup.tar /flash/config", false);
///     if (XCode code = job.start(""); code.isErr()) return code;
class _ZKExecJob : public ZKThread
{
public:
    /// Hears of a job, on the job's thread and without a lock. It outlives the job's runs.
    class CallbackHandler
    {
    public:
        /// Output of the program as it came, or a step of the spinner; `length` is that of `text`.
        virtual void statusUpdate(_ZKExecJob* job, String const& text, int length) = 0;

        /// A run has ended; `text` is a line end. Success is an exit with 0. Failures on the way to the program tell
        /// about themselves in the code's text; a program that can't be executed is one that exits with 1.
        virtual void terminated(_ZKExecJob* job, String const& text, XCode code) = 0;

    protected:
        ~CallbackHandler() = default;
    };

    /// The thread's name is "Execute-Job:" and `name`.
    explicit _ZKExecJob(String const& name);

    ~_ZKExecJob() override;

    /// Says what the next runs are, also of a job that is running. `env` holds texts of the form "NAME=value"; with an
    /// empty one the program has this process's environment, otherwise just that, and isn't looked for through PATH.
    /// With `respawn` a program that has ended is started again at once, until `stop`. Always succeeds.
    XCode setup(CallbackHandler* handler, String const& cmd, std::vector<String> const& args,
                std::vector<String> const& env, bool respawn);
    XCode setup(CallbackHandler* handler, String const& cmd, std::vector<String> const& args, bool respawn);

    /// As above for a line that is split at blanks and tabs; double quotes keep text together. No shell looks at it.
    XCode setup(CallbackHandler* handler, String const& line, bool respawn);

    /// As `ZKThread::start`; `XCODE_FAILURE` also for a job whose thread has been started and hasn't ended.
    XCode start(String const& threadName) override;

    /// Ends the job with SIGINT; see below.
    void stop() override;

    /// Lets no run begin any more and sends `signal` to the program that runs, if there is one: once for each run, so
    /// that this is the last signal it gets from here. Blocks while a program is being started. Returns the code of the
    /// sending.
    XCode stop(int signal);

    /// Sends `signal` to the program; `XCODE_FAILURE` if none runs or it was stopped.
    XCode signal(int signal);

    /// Writes to the program's terminal, whose usual line discipline echoes it into the output. Blocks while the program
    /// doesn't read and its terminal is full. `XCODE_FAILURE` while no program runs.
    XCode sendInput(String const& text);

    /// @name Programs on the calling thread
    /// For `runThread` of derived classes: run a program on the calling thread and report its output, but not its end,
    /// to the handler of `setup`. With `quiet` standard output and error go to "/dev/null". With `progress` a spinner
    /// turns while the program writes nothing for a second and more. The code is the one that `terminated` gets; that
    /// of a job that isn't started or was stopped is `XCODE_FAILURE`, "CANCELED BEFORE EXECUTION".
    /// @{
    XCode executeCmd(String const& line, bool quiet, bool progress);
    XCode executeCmd(String const& cmd, std::vector<String>& args, bool quiet, bool progress);
    XCode executeCmd(String const& cmd, std::vector<String>& args, std::vector<String>& env, bool quiet, bool progress);
    /// @}

    /// Waits up to a second for something to read, or for the end of the input.
    bool isDataToRead(int fd) const;

    /// Ends the job as the destructor does and empties it for another `setup`. On the job's own thread it doesn't wait.
    void cleanup();

    /// The thread's body: runs the program once or, with respawn, until `stop`.
    XCode runThread() override;

    /// The exit status of the last program that exited by itself; 0 before.
    int getExitStatus() const { return m_exitStatus.load(std::memory_order_relaxed); }

private:
    friend class _ZKExecJobEvent;
    friend class _ZKExecJobSupervisor;

    /// A handler that may hold the job's thread back until what was reported is dealt with.
    class Relay : public CallbackHandler
    {
    public:
        virtual ~Relay() = default;

        /// From now on reports don't wait. Without the job's lock.
        virtual void stopWaiting() = 0;
    };

    /// Tells the job when its thread ends, whatever class overrides `runThread`.
    class Runner : public ZKRunnable
    {
    public:
        explicit Runner(_ZKExecJob& job) : m_job(job) {}

        XCode runThread() override;

    private:
        _ZKExecJob& m_job;
    };

    struct Program;
    struct Channels;

    std::shared_ptr<CallbackHandler> getHandler() const;
    bool isStopped() const;
    bool isRespawning() const;
    XCode executeStored();
    XCode attach(std::shared_ptr<Relay> const& relay);
    XCode openChannels(Channels& channels);
    XCode launch(Program const& program, Channels& channels, pid_t& pid);
    void reportOutput(int master, bool progress);
    XCode awaitEnd(pid_t pid);
    void endThread();
    bool endsWithin(int milliseconds) const;
    void abandon();

    CallbackHandler* m_callback;
    String m_command;
    std::vector<String> m_arguments;
    std::vector<String> m_environment;
    std::atomic<int> m_exitStatus;
    mutable ZKMutexPrivate m_lock; // guards all of the above and below but atomics; held while a program is started
    int m_pid;                     // where signals go: 0 without a program and once it was stopped
    int m_master;                  // of the pseudo-terminal, -1 when closed
    bool m_stopped;
    bool m_respawn;

    pid_t m_child;                  // 0 unless there is a program that isn't reaped
    std::shared_ptr<Relay> m_relay; // keeps what m_callback points to, if it is one
    std::atomic<bool> m_started;    // from start to the end of the thread
    std::atomic<bool> m_abandoned;  // nobody wants to hear of the program any more
    Runner m_runner;
};
