// What a connection makes of its program's output.
#include "zekovar/foundation/system_code.h"
#include "zekovar/net/telnet_processor.h"
#include "zekovar/net/telnet_text.h"
#include "zekovar/process/text_growth.h"
#include "zekovar/threads/auto_lock.h"

#include <cerrno>

using ZK::Detail::codeOfErrno;

namespace ZK
{
namespace
{
constexpr int DETAIL_LEVEL = 1;
constexpr int DUMP_LEVEL = 5;
constexpr unsigned int DUMP_FLAGS = 7; // offset, hexadecimal and characters

XCode failure(int errorNumber, char const* text)
{
    XCode code = codeOfErrno(errorNumber);
    code.setString(text);
    return code;
}
}

void TelnetClient::Processor::onDataReceived(String const& chunk)
{
    ZKPtr<Processor> const self(this); // an observer may end the connection
    Progress progress;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        handleData(chunk, progress);
    }
    notifyObservers(chunk, progress);
}

void TelnetClient::Processor::handleData(String const& chunk, Progress& progress)
{
    if (m_state == State::CONNECTION_ERROR || m_state == State::PROMPT_READY)
        return ignoreData(chunk);
    Detail::appendGrowing(m_output, chunk);
    switch (m_state)
    {
    case State::CONNECTING:
        handleConnectingState(progress);
        break;
    case State::WAITING_USER_PROMPT:
        checkUserPrompt(progress);
        break;
    case State::WAITING_PASSWORD_PROMPT:
        checkPasswdPrompt(progress);
        break;
    case State::WAITING_PROMPT:
        progress.connected = checkPrompt(false, false, progress);
        break;
    case State::SENDING_DATA:
        progress.commandDone = checkPrompt(m_removeEcho, m_removePrompt, progress);
        break;
    default:
        ignoreData(chunk);
    }
}

void TelnetClient::Processor::ignoreData(String const& chunk) const
{
    if (m_log.passes(DUMP_LEVEL))
        m_log.debug(DUMP_LEVEL, "Data received in %s state ignored:\n%s", GET_STATE_NAME(m_state),
                    Detail::withoutSecret(chunk, m_password).toHexDump(DUMP_FLAGS).c_str());
}

void TelnetClient::Processor::dumpOutput(char const* title) const
{
    if (m_log.passes(DUMP_LEVEL))
        m_log.debug(DUMP_LEVEL, "%s\n%s", title,
                    Detail::withoutSecret(m_output, m_password).toHexDump(DUMP_FLAGS).c_str());
}

void TelnetClient::Processor::handleConnectingState(Progress& progress)
{
    if (m_userPrompt)
    {
        setState(State::WAITING_USER_PROMPT);
        checkUserPrompt(progress);
    }
    else if (m_passwordPrompt)
    {
        setState(State::WAITING_PASSWORD_PROMPT);
        checkPasswdPrompt(progress);
    }
    else
    {
        setState(State::WAITING_PROMPT);
        progress.connected = checkPrompt(false, false, progress);
    }
}

void TelnetClient::Processor::checkUserPrompt(Progress& progress)
{
    dumpOutput("Check User prompt:");
    if (!Detail::endsInPrompt(m_userPrompt, m_output))
        return;
    m_log.debug(DETAIL_LEVEL, "Send user name: %s", m_user.c_str());
    if (sendLogin(m_user, String("FAILED TO SEND USER NAME: ").concat(m_user), progress))
        setState(m_passwordPrompt ? State::WAITING_PASSWORD_PROMPT : State::WAITING_PROMPT);
}

void TelnetClient::Processor::checkPasswdPrompt(Progress& progress)
{
    dumpOutput("Check Password prompt:");
    if (!Detail::endsInPrompt(m_passwordPrompt, m_output))
        return;
    m_log.debug(DETAIL_LEVEL, "Send password: ***");
    if (sendLogin(m_password, "FAILED TO SEND PASSWORD", progress))
        setState(State::WAITING_PROMPT);
}

/// Sends a line.
bool TelnetClient::Processor::sendLogin(String const& text, String const& failureText, Progress& progress)
{
    XCode code = m_future.sendData(String(text).concat("\n"));
    if (code)
        return true;
    code.extendString(failureText, ": ");
    fail(code, progress);
    return false;
}

bool TelnetClient::Processor::checkPrompt(bool removeEcho, bool removePrompt, Progress& progress)
{
    dumpOutput("Check prompt:");
    if (Detail::endsInPrompt(m_userPrompt, m_output))
    {
        fail(failure(ECONNREFUSED, "WRONG CREDENTIALS"), progress);
        return false;
    }
    ZKPtr<ZKRegEx::Matcher> const matcher =
        m_prompt ? m_prompt->createMatcher(m_output, RE_FLAG_MULTILINE) : ZKPtr<ZKRegEx::Matcher>();
    if (!matcher)
    {
        fail(failure(ECONNABORTED, "FAILED TO CREATE MATCHER"), progress);
        return false;
    }
    if (!matcher->match())
        return false;
    if (removePrompt)
        cutPrompt(*matcher);
    if (removeEcho)
        cutEcho();
    setPromptReadyState();
    progress.output = m_savedOutput;
    return true;
}

void TelnetClient::Processor::cutPrompt(ZKRegEx::Matcher const& matcher)
{
    int start = 0;
    int end = 0;
    matcher.getCapture(0, start, end);
    m_log.debug(DETAIL_LEVEL, "remove prompt buff-len=%u, prompt-pos=%u", static_cast<unsigned int>(m_output.length()),
                static_cast<unsigned int>(start));
    Detail::removePrompt(m_output, start);
}

void TelnetClient::Processor::cutEcho()
{
    auto const length = static_cast<unsigned int>(m_output.length());
    auto const echo = static_cast<unsigned int>(Detail::removeEcho(m_output));
    m_log.debug(DETAIL_LEVEL, "remove echo buff-len=%u, echo-len=%u", length, echo);
}

void TelnetClient::Processor::fail(XCode const& code, Progress& progress)
{
    handleConnectionError(code);
    progress.failed = true;
    progress.result = code;
}

void TelnetClient::Processor::setState(State state)
{
    m_log.debug(DETAIL_LEVEL, "State changed from %s to %s", GET_STATE_NAME(m_state), GET_STATE_NAME(state));
    m_state = state;
    m_lock.broadcast();
}

void TelnetClient::Processor::setPromptReadyState()
{
    saveAndClearTexts();
    setState(State::PROMPT_READY);
}

void TelnetClient::Processor::handleConnectionError(XCode const& code)
{
    m_result = code;
    saveAndClearTexts();
    setState(State::CONNECTION_ERROR);
}

void TelnetClient::Processor::setDisconnectedState(XCode const& code)
{
    if (m_state != State::CONNECTION_ERROR) // whose reason isn't lost on those who haven't asked for it yet
    {
        m_result = code;
        m_savedOutput = m_output;
        m_savedErrors = m_errors;
    }
    setState(State::DISCONNECTED);
}

void TelnetClient::Processor::saveAndClearTexts()
{
    m_savedOutput = std::exchange(m_output, String());
    m_savedErrors = std::exchange(m_errors, String());
}

void TelnetClient::Processor::onErrorReceived(String const& chunk)
{
    ZKPtr<Processor> const self(this);
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        m_log.debug(DETAIL_LEVEL, "On Error received: state=%s stdErr=%s", GET_STATE_NAME(m_state),
                    Detail::withoutSecret(chunk, m_password).c_str());
    }
    broadcast(m_client, &TelnetClientObserver::onErrorReceived, chunk);
    ZKAutoLock<ConditionalExpression> const guard(m_lock);
    if (m_state != State::PROMPT_READY)
        Detail::appendGrowing(m_errors, chunk);
}

/// The program's own result is dropped. `text` is what it wrote before there was an observer, often nothing.
void TelnetClient::Processor::onTelnetDisconnet(XCode const&, String const& text)
{
    XCode code;
    {
        ZKAutoLock<ConditionalExpression> const guard(m_lock);
        bool const isWanted = m_state == State::DISCONNECTING;
        code = codeOfErrno(isWanted ? ECONNABORTED : ECONNRESET);
        m_log.debug(DETAIL_LEVEL, "Disconnected event triggered by %s", isWanted ? "client" : "server");
        if (String const& reason = m_errors.isEmpty() ? text : m_errors; !reason.isEmpty())
            code.setString(reason);
        setDisconnectedState(code);
    }
    broadcast(m_client, &TelnetClientObserver::onDisconnected, code);
    letGo();
}

void TelnetClient::Processor::notifyObservers(String const& chunk, Progress const& progress)
{
    ZKPtr<TelnetClient> const client = m_client;
    broadcast(client, &TelnetClientObserver::onDataReceived, chunk);
    if (progress.connected)
        broadcast(client, &TelnetClientObserver::onConnected, progress.output);
    if (progress.commandDone)
        broadcast(client, &TelnetClientObserver::onCommandDone, progress.output);
    if (progress.failed)
        broadcast(client, &TelnetClientObserver::onConnectionFailed, progress.result);
}

template <class T>
void TelnetClient::Processor::broadcast(ZKPtr<TelnetClient> const& client,
                                        void (TelnetClientObserver::*operation)(Observers::Event&), T const& payload)
{
    Observers::Event event{ZKPPtr<TelnetClient>(client)};
    event.getMarshaller().marshal(payload);
    m_observers.broadcastEvent(event, operation);
}
}
