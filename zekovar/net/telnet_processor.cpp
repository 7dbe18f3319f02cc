#include "zekovar/net/telnet_processor.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/enum_info.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/net/telnet_text.h"
#include "zekovar/process/shell.h"
#include "zekovar/threads/auto_lock.h"

#include <algorithm>
#include <csignal>

using std::placeholders::_1;
using std::placeholders::_2;
using ZK::Detail::codeOfErrno;

namespace ZK
{
namespace
{
constexpr int DETAIL_LEVEL = 1;
constexpr int REFRESH_REPLY_MILLISECONDS = 1000; // until the replies to empty lines have passed

XCode failure(String const& text)
{
    XCode code(XCODE_FAILURE);
    code.setString(text);
    return code;
}

XCode refuseOnLoop(char const* what)
{
    if (!isCurrentThreadSynchronizedTo(IO::INSTANCE()))
        return XCODE_SUCCESS;
    return failure(String::stringOfFormat("CANNOT WAIT FOR %s WHILE SYNCHRONIZED ON IO EVENT LOOP", what));
}

/// Null for a step that is left out.
ZKPtr<ZKRegEx::Pattern> compileIfAny(ZKPtr<ZKRegEx::Pattern> const& pattern)
{
    if (!pattern || pattern->getExpression().isEmpty())
        return nullptr;
    return Detail::compilePrompt(pattern->getExpression());
}
}

// Expressions are compiled anew, because regular expressions don't go to other threads.
TelnetClient::Processor::Processor(TelnetClient& client, Detail::TelnetLog const& log)
    : RefCounted(nullptr),
      m_host(client.m_settings.host),
      m_port(client.m_settings.port),
      m_user(client.m_settings.user),
      m_password(client.m_settings.password),
      m_removeEcho(client.m_settings.removeEcho),
      m_removePrompt(client.m_settings.removePrompt),
      m_log(log, String::stringOfFormat("[Telnet-%p] ", static_cast<void*>(this))),
      m_client(&client),
      m_lock(Time::Source::MONOTONIC),
      m_userPrompt(compileIfAny(client.m_settings.userPrompt)),
      m_passwordPrompt(compileIfAny(client.m_settings.passwordPrompt)),
      m_prompt(Detail::compilePrompt(client.m_settings.prompt->getExpression())),
      m_timeout(client.m_settings.timeout),
      m_refreshPeriod(client.m_settings.refreshPeriod),
      m_isStarted(false),
      m_state(State::DISCONNECTED)
{
    Observers::RollCall const present(client.m_observers);
    auto const& entries = present.entries();
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) // among equals the last one comes first
        m_observers.addObserver(entry->delegate.getObj(), entry->wrapper->priority(), entry->wrapper->flag());
    m_log.debug(DETAIL_LEVEL, "Telnet Client Processor created: %s:%u", m_host.c_str(), m_port);
}

TelnetClient::Processor::~Processor()
{
    if (m_state != State::DISCONNECTED)
        m_log.error("BEING DESTROY WHILE STILL CONNECTED");
    else
        m_log.debug(DETAIL_LEVEL, "Telnet Client Processor destroyed: %s:%u", m_host.c_str(), m_port);
}

char const* TelnetClient::Processor::GET_STATE_NAME(State state)
{
    static constexpr char const* NAMES[] = {"Disconnected",      "Disconnecting",       "Connecting",
                                            "WaitingUserPrompt", "WaitingPasswdPrompt", "WaitingPrompt",
                                            "ConnectionError",   "PromptReady",         "SendingData"};
    return Detail::nameOfValue(NAMES, state);
}

void TelnetClient::Processor::prepare()
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    setState(State::CONNECTING);
}

XCode TelnetClient::Processor::connect()
{
    addRef(); // letGo gives it back
    XCode code = Shell::invoke(String::stringOfFormat("telnet %s %u", m_host.c_str(), m_port),
                               bindArgs(&Processor::onTelnetDisconnet, this, _1, _2),
                               bindArgs(&Processor::onDataReceived, this, _1),
                               bindArgs(&Processor::onErrorReceived, this, _1), m_future);
    bool isUnwanted = false;
    if (code.isErr())
        code.extendString(String::stringOfFormat("CANNOT CONNECT TO HOST (%s:%u)", m_host.c_str(), m_port), ": ");
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        m_isStarted = true;
        isUnwanted = m_state == State::DISCONNECTING;
        if (code.isErr())
            setDisconnectedState(code);
    }
    if (code.isErr())
        letGo();
    else if (isUnwanted)
        cancelProgram();
    return code;
}

XCode TelnetClient::Processor::disconnect(bool wait)
{
    bool cancels = false;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        if (m_state == State::DISCONNECTED)
            return XCODE_SUCCESS;
        if (m_state != State::DISCONNECTING)
        {
            m_log.debug(DETAIL_LEVEL, "Disconnecting...");
            setState(State::DISCONNECTING);
            cancels = m_isStarted; // otherwise connect() looks at the state
        }
    }
    XCode code;
    if (cancels)
        code = cancelProgram();
    if (!code || !wait || !isInState(State::DISCONNECTING))
        return code;
    code = waitForDisconnect();
    if (code.isErr())
    {
        code.extendString("WAIT FOR DISCONNECT FAILED", ": ");
        giveUp(code);
    }
    return code;
}

/// A program that has ended by itself meanwhile is no failure.
XCode TelnetClient::Processor::cancelProgram()
{
    Future<String> future;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        future = m_future;
    }
    if (!future)
        return XCODE_SUCCESS;
    XCode code = future->cancel(SIGTERM);
    if (code || future->hasCompleted())
        return XCODE_SUCCESS;
    code.extendString("FAILED TO CANCEL JOB", ": ");
    giveUp(code);
    letGo();
    return code;
}

void TelnetClient::Processor::giveUp(XCode const& code)
{
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        setState(State::DISCONNECTED);
    }
    m_log.error("DISCONNECTION FAILURE: %s", code.toString().c_str());
}

/// The program tells nothing any more. One that still runs loses its terminal with the future.
void TelnetClient::Processor::letGo()
{
    Detail::LoopStandstill const standstill(IO::INSTANCE());
    if (!m_client)
        return;
    ZKPtr<TelnetClient> const client = std::move(m_client);
    Future<String> future;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        std::swap(future, m_future);
    }
    future.setStreamObserver(StreamType::STANDARD_OUTPUT, Shell::StreamCallback(nullptr));
    future.setStreamObserver(StreamType::STANDARD_ERROR, Shell::StreamCallback(nullptr));
    future.setResultObserver(Shell::ResultCallback(nullptr));
    release();
}

XCode TelnetClient::Processor::send(String const& data, bool waitForClose)
{
    Future<String> future;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        if (m_state != State::PROMPT_READY)
            return failure(
                String::stringOfFormat("CANNOT SEND DATA IN STATE %s: PROMPT NOT READY", GET_STATE_NAME(m_state)));
        setState(State::SENDING_DATA);
        future = m_future;
    }
    XCode code = future.sendData(data); // this may wait until the program takes it
    if (code.isErr())
    {
        code.extendString(String("FAILED TO SEND DATA: ").concat(data), ": ");
        disconnect(waitForClose);
    }
    return code;
}

XCode TelnetClient::Processor::waitForPrompt(String& out, String& err)
{
    if (XCode code = refuseOnLoop("PROMPT"); code.isErr())
        return code;
    unsigned int refreshes = 0;
    XCode code = waitForAnswer(refreshes);
    if (code == codeOfErrno(ETIMEDOUT))
    {
        m_log.debug(DETAIL_LEVEL, "Waiting for prompt timeout !");
        disconnect(true);
    }
    if (code.isErr())
        return code;
    if (refreshes > 0)
        ZKThread::SLEEP(REFRESH_REPLY_MILLISECONDS);
    bool hasFailed = false;
    code = takeResult(out, err, hasFailed);
    if (hasFailed)
        disconnect(true);
    return code;
}

XCode TelnetClient::Processor::waitForAnswer(unsigned int& refreshes)
{
    unsigned int remaining = 0; // seconds, as all here
    unsigned int period = 0;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        remaining = m_timeout;
        period = m_refreshPeriod;
    }
    while (true)
    {
        unsigned int const slice = period > 0 ? std::min(period, remaining) : remaining;
        remaining -= slice;
        XCode code = waitForAnswerUpTo(slice);
        if (!(code == codeOfErrno(ETIMEDOUT)) || remaining == 0)
            return code;
        refresh();
        ++refreshes;
    }
}

XCode TelnetClient::Processor::waitForAnswerUpTo(unsigned int seconds)
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    return waitUntil(seconds, [this] { return hasAnswer(); });
}

void TelnetClient::Processor::refresh()
{
    m_log.error("Timeout in wait for prompt: send '\\n' to refresh the connection");
    Future<String> future;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        if (m_isStarted)
            future = m_future;
    }
    future.sendData("\n");
}

/// Waits, with the lock held, until `condition` holds.
template <class Condition>
XCode TelnetClient::Processor::waitUntil(unsigned int seconds, Condition condition)
{
    Time deadline = Time::NOW(Time::Source::MONOTONIC);
    deadline += 1000ULL * seconds;
    while (!condition())
    {
        XCode code = m_lock.waitUntil(deadline);
        if (code.isErr() && !condition())
            return code;
    }
    return XCODE_SUCCESS;
}

XCode TelnetClient::Processor::waitForDisconnect()
{
    if (XCode code = refuseOnLoop("DISCONNECT"); code.isErr())
        return code;
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    if (waitUntil(m_timeout, [this] { return m_state == State::DISCONNECTED; }))
        return XCODE_SUCCESS;
    return failure(String::stringOfFormat("INVALID STATE: %s", GET_STATE_NAME(m_state)));
}

bool TelnetClient::Processor::hasAnswer() const
{
    return m_state == State::DISCONNECTED || m_state == State::CONNECTION_ERROR || m_state == State::PROMPT_READY;
}

XCode TelnetClient::Processor::takeResult(String& out, String& err, bool& hasFailed) const
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    out = m_savedOutput;
    err = m_savedErrors;
    if (m_state == State::PROMPT_READY)
        return XCODE_SUCCESS;
    hasFailed = m_state == State::CONNECTION_ERROR;
    return m_result.isErr() ? m_result : XCode(XCODE_FAILURE);
}

bool TelnetClient::Processor::isConnected() const
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    return m_state == State::PROMPT_READY || m_state == State::SENDING_DATA;
}

bool TelnetClient::Processor::isInState(State state) const
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    return m_state == state;
}

XCode TelnetClient::Processor::setPromptPattern(String const& expression)
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    if (m_state == State::WAITING_PROMPT)
        return failure(String::stringOfFormat("CANNOT SET PROMPT IN STATE %s", GET_STATE_NAME(m_state)));
    m_prompt = Detail::compilePrompt(expression);
    return XCODE_SUCCESS;
}

void TelnetClient::Processor::setTimeout(unsigned int seconds)
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    m_timeout = seconds;
}

void TelnetClient::Processor::setWaitPromptRefreshPeriod(unsigned int seconds)
{
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    m_refreshPeriod = seconds;
}
}
