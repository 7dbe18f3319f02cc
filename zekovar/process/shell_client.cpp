#include "zekovar/process/shell_client.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/events/loop_standstill.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;
using ZK::Detail::withContext;
using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
constexpr unsigned int MAX_STRINGS = 255;
constexpr int MAX_COUNT = 0x7FFFFFFF;

XCode failure(char const* text)
{
    return withText(XCODE_FAILURE, text);
}
}

Client::Client()
    : m_semaphore(0, MAX_COUNT, Time::Source::REALTIME),
      m_state(NOTHING_SENT),
      m_lock(false),
      m_requestLock(false),
      m_isLost(false)
{
}

Client::~Client()
{
    if (file().isOpen())
        Client::close();
    forgetAnswers();
}

XCode Client::close()
{
    Detail::LoopStandstill const standstill(file().getEventLoop());
    return closeInStandstill();
}

XCode Client::closeInStandstill()
{
    m_hook.disconnect();
    return Socket::close();
}

XCode Client::REFUSE_ON_LOOP(ZKEventLoop const& loop, char const* text)
{
    return isCurrentThreadSynchronizedTo(loop) ? failure(text) : XCode(XCODE_SUCCESS);
}

XCode Client::refuseOnLoop(char const* text)
{
    return REFUSE_ON_LOOP(file().getEventLoop(), text);
}

XCode Client::sendCommand(ZKVector<String> const& args, ZKStringHashTable<String> const& env, unsigned int& fdCount,
                          int* fds)
{
    fdCount = 0;
    if (XCode code = refuseOnLoop("CANNOT EXECUTE SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP"); code.isErr())
        return code;
    ZKAutoLock<ZKMutex> const request(m_requestLock);
    if (m_state != NOTHING_SENT)
        return failure("COMMAND IN PROGRESS");
    if (args.size() > MAX_STRINGS)
        return failure("TOO MANY ARGUMENTS");
    if (env.size() > MAX_STRINGS)
        return failure("TOO MANY ENVIRONMENT VARIABLES");
    MsgBuffer message;
    XCode code = buildExecute(message, args, env);
    if (code.isErr())
        return code;
    code = start(message, fdCount, fds);
    if (code.isErr())
    {
        close();
        CLOSE_ALL(fdCount, fds);
        fdCount = 0;
    }
    return code;
}

XCode Client::start(MsgBuffer const& message, unsigned int& fdCount, int* fds)
{
    forgetAnswers();
    // The loop looks at the socket from the moment that it is open, and may disconnect the hook then.
    m_hook = file().onReadReady.connect(bindArgs(&Client::onSocketReadyForReading, this));
    XCode code = connect(SERVER_PATH);
    if (code.isErr())
        return withContext(code, String::stringOfFormat("COULD NOT CONNECT TO SERVER %s", SERVER_PATH).c_str());
    code = send(message.header(), 0, nullptr);
    if (code.isErr())
        return withContext(code, "COULD NOT SEND EXECUTE MESSAGE TO SERVER");
    code = waitForConfirmation(fdCount, fds);
    if (code)
        moveTo(NOTHING_SENT, RUNNING);
    return code;
}

XCode Client::connect(String const& path)
{
    int const fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    XCode code = codeOfResult(fd);
    if (code.isErr())
        return withText(code, "COULD NOT CREATE CLIENT SOCKET");
    sockaddr_un address;
    socklen_t const length = MAKE_ADDRESS(address, path);
    do
    {
        code = codeOfResult(::connect(fd, reinterpret_cast<sockaddr*>(&address), length));
    } while (code == codeOfErrno(EINTR));
    if (code)
        return file().setFd(fd);
    ::close(fd);
    return withText(code, String::stringOfFormat("COULD NOT BIND CLIENT SOCKET TO PATH %s", path.c_str()).c_str());
}

/// Lets the server's side go, too. The descriptor stays: a thread that sends may be using it.
void Client::stopObserving()
{
    m_hook.disconnect();
    ::shutdown(file().getFd(), SHUT_RDWR);
}

XCode Client::sendCancel(int signal)
{
    if (XCode code = refuseOnLoop("CANNOT CANCEL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP"); code.isErr())
        return code;
    ZKAutoLock<ZKMutex> const request(m_requestLock);
    if (m_state != RUNNING)
        return XCODE_SUCCESS;
    XCode code = signalAndWait(signal);
    if (code)
        moveTo(RUNNING, CANCELLED);
    return code;
}

XCode Client::sendSignal(int signal)
{
    if (XCode code = refuseOnLoop("CANNOT SIGNAL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP"); code.isErr())
        return code;
    ZKAutoLock<ZKMutex> const request(m_requestLock);
    return m_state == RUNNING ? signalAndWait(signal) : XCode(XCODE_SUCCESS);
}

/// The request lock is held. A message that crosses that of the command's end gets no answer, and needs none.
XCode Client::signalAndWait(int signal)
{
    MsgSignal const message = makeSignal(signal);
    XCode code = send(&message.header, 0, nullptr);
    code = code ? waitForConfirmation() : withContext(code, "COULD NOT SEND CANCEL MESSAGE TO SERVER");
    return m_state == TERMINATED ? XCode(XCODE_SUCCESS) : code;
}

void Client::registerResultObserver(Function<void(Client*, XCode)> observer)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    std::swap(m_resultObserver, observer);
}

XCode Client::waitForConfirmation()
{
    unsigned int fdCount = 0;
    int fds[MAX_DESCRIPTORS];
    XCode const code = waitForConfirmation(fdCount, fds);
    CLOSE_ALL(fdCount, fds);
    return code;
}

XCode Client::waitForConfirmation(unsigned int& fdCount, int* fds)
{
    fdCount = 0;
    XCode code = refuseOnLoop("CANNOT WAIT FOR CONFIRMATION OF SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
    if (code.isErr())
        return code;
    code = m_semaphore.wait();
    if (code.isErr())
        return withText(code, "COULD NOT BLOCK ON RX SEMAPHORE");
    MsgInfo answer;
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        if (!m_received.pop(answer))
            return failure("NO CONFIRMATION MESSAGE RECEIVED");
    }
    fdCount = answer.fdCount;
    std::memcpy(fds, answer.fds, fdCount * sizeof(int));
    if (answer.message.header()->type == MsgType::NAK)
    {
        if (XCode malformed = readXCode(*answer.message.header(), code); malformed.isErr())
            return malformed;
    }
    return code;
}

bool Client::moveTo(State from, State to)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    bool const isThere = m_state == from;
    if (isThere)
        m_state = to;
    return isThere;
}

/// Nobody waits, and nothing arrives.
void Client::forgetAnswers()
{
    for (MsgInfo answer; m_received.pop(answer);)
        CLOSE_ALL(answer.fdCount, answer.fds);
    while (m_semaphore.waitFor(0))
        continue;
    m_isLost = false;
}

void Client::onSocketReadyForReading()
{
    for (;;)
    {
        MsgInfo answer;
        XCode code = recv(answer.message.header(), sizeof answer.message.bytes, answer.fdCount, answer.fds);
        if (code == codeOfErrno(EAGAIN))
            return;
        if (code.isErr())
            return onReceiveFailure(code);
        switch (answer.message.header()->type)
        {
        case MsgType::TERMINATED:
            CLOSE_ALL(answer.fdCount, answer.fds);
            return onTerminated(*answer.message.header());
        case MsgType::ACK:
        case MsgType::NAK:
            onAnswer(answer);
            break;
        default:
            CLOSE_ALL(answer.fdCount, answer.fds);
            break;
        }
    }
}

void Client::onAnswer(MsgInfo const& answer)
{
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        m_received.add(answer);
    }
    m_semaphore.signal();
}

/// The last message that is of interest. The observer may destroy this object.
void Client::onTerminated(MsgHdr const& message)
{
    XCode result;
    if (XCode malformed = readXCode(message, result); malformed.isErr())
        result = malformed;
    stopObserving();
    Function<void(Client*, XCode)> observer(nullptr);
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        m_state = TERMINATED;
        observer = m_resultObserver;
    }
    m_semaphore.signal(); // whoever waits for an answer gets none
    if (observer)
        observer(this, result);
}

void Client::onReceiveFailure(XCode const& code)
{
    if (code != codeOfErrno(EPIPE))
        RTD::error(MON_JOB, "%s", withContext(code, "COULD NOT RECEIVE MESSAGE").toString().c_str());
    stopObserving();
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        m_isLost = true;
    }
    m_semaphore.signal();
}
}
