#include "zekovar/net/telnet_client.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/net/telnet_processor.h"
#include "zekovar/net/telnet_text.h"
#include "zekovar/threads/auto_lock.h"

#include <cstdarg>

namespace ZK
{
namespace
{
constexpr int DETAIL_LEVEL = 1; // of all debug lines here

__attribute__((format(printf, 1, 2))) XCode failure(char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    XCode code(XCODE_FAILURE);
    code.setString(String().vformat(format, arguments));
    va_end(arguments);
    return code;
}

XCode refuseOnLoop(char const* action)
{
    if (!isCurrentThreadSynchronizedTo(IO::INSTANCE()))
        return XCODE_SUCCESS;
    return failure("CANNOT %s SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP", action);
}

/// Null if the expression isn't valid, or not in the form that connections use.
ZKPtr<ZKRegEx::Pattern> compile(String const& expression)
{
    ZKPtr<ZKRegEx::Pattern> pattern = ZKRegEx::COMPILE_EXPRESSION(expression);
    return pattern && Detail::compilePrompt(expression) ? pattern : ZKPtr<ZKRegEx::Pattern>();
}

String promptFor(String const& user, String const& prompt)
{
    return user.isEmpty() ? String() : prompt;
}
}

TelnetClient::TelnetClient(String const& host) : TelnetClient(host, DEFAULT_PROMPT)
{
}

TelnetClient::TelnetClient(String const& host, String const& prompt) : TelnetClient(host, String(), String(), prompt)
{
}

TelnetClient::TelnetClient(String const& host, String const& user, String const& password)
    : TelnetClient(host, user, password, DEFAULT_PROMPT)
{
}

TelnetClient::TelnetClient(String const& host, String const& user, String const& password, String const& prompt)
    : TelnetClient(host, DEFAULT_PORT, user, password, promptFor(user, DEFAULT_USER_PROMPT),
                   promptFor(user, DEFAULT_PASSWORD_PROMPT), prompt)
{
}

TelnetClient::TelnetClient(RTD::Monitor* monitor, String const& logPrefix, String const& host, String const& user,
                           String const& password)
    : TelnetClient(ZKThread::CURRENT_NAME(), monitor, logPrefix, host, user, password)
{
}

TelnetClient::TelnetClient(String const& name, RTD::Monitor* monitor, String const& logPrefix, String const& host,
                           String const& user, String const& password)
    : TelnetClient(name, monitor, logPrefix, host, DEFAULT_PORT, user, password, promptFor(user, DEFAULT_USER_PROMPT),
                   promptFor(user, DEFAULT_PASSWORD_PROMPT), DEFAULT_PROMPT)
{
}

TelnetClient::TelnetClient(String const& host, unsigned int port, String const& user, String const& password,
                           String const& userPrompt, String const& passwordPrompt, String const& prompt)
    : TelnetClient(nullptr, String(), host, port, user, password, userPrompt, passwordPrompt, prompt)
{
}

TelnetClient::TelnetClient(RTD::Monitor* monitor, String const& logPrefix, String const& host, unsigned int port,
                           String const& user, String const& password, String const& userPrompt,
                           String const& passwordPrompt, String const& prompt)
    : TelnetClient(ZKThread::CURRENT_NAME(), monitor, logPrefix, host, port, user, password, userPrompt, passwordPrompt,
                   prompt)
{
}

TelnetClient::TelnetClient(String const& name, RTD::Monitor* monitor, String const& logPrefix, String const& host,
                           unsigned int port, String const& user, String const& password, String const& userPrompt,
                           String const& passwordPrompt, String const& prompt)
    : RefCounted(nullptr), m_log(monitor, logPrefix), m_lock(false)
{
    m_settings.threadName = name;
    m_settings.host = host;
    m_settings.port = port;
    m_settings.user = user;
    m_settings.password = password;
    m_settings.userPrompt = compile(userPrompt);
    m_settings.passwordPrompt = compile(passwordPrompt);
    m_settings.prompt = compile(prompt);
    m_log.debug(DETAIL_LEVEL, "Telnet Client created: run in thread %s", name.c_str());
}

TelnetClient::~TelnetClient()
{
    m_log.debug(DETAIL_LEVEL, "Telnet Client destroyed: %s", m_settings.host.c_str());
}

XCode TelnetClient::connectAsync()
{
    m_log.debug(DETAIL_LEVEL, "Start Asynchronous connection to host %s", describePeer().c_str());
    return startConnection();
}

XCode TelnetClient::connectSync()
{
    String out, err;
    return connectSync(out, err);
}

XCode TelnetClient::connectSync(String& out, String& err)
{
    if (XCode code = refuseOnLoop("CONNECT"); code.isErr())
        return code;
    m_log.debug(DETAIL_LEVEL, "Start Synchronous connection to host %s", describePeer().c_str());
    XCode code = startConnection();
    if (code)
        code = waitForPrompt(out, err);
    if (code.isErr())
    {
        code.extendString("FAILED TO CONNECT", ": ");
        stopConnection(false);
    }
    return code;
}

XCode TelnetClient::disconnectAsync()
{
    return stopConnection(false);
}

XCode TelnetClient::disconnectSync()
{
    XCode code = refuseOnLoop("DISCONNECT");
    return code ? stopConnection(true) : code;
}

XCode TelnetClient::sendAsync(String const& data)
{
    ZKPtr<Processor> const processor = getProcessor();
    if (!processor || !processor->isPromptReady())
        return failure("CANNOT SEND DATA: PROMPT NOT READY");
    logSending("Asynchronous", data);
    return processor->send(data, false);
}

XCode TelnetClient::sendSync(String const& data, String& out, String& err)
{
    if (XCode code = refuseOnLoop("SEND"); code.isErr())
        return code;
    ZKPtr<Processor> const processor = getProcessor();
    if (!processor || !processor->isPromptReady())
        return failure("CANNOT SEND DATA: PROMPT NOT READY");
    logSending("Synchronous", data);
    XCode code = processor->send(data, true);
    return code ? processor->waitForPrompt(out, err) : code;
}

XCode TelnetClient::sendSync(String const& data, String& out)
{
    String err;
    return sendSync(data, out, err);
}

XCode TelnetClient::waitForPrompt()
{
    String out, err;
    return waitForPrompt(out, err);
}

XCode TelnetClient::waitForPrompt(String& out, String& err)
{
    ZKPtr<Processor> const processor = getProcessor();
    return processor ? processor->waitForPrompt(out, err) : failure("NOT CONNECTED");
}

bool TelnetClient::isConnected() const
{
    ZKPtr<Processor> const processor = getProcessor();
    return processor && processor->isConnected();
}

bool TelnetClient::isDisconnected() const
{
    ZKPtr<Processor> const processor = getProcessor();
    return !processor || processor->isDisconnected();
}

bool TelnetClient::isPromptReady() const
{
    ZKPtr<Processor> const processor = getProcessor();
    return processor && processor->isPromptReady();
}

XCode TelnetClient::startConnection()
{
    ZKPtr<Processor> processor, previous; // which goes without the lock
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        if (XCode code = checkSettings(); code.isErr())
            return code;
        processor = MovePtr<Processor>(new Processor(*this, m_log));
        processor->prepare();
        previous = std::exchange(m_processor, processor);
    }
    return processor->connect();
}

/// The lock is held.
XCode TelnetClient::checkSettings() const
{
    if (hasConnection())
        return failure("ALREADY CONNECTED TO %s:%u", m_settings.host.c_str(), m_settings.port);
    if (!m_settings.userPrompt)
        return failure("INVALID USER PROMPT REGULAR EXPRESSION");
    if (!m_settings.passwordPrompt)
        return failure("INVALID PASSWORD PROMPT REGULAR EXPRESSION");
    if (!m_settings.prompt)
        return failure("INVALID PROMPT REGULAR EXPRESSION");
    return XCODE_SUCCESS;
}

XCode TelnetClient::stopConnection(bool wait)
{
    ZKPtr<Processor> const processor = getProcessor();
    return processor ? processor->disconnect(wait) : XCode(XCODE_SUCCESS);
}

ZKPtr<TelnetClient::Processor> TelnetClient::getProcessor() const
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    return m_processor;
}

/// The lock is held.
bool TelnetClient::hasConnection() const
{
    return m_processor && !m_processor->isDisconnected();
}

String TelnetClient::describePeer() const
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    return String::stringOfFormat("%s:%u", m_settings.host.c_str(), m_settings.port);
}

void TelnetClient::logSending(char const* manner, String const& data) const
{
    if (!m_log.passes(DETAIL_LEVEL))
        return;
    String shown;
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        shown = Detail::withoutSecret(data, m_settings.password);
    }
    m_log.debug(DETAIL_LEVEL, "Send %s data to host %s: data=%s", manner, describePeer().c_str(), shown.c_str());
}

template <class T>
XCode TelnetClient::change(T& setting, T const& value, char const* name)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    if (hasConnection())
        return failure("CANNOT CHANGE %s WHILE A CONNECTION IS ONGOING", name);
    setting = value;
    return XCODE_SUCCESS;
}

XCode TelnetClient::setHost(String const& host)
{
    return change(m_settings.host, host, "HOST");
}

XCode TelnetClient::setPort(unsigned int port)
{
    return change(m_settings.port, port, "PORT");
}

XCode TelnetClient::setUser(String const& user)
{
    return change(m_settings.user, user, "USER");
}

XCode TelnetClient::setPassword(String const& password)
{
    return change(m_settings.password, password, "PASSWORD");
}

XCode TelnetClient::setRemoveEcho(bool removeEcho)
{
    return change(m_settings.removeEcho, removeEcho, "REMOVE ECHO");
}

XCode TelnetClient::setRemovePrompt(bool removePrompt)
{
    return change(m_settings.removePrompt, removePrompt, "REMOVE PROMPT");
}

/// `name` is that of the prompt.
XCode TelnetClient::changePattern(PatternPtr& pattern, String const& expression, char const* name)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    if (hasConnection())
        return failure("CANNOT CHANGE %s PROMPT PATTERN WHILE A CONNECTION IS ONGOING", name);
    if (!expression.isEmpty() && !expression.endsWith("$"))
        return failure("INVALID %s PROMPT REGEX: %s, MUST END WITH '$' OR MUST BE EMPTY", name, expression.c_str());
    PatternPtr compiled = compile(expression);
    if (!compiled)
        return failure("FAILED TO SET %s  PROMPT: INVALID REGULAR EXPRESSION: %s", name, expression.c_str());
    pattern = std::move(compiled);
    return XCODE_SUCCESS;
}

XCode TelnetClient::setUserPromptPattern(String const& expression)
{
    return changePattern(m_settings.userPrompt, expression, "USER");
}

XCode TelnetClient::setPasswordPromptPattern(String const& expression)
{
    return changePattern(m_settings.passwordPrompt, expression, "PASSWORD");
}

XCode TelnetClient::setPromptPattern(String const& expression)
{
    if (!expression.endsWith("$"))
        return failure("INVALID PROMPT REGEX: %s, MUST END WITH '$'", expression.c_str());
    PatternPtr compiled = compile(expression);
    if (!compiled)
        return failure("FAILED TO SET  PROMPT: INVALID REGULAR EXPRESSION: %s", expression.c_str());
    ZKPtr<Processor> processor;
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        if (!hasConnection())
        {
            m_settings.prompt = std::move(compiled);
            return XCODE_SUCCESS;
        }
        processor = m_processor;
    }
    return processor->setPromptPattern(expression);
}

XCode TelnetClient::setTimeout(unsigned int seconds)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    m_settings.timeout = seconds;
    if (m_processor)
        m_processor->setTimeout(seconds);
    return XCODE_SUCCESS;
}

XCode TelnetClient::setWaitPromptRefreshPeriod(unsigned int seconds)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    m_settings.refreshPeriod = seconds;
    if (m_processor)
        m_processor->setWaitPromptRefreshPeriod(seconds);
    return XCODE_SUCCESS;
}

XCode TelnetClient::addObserver(Delegate* delegate, unsigned int priority)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    if (hasConnection())
        return failure("CANNOT ADD OBSERVER WHILE A CONNECTION IS ONGOING");
    m_observers.addObserver(delegate, priority, false);
    return XCODE_SUCCESS;
}

XCode TelnetClient::removeObserver(Delegate* delegate)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    if (hasConnection())
        return failure("CANNOT REMOVE OBSERVER WHILE A CONNECTION IS ONGOING");
    m_observers.removeObserver(delegate);
    return XCODE_SUCCESS;
}
}
