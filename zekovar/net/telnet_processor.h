#pragma once

#include "zekovar/jobs/future_handle.h"
#include "zekovar/net/telnet_client.h"
#include "zekovar/net/telnet_log.h"
#include "zekovar/threads/conditional_expression.h"

namespace ZK
{
/// One connection of a telnet client, with copies of its settings: the running program and what it has written. Only the
/// client makes one.
///
/// | From | Event | To |
/// | --- | --- | --- |
/// | disconnected | `prepare` | connecting |
/// | connecting | first output | waiting for the prompt for user or password, or for the shell prompt |
/// | waiting for user prompt | seen, and user sent | waiting for password prompt, or for the shell prompt |
/// | waiting for password prompt | seen, and password sent | waiting for the shell prompt |
/// | waiting for shell prompt, sending | seen | prompt ready |
/// | waiting for shell prompt, sending | user prompt seen again | error |
/// | prompt ready | `send` | sending |
/// | waiting, sending | a send failed | error |
/// | any | `disconnect` | disconnecting |
/// | any | the program has ended | disconnected |
/// | disconnecting | the end can't be had in time | disconnected |
///
/// Safe from all threads. The program's output and end are handled on the loop `IO`, or on a thread that keeps it
/// standing still, while other threads wait. From `connect` on the program holds a reference on the connection, and the
/// connection one on its client, until the program has ended.
class TelnetClient::Processor : public RefCounted
{
public:
    enum class State
    {
        DISCONNECTED = 0,
        DISCONNECTING = 1,
        CONNECTING = 2,
        WAITING_USER_PROMPT = 3,
        WAITING_PASSWORD_PROMPT = 4,
        WAITING_PROMPT = 5,
        CONNECTION_ERROR = 6,
        PROMPT_READY = 7,
        SENDING_DATA = 8
    };

    /// "Disconnected", "Disconnecting", "Connecting", "WaitingUserPrompt", "WaitingPasswdPrompt", "WaitingPrompt",
    /// "ConnectionError", "PromptReady" or "SendingData".
    static char const* GET_STATE_NAME(State state);

    /// `client` owns a reference on itself; its settings and observers are copied, so its lock is held.
    Processor(TelnetClient& client, Detail::TelnetLog const& log);

    ~Processor() override;

    /// From here to its end this is a connection.
    void prepare();

    /// Starts the program, once, after `prepare`. "CANNOT CONNECT TO HOST (%s:%u): " and why.
    XCode connect();

    /// Has the program ended, and waits for that. Whoever comes second only waits. The failure is logged and leaves the
    /// connection disconnected.
    XCode disconnect(bool wait);

    /// As `TelnetClient::sendAsync`; a failure to send disconnects and waits for that if `waitForClose` is set.
    XCode send(String const& data, bool waitForClose);

    /// As `TelnetClient::waitForPrompt`.
    XCode waitForPrompt(String& out, String& err);

    bool isConnected() const;

    bool isDisconnected() const { return isInState(State::DISCONNECTED); }

    bool isPromptReady() const { return isInState(State::PROMPT_READY); }

    /// A valid expression; refused in state "WaitingPrompt".
    XCode setPromptPattern(String const& expression);
    void setTimeout(unsigned int seconds);
    void setWaitPromptRefreshPeriod(unsigned int seconds);

    /// For the program, in the loop's place: a piece of standard output, or error, and the end.
    void onDataReceived(String const& chunk);
    void onErrorReceived(String const& chunk);
    void onTelnetDisconnet(XCode const& result, String const& text);

private:
    /// What came of a piece of output, for the observers.
    struct Progress
    {
        bool connected = false;
        bool commandDone = false;
        bool failed = false;
        String output; // of a prompt that was seen
        XCode result;  // of a failure
    };

    bool isInState(State state) const;

    // with m_lock held
    void setState(State state);
    void handleData(String const& chunk, Progress& progress);
    void handleConnectingState(Progress& progress);
    void checkUserPrompt(Progress& progress);
    void checkPasswdPrompt(Progress& progress);
    bool checkPrompt(bool removeEcho, bool removePrompt, Progress& progress);
    void cutPrompt(ZKRegEx::Matcher const& matcher);
    void cutEcho();
    bool sendLogin(String const& text, String const& failureText, Progress& progress);
    void fail(XCode const& code, Progress& progress);
    void setPromptReadyState();
    void handleConnectionError(XCode const& code);
    void setDisconnectedState(XCode const& code);
    void saveAndClearTexts();
    void dumpOutput(char const* title) const;
    void ignoreData(String const& chunk) const;
    template <class Condition>
    XCode waitUntil(unsigned int seconds, Condition condition);
    bool hasAnswer() const;

    // without it
    XCode cancelProgram();
    XCode waitForDisconnect();
    XCode waitForAnswer(unsigned int& refreshes);
    XCode waitForAnswerUpTo(unsigned int seconds);
    void refresh();
    XCode takeResult(String& out, String& err, bool& hasFailed) const;
    void giveUp(XCode const& code);
    void notifyObservers(String const& chunk, Progress const& progress);
    template <class T>
    void broadcast(ZKPtr<TelnetClient> const& client, void (TelnetClientObserver::*operation)(Observers::Event&),
                   T const& payload);
    void letGo();

    String const m_host;
    unsigned int const m_port;
    String const m_user;
    String const m_password;
    bool const m_removeEcho;
    bool const m_removePrompt;
    Detail::TelnetLog const m_log;
    ZKPtr<TelnetClient> m_client; // until letGo; it and the observers are used in the loop's place
    Observers m_observers;
    mutable ConditionalExpression m_lock; // guards the rest; never held while a function of others is called
    PatternPtr m_userPrompt;              // null if nobody asks for it
    PatternPtr m_passwordPrompt;
    PatternPtr m_prompt;
    unsigned int m_timeout;       // seconds
    unsigned int m_refreshPeriod; // seconds, 0 for none
    String m_output;              // since the connection or the last prompt
    String m_errors;
    XCode m_result;
    String m_savedOutput;
    String m_savedErrors;
    Future<String> m_future; // written before the first output and before m_isStarted; dropped at the end
    bool m_isStarted;        // connect() is through, so any thread may use m_future
    State m_state;
};
}
