#pragma once

#include "zekovar/events/function.h"
#include "zekovar/events/sig.h"
#include "zekovar/foundation/list.h"
#include "zekovar/process/shell_socket.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/semaphore.h"

#include <atomic>

namespace ZK::Shell
{
/// A client of the shell server, for one command.
///
/// | state | meaning                                      | entered by                             |
/// | ----- | -------------------------------------------- | -------------------------------------- |
/// | 0     | nothing sent                                 | construction                           |
/// | 1     | the command runs                             | `sendCommand`                          |
/// | 2     | the command has ended                        | the server's message, from any state   |
/// | 3     | cancelled, and the end is still to come      | `sendCancel` in state 1                |
///
/// What the server answers arrives on the loop `IO`. The calls that send wait for it, one after the other, and so refuse
/// on a thread that is synchronised to that loop. Otherwise all calls are safe from every thread; `close` and the
/// destructor belong to the last user. They wait until the loop stands still, but the observer may make them too. A
/// derived class calls `close` first thing in its destructor.
///
/// Once the connection is lost, no end comes any more; `isLost` tells.
///
///     ZK::Shell::Client client;
///     client.registerResultObserver(ZK::bindArgs(&Runner::onEnd, &runner, _1, _2));
///     unsigned int fdCount = 0;
///     int fds[ZK::Shell::MAX_DESCRIPTORS];
///     XCode code = client.sendCommand(arguments, environment, fdCount, fds);
class Client : public Socket
{
public:
    enum State : int
    {
        NOTHING_SENT = 0,
        RUNNING = 1,
        TERMINATED = 2,
        CANCELLED = 3
    };

    /// An answer that nobody has taken yet, with its descriptors.
    struct MsgInfo
    {
        MsgBuffer message;
        unsigned int fdCount = 0;
        int fds[MAX_DESCRIPTORS] = {-1, -1, -1};
    };

    Client();

    /// Closes the socket and the descriptors that nobody has taken.
    ~Client() override;

    XCode close() override;

    /// As above, for a caller that keeps the loop out.
    XCode closeInStandstill();

    /// For a caller that keeps the loop out: whether there is still something to come.
    bool isObserved() const { return !m_hook.isDisconnected(); }

    /// Connects to the server, has it start a program, and waits until it has. An empty `env` gives the program the
    /// server's own environment. On success the caller gets `fdCount` descriptors: standard input, output and error of
    /// the program. On failure the client is closed, in state 0, and `fdCount` is 0.
    ///
    /// "COMMAND IN PROGRESS" in another state than 0; "TOO MANY ARGUMENTS" and "TOO MANY ENVIRONMENT VARIABLES" above 255;
    /// "COMMAND TOO LONG" if it doesn't fit into a message; "COULD NOT CONNECT TO SERVER %s"; "NO CONFIRMATION MESSAGE
    /// RECEIVED" if the connection was lost; and what the server refuses the command with. That the program couldn't be
    /// executed is no failure here, but the command's result.
    virtual XCode sendCommand(ZKVector<String> const& args, ZKStringHashTable<String> const& env, unsigned int& fdCount,
                              int* fds);

    /// As `sendSignal`, and the state becomes 3.
    virtual XCode sendCancel(int signal);

    /// Has the server signal the program, and waits until it has. A success without effect in another state than 1, also
    /// if the command ends meanwhile. What the server refuses it with, or "COULD NOT SEND CANCEL MESSAGE TO SERVER".
    virtual XCode sendSignal(int signal);

    /// Has `observer` called with this client and how the command ended, in place of the observer before.
    virtual void registerResultObserver(Function<void(Client*, XCode)> observer);

    /// For the loop: takes what the server has sent.
    virtual void onSocketReadyForReading();

    /// Opens and connects the socket.
    virtual XCode connect(String const& path);

    /// As below, for an answer whose descriptors aren't wanted.
    virtual XCode waitForConfirmation();

    /// Waits for the answer to a message, without limit, and takes its descriptors, at most `MAX_DESCRIPTORS`. The
    /// server's failure if it has refused; "NO CONFIRMATION MESSAGE RECEIVED" if none can come any more.
    virtual XCode waitForConfirmation(unsigned int& fdCount, int* fds);

    State getState() const { return m_state; }

    /// For calls that would wait for `loop`: a failure with `text` on a thread that is synchronised to it.
    static XCode REFUSE_ON_LOOP(ZKEventLoop const& loop, char const* text);

    /// Whether the connection went before the command's end.
    bool isLost() const { return m_isLost && m_state != TERMINATED; }

private:
    XCode refuseOnLoop(char const* text);
    XCode start(MsgBuffer const& message, unsigned int& fdCount, int* fds);
    void stopObserving();
    XCode signalAndWait(int signal);
    bool moveTo(State from, State to);
    void forgetAnswers();
    void onAnswer(MsgInfo const& answer);
    void onTerminated(MsgHdr const& message);
    void onReceiveFailure(XCode const& code);

    Sig::ScopedConnection m_hook;                    // guarded by the loop's standstill
    ZKList<MsgInfo> m_received;                      // guarded by m_lock
    ZKSemaphore m_semaphore;                         // counts m_received, and one more when nothing can come any more
    Function<void(Client*, XCode)> m_resultObserver; // guarded by m_lock
    std::atomic<State> m_state;                      // written under m_lock
    ZKMutex m_lock;
    ZKMutex m_requestLock;      // one message and its answer at a time; taken before m_lock
    std::atomic<bool> m_isLost; // written under m_lock
};
}
