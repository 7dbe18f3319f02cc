#pragma once

#include "zekovar/diagnostics/monitor_id.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex_private.h"

#include <atomic>
#include <csignal>

class String;

/// The call stack of a thread of this process, its own or another's.
///
/// Another thread's stack is read by that thread itself, in its handler for SIGUSR2. One backtrace is taken at a time
/// in the whole process. A record belongs to one thread at a time. The operations that end in `Locked` are for a caller
/// that holds the mutex of `Info`; all others take it.
///
///     ZKBacktrace backtrace(100);
///     if (thread.getBacktrace(backtrace, 0).isSuccess())
///         text += backtrace.printToString(true);
class ZKBacktrace
{
public:
    /// The request under way, and the handler of its signal.
    class Info;

    /// Room for `capacity` frames. More than 0x1FFFFFFF of them raise `std::bad_array_new_length`.
    explicit ZKBacktrace(unsigned int capacity);

    ZKBacktrace(ZKBacktrace const&) = delete;
    ZKBacktrace& operator=(ZKBacktrace const&) = delete;

    ~ZKBacktrace();

    /// Takes the caller's stack. Printing leaves out its top `skip` + 1 frames: 0 begins with this operation itself.
    XCode obtainBacktraceOfCurrentThread(unsigned int skip);
    XCode obtainBacktraceOfCurrentThreadLocked(unsigned int skip);

    /// Takes the stack of another thread, or of the caller, and blocks until that thread has filled it in: for ever if
    /// it is one that blocks SIGUSR2. Printing leaves out the top `skip` + 2 frames; a `skip` of 1 begins where the
    /// signal met the thread. `XCODE_FAILURE` for the id 0; the code of ESRCH for a `ZKThread` that has ended or ends
    /// meanwhile; else the code of a failing `pthread_kill`. After a failure the record is as it was. An id that no
    /// thread has and that isn't that of a `ZKThread` is the caller's fault.
    XCode obtainBacktraceOfThread(unsigned long threadId, unsigned int skip);
    XCode obtainBacktraceOfThreadLocked(unsigned long threadId, unsigned int skip);

    /// A line for each frame with its number, which counts down to 1, and the demangled symbol; before them, with
    /// `header`, a line with the thread's name and id, or with the caller's id if the library doesn't know the thread.
    String printToString(bool header) const;
    String printToStringLocked(bool header) const;

    /// As `printToString` with a header, but not demangled: one line of syslog each, at a syslog priority.
    void printToSyslog(int priority) const;
    void printToSyslogLocked(int priority) const;

    /// The lines of `printToSyslog` to the base monitor of an id, whose prompt they bear. A severity of 7 stands for the
    /// monitor's debug severity. Without that monitor they go to syslog with the same prompt.
    void printToRtd(RtdMonitorID monitor, int severity) const;
    void printToRtdLocked(RtdMonitorID monitor, int severity) const;

    /// Drops the frames.
    void clearBacktrace();
    void clearBacktraceLocked();

    /// Fills in the request under way if it is for the thread that the signal came to.
    static void HANDLE_BACKTRACE_SIGNAL(int signal, siginfo_t* info, void* context);

private:
    class Request;

    String headerLine() const;
    void resolveSymbols();

    unsigned int m_capacity;
    int m_count;
    void** m_frames;
    char** m_symbols;
    unsigned int m_skip;
    unsigned long m_threadId;
};

class ZKBacktrace::Info
{
public:
    /// Takes over SIGUSR2. Only the library makes one.
    Info();

    Info(Info const&) = delete;
    Info& operator=(Info const&) = delete;

    static Info& INSTANCE() { return s_instance; }

    /// Serialises all backtraces of the process. Taken before the mutex of `ZKThreadSupervisor`.
    ZKMutexPrivate& getMutex() { return m_mutex; }

private:
    friend class ZKBacktrace;

    static constexpr unsigned long NONE = 0;
    static constexpr unsigned long RUNNING = ~0ul;

    static Info s_instance;

    ZKMutexPrivate m_mutex;
    std::atomic<ZKBacktrace*> m_current;
    std::atomic<bool> m_done;
    std::atomic<unsigned long> m_target; // the thread that is asked; 0 for none, RUNNING once its handler has begun
};
