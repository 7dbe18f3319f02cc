#pragma once

#include "zekovar/events/sig.h"
#include "zekovar/files/active_file.h"
#include "zekovar/jobs/future_result.h"
#include "zekovar/process/shell_client.h"
#include "zekovar/threads/mutex.h"

#include <atomic>

namespace ZK
{
class CJobShell;

/// The run of a `ZK::CJobShell`: a connection to the shell server, the program's streams, and its result. The value is
/// what the program wrote to standard output while nobody observed it.
///
/// All that the program writes before its end is delivered before the future completes. The status is how the program
/// ended, `XCODE_EXIT` or `XCODE_SIGNAL` with a number, or success; the text is what it wrote to standard error. If the
/// connection is lost before, the future doesn't complete by itself, but `cancel` still ends it.
///
/// Observers run on the loop `IO`, or on a thread that keeps it standing still. Calls that wait for the server or the
/// program refuse on a thread that is synchronised to that loop. The last reference may go on any thread, also in an
/// observer; a program that still runs then is left running.
class CFutureShell : public CInherit<CFutureShell, CFutureResult<String>, IFutureStream>
{
public:
    explicit CFutureShell(IJob* job);

    /// What came while there was no observer is handed over before this returns. No observer of before runs from then on.
    void setStreamObserver(StreamType type, Function<void(String)> observer) override;

    /// Writes to the program's terminal, and waits until it has taken all. The code of EPIPE once the program has ended.
    /// On a thread that is synchronised to the loop it fails where it would have to wait, with a part written. The code of EBADF before the start.
    XCode sendData(String const& data) override;

    /// Has the server send `signal` to the program, whose end ends the future, in state `cancelled`. A run that hasn't
    /// started, or whose connection is lost, ends at once, as in the base. `XCODE_FAILURE` on a completed future.
    XCode cancel(int signal) override;

    /// Has the server send `signal` to the program. `XCODE_FAILURE` on a completed future.
    XCode signal(int signal) override;

    /// Refuses on a thread that is synchronised to the loop, unless the future has completed.
    XCode waitForCompletion() override;

    XCode execute() override;

    /// Ends the future, but not while it is being started or cancelled: then that ends it. Only the first call counts.
    void finished(XCode result);

    /// For the loop: a piece of the stream's output.
    void onStreamData(StreamType type, String text);

    /// For the loop: the program has ended.
    void onShellClientResultAvailable(Shell::Client* client, XCode result);

    /// From here to `leaveCancel` the result is kept back. Levels nest.
    void enterCancel();
    void leaveCancel();

    /// Keeps the loop out before any destructor runs.
    void callDtor() override;

private:
    static constexpr unsigned int STREAM_COUNT = 3; // by descriptor number

    String getTag();
    ZKPtr<CFutureShell> getSelfIfAlive();
    XCode startCommand(CJobShell const& job, XCode const& refusal);
    void activate();
    void connectStreams(unsigned int fdCount, int const* fds);
    void connectStream(StreamType type);
    void drainStream(StreamType type);
    void deactivate();
    bool exchangeUnlessActive(unsigned int index, Function<void(String)>& observer);
    XCode tryToCancel(int signal);
    XCode stopCommand(int signal);
    XCode waitForInput(int fd);
    void end(XCode result);

    Shell::Client m_client;

    /// Guarded by m_lock while the future isn't active, and by the loop's standstill while it is, as are the texts.
    Function<void(String)> m_streamObservers[STREAM_COUNT];
    String m_streamTexts[STREAM_COUNT]; // what came while there was no observer
    ZKLWPtr<ActiveFile> m_streams[STREAM_COUNT];
    Sig::ScopedConnection m_streamHooks[STREAM_COUNT];
    ZKMutex m_lock;            // guards the next five
    unsigned int m_cancelling; // levels of enterCancel
    bool m_isResultPending;
    XCode m_pendingResult;
    bool m_hasResult;
    bool m_isActive;     // something may come from the loop
    ZKMutex m_startLock; // held while the command is sent or cancelled; taken before the locks of the client
    bool m_isClaimed;    // guarded by m_startLock: the command was sent, or a cancel came before that
    std::atomic<bool> m_hasInput;
};
}
