#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <atomic>

struct option;

/// The frame of a daemon: takes over the process's signals and walks its command line.
///
/// A daemon derives one class, builds one object of it in `main`, calls `setup` on the complete object and starts its
/// own loops and threads. The object outlives them: it is destroyed on the way out of the process.
///
///     int main(int argc, char** argv)
///     {
///         Gateway gateway("hn:", longOptions);
///         gateway.setup(argc, argv);
///         return gateway.run();
///     }
///
/// Signals may arrive on any thread, so `onQuitSignal` and `handleException` may call only what is safe in a signal
/// handler.
class ZKExecutable
{
public:
    /// Both go to `getopt_long`, in whose form they are, and aren't copied. Touches no signal yet.
    ZKExecutable(char const* optionString, option* longOptions);

    ZKExecutable(ZKExecutable const&) = delete;
    ZKExecutable& operator=(ZKExecutable const&) = delete;

    /// Leaves the signal handlers in force: quit signals are dropped from here on, fatal ones end the process.
    virtual ~ZKExecutable();

    /// Installs an alternate signal stack for the calling thread and the handlers for the process, takes the last part
    /// of `argv[0]` as the name, and calls `parseArgument` exactly `argc` + 1 times. Always succeeds.
    ///
    /// SIGHUP, SIGQUIT, SIGTSTP, SIGINT, SIGTERM, SIGPIPE, SIGALRM, SIGUSR1, SIGTTIN, SIGTTOU, SIGIO, SIGPROF, SIGTRAP,
    /// SIGVTALRM, SIGXCPU, SIGXFSZ, SIGSTKFLT and SIGPWR go to `onQuitSignal`; SIGFPE, SIGILL, SIGSEGV, SIGBUS, SIGSYS
    /// and SIGABRT to `handleException`.
    virtual XCode setup(int argc, char** argv);

    /// For the daemon's own `main`; the library never calls it.
    virtual void subclassHookA() = 0;

    /// One step of `getopt_long`: what it returned, as a character, and its argument. Once the options are used up it
    /// gets 0xff for each step that is left; ignore that. The result is discarded.
    virtual XCode parseArgument(char option, String const& argument);

    /// Called in the signal handler, which is armed again by then. What a quit means is up to the daemon.
    virtual void onQuitSignal(int signalNumber) = 0;

    /// Called in the signal handler, before the signal ends the process. Anything but 0 means that the fault is dealt
    /// with: the handler returns, and the next such signal takes the default action.
    virtual int handleException(int signalNumber);

    /// For the daemon's own `main`; the library never calls it.
    virtual void subclassHookB() = 0;

    /// The last part of `argv[0]`; empty before `setup`.
    String const& getName() const { return m_name; }

    /// The arguments of `setup`, 0 and null before it. They aren't copied.
    int getArgc() const { return m_argc; }

    char** getArgv() const { return m_argv; }

    static void SIG_HANDLE_QUIT(int signalNumber);
    static void SIG_HANDLE_SEGV(int signalNumber);

private:
    void installSignalStack();
    static void INSTALL_SIGNAL_HANDLERS();

    static std::atomic<ZKExecutable*> m_spInstance; // whose `setup` ran last; null once that is destroyed

    char const* m_optionString;
    option* m_longOptions;
    String m_name;
    int m_argc = 0;
    char** m_argv = nullptr;
    void* m_signalStack = nullptr;
};
