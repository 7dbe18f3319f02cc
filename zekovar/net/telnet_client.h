#pragma once

#include "zekovar/diagnostics/monitor.h"
#include "zekovar/diagnostics/observer.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/net/telnet_log.h"
#include "zekovar/regex/regex.h"
#include "zekovar/threads/mutex.h"

namespace ZK
{
class TelnetClient;

/// What those who watch a telnet client are told, on the loop `IO` or on a thread that keeps it standing still, without
/// a lock of the client. They mustn't wait there for the client; `sendAsync` is fine.
class TelnetClientObserver
{
public:
    using Event = ObserverEvent<TelnetClient>;

    /// The first shell prompt was seen. Payload: what came before it (`String`).
    virtual void onConnected(Event&) {}

    /// The login was refused, or the program took no more data. Payload: why (`XCode`). The program is still running.
    virtual void onConnectionFailed(Event&) {}

    /// The program has ended. Payload: `XCODE_ERRNO` + ECONNABORTED if the client wanted it, else + ECONNRESET, with what
    /// the program wrote to standard error as text (`XCode`).
    virtual void onDisconnected(Event&) {}

    /// The prompt has followed what was sent. Payload: the output (`String`).
    virtual void onCommandDone(Event&) {}

    /// A piece of output has come, in any state. Payload: the piece (`String`).
    virtual void onDataReceived(Event&) {}

    /// The program has written to standard error. Payload: the piece (`String`).
    virtual void onErrorReceived(Event&) {}

protected:
    ~TelnetClientObserver() = default; // nobody deletes an observer through this interface
};

/// Logs in to another device and runs commands there by way of the system's `telnet` program, which the shell server
/// (`ZK::Shell`) runs on a pseudo-terminal.
///
/// The prompts for user, password and commands are regular expressions of `ZKRegEx`. A prompt counts if nothing but line
/// ends stands behind it. Without an expression for user or password that step is left out.
///
/// Safe from all threads. Calls with "Sync" in their name, and `waitForPrompt`, block, up to the time-out, and refuse
/// on a thread that is synchronised to the loop `IO`, without which nothing would come. A connection keeps the client:
/// disconnect before you drop it. After that it may connect again. The password is written to no log.
///
///     ZKPtr<ZK::TelnetClient> client(ZK::MovePtr<ZK::TelnetClient>(new ZK::TelnetClient("10.0.0.2", user, password)));
///     String out;
///     XCode code = client->connectSync();
///     if (code)
///         code = client->sendSync("show version\n", out);
///     client->disconnectSync();
class TelnetClient : public RefCounted
{
public:
    class Processor;

    using Observers = ObserverContainer<TelnetClient, TelnetClientObserver>;
    using Delegate = ObserverDelegate<TelnetClient, TelnetClientObserver>;

    static constexpr unsigned int DEFAULT_PORT = 23;
    static constexpr unsigned int DEFAULT_TIMEOUT_SECONDS = 20;

    static String const DEFAULT_USER_PROMPT;     ///< "login: $"
    static String const DEFAULT_PASSWORD_PROMPT; ///< "[pP]assword: $"
    static String const DEFAULT_PROMPT;          ///< "^>[\r]?$"

    /// @name Constructors
    /// Port 23 and the default prompts, unless they are given. Without a user nobody is logged in: no prompt for user or
    /// password is expected. Prompts that are given aren't checked before the connection. Lines go to `monitor`, if it
    /// isn't null, each with `logPrefix` in front; `name` is the thread that the line at creation tells, by default the
    /// current one.
    /// @{
    explicit TelnetClient(String const& host);
    TelnetClient(String const& host, String const& prompt);
    TelnetClient(String const& host, String const& user, String const& password);
    TelnetClient(String const& host, String const& user, String const& password, String const& prompt);
    TelnetClient(RTD::Monitor* monitor, String const& logPrefix, String const& host, String const& user,
                 String const& password);
    TelnetClient(String const& name, RTD::Monitor* monitor, String const& logPrefix, String const& host,
                 String const& user, String const& password);
    TelnetClient(String const& host, unsigned int port, String const& user, String const& password,
                 String const& userPrompt, String const& passwordPrompt, String const& prompt);
    TelnetClient(RTD::Monitor* monitor, String const& logPrefix, String const& host, unsigned int port,
                 String const& user, String const& password, String const& userPrompt, String const& passwordPrompt,
                 String const& prompt);
    TelnetClient(String const& name, RTD::Monitor* monitor, String const& logPrefix, String const& host,
                 unsigned int port, String const& user, String const& password, String const& userPrompt,
                 String const& passwordPrompt, String const& prompt);
    /// @}

    ~TelnetClient() override;

    /// Starts the program and returns; observers are told of the rest. Fails with "ALREADY CONNECTED TO %s:%u" unless
    /// disconnected, "INVALID USER PROMPT REGULAR EXPRESSION" (or "PASSWORD PROMPT", or "PROMPT"), or "CANNOT CONNECT TO
    /// HOST (%s:%u): " and why the program can't be started, as on a thread that is synchronised to the loop.
    XCode connectAsync();

    /// As `connectAsync`, and waits for the first shell prompt. On any failure, "FAILED TO CONNECT: " and why, it ends
    /// the connection, also one that was there before.
    XCode connectSync();

    /// As above; `out` and `err` get what the program has written before the prompt, as in `waitForPrompt`.
    XCode connectSync(String& out, String& err);

    /// Has the program ended, and doesn't wait for that. A success without a connection. On a thread that is synchronised
    /// to the loop the program can't be signalled: this fails with "FAILED TO CANCEL JOB: " and why, the client is
    /// disconnected, the program's terminal is hung up, and no observer is told of that.
    XCode disconnectAsync();

    /// As above, and waits for the program's end.
    XCode disconnectSync();

    /// Sends `data` as it stands, so a command ends in "\n". "CANNOT SEND DATA: PROMPT NOT READY" unless `isPromptReady`.
    /// More than a few kilobytes may have to wait until the host takes them, without a time-out. A failure to send
    /// disconnects.
    XCode sendAsync(String const& data);

    /// As above, and waits for the prompt. `out` and `err` get what the command has written, as in `waitForPrompt`.
    XCode sendSync(String const& data, String& out, String& err);
    XCode sendSync(String const& data, String& out);

    /// Waits until there is a shell prompt. With a refresh period "\n" is sent each time that it has passed in vain, and
    /// the call lasts a second longer then. The code of ETIMEDOUT after the time-out, and the client is disconnected;
    /// the result of a connection that failed or ended; "NOT CONNECTED" if there was none.
    XCode waitForPrompt();

    /// As above. Unless the call is refused or times out, `out` and `err` get what the program has written to standard
    /// output, without echo and prompt if these are removed, and to standard error.
    XCode waitForPrompt(String& out, String& err);

    /// Whether the login is done and the connection stands.
    bool isConnected() const;

    /// Whether there is no connection, not even one that is being made or ended.
    bool isDisconnected() const;

    /// Whether a command can be sent.
    bool isPromptReady() const;

    /// @name Settings for the next connection
    /// "CANNOT CHANGE %s WHILE A CONNECTION IS ONGOING" unless disconnected.
    /// @{
    XCode setHost(String const& host);
    XCode setPort(unsigned int port);
    XCode setUser(String const& user);
    XCode setPassword(String const& password);

    /// Whether the first line of a command's output, which is the command, is dropped. True by default. Where the prompt
    /// is dropped, too, and the command has written nothing, no line end is left, and the command stays.
    XCode setRemoveEcho(bool removeEcho);

    /// Whether the prompt behind a command's output is dropped, with the white space in front of it. True by default.
    XCode setRemovePrompt(bool removePrompt);

    /// Empty, or an expression that ends in "$"; otherwise "INVALID USER PROMPT REGEX: %s, MUST END WITH '$' OR MUST BE
    /// EMPTY", or "FAILED TO SET USER  PROMPT: INVALID REGULAR EXPRESSION: %s".
    XCode setUserPromptPattern(String const& expression);
    XCode setPasswordPromptPattern(String const& expression);

    /// The observer gets what the connections from now on tell, by ascending `priority`. "CANNOT ADD OBSERVER WHILE A
    /// CONNECTION IS ONGOING".
    XCode addObserver(Delegate* delegate, unsigned int priority);

    /// Takes back one `addObserver`. One that dies while there is a connection stops its delegate.
    XCode removeObserver(Delegate* delegate);
    /// @}

    /// An expression that ends in "$". During a connection it is for the rest of that one only, and "CANNOT SET PROMPT IN
    /// STATE %s" is the answer while the prompt is being waited for after the login.
    XCode setPromptPattern(String const& expression);

    /// Seconds that each wait may take; 20 by default. It counts from the next wait on.
    XCode setTimeout(unsigned int seconds);

    /// Seconds between tries to get a prompt by an empty line; 0, the default, for none.
    XCode setWaitPromptRefreshPeriod(unsigned int seconds);

private:
    using PatternPtr = ZKPtr<ZKRegEx::Pattern>;

    struct Settings
    {
        String threadName;
        String host;
        unsigned int port = DEFAULT_PORT;
        String user;
        String password;
        PatternPtr userPrompt; // null if the expression isn't valid
        PatternPtr passwordPrompt;
        PatternPtr prompt;
        unsigned int timeout = DEFAULT_TIMEOUT_SECONDS;
        unsigned int refreshPeriod = 0; // seconds
        bool removeEcho = true;
        bool removePrompt = true;
    };

    XCode startConnection();
    XCode stopConnection(bool wait);
    XCode checkSettings() const;
    ZKPtr<Processor> getProcessor() const;
    bool hasConnection() const;
    template <class T>
    XCode change(T& setting, T const& value, char const* name);
    XCode changePattern(PatternPtr& pattern, String const& expression, char const* name);
    String describePeer() const;
    void logSending(char const* manner, String const& data) const;

    Detail::TelnetLog const m_log;
    mutable ZKMutex m_lock; // guards the rest
    Settings m_settings;
    Observers m_observers;
    ZKPtr<Processor> m_processor; // the current connection, or the last one
};
}
