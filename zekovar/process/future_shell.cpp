#include "zekovar/process/future_shell.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/events/loop_standstill.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/job_shell.h"
#include "zekovar/process/text_growth.h"

#include <algorithm>
#include <poll.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::LoopStandstill;

namespace ZK
{
namespace
{
constexpr int DETAIL_LEVEL = 1; // of all debug lines here
constexpr unsigned int INPUT = 0;

/// More than a terminal and a pipe can hold of what a program has written.
constexpr unsigned int MAX_DRAINED_BYTES = 1024 * 1024;

constexpr int INPUT_POLL_MILLISECONDS = 100;

unsigned int indexOf(StreamType type)
{
    return static_cast<unsigned int>(type);
}

/// A failure on the loop that would have to do what the caller wants to wait for.
XCode refuseOnLoop(char const* text)
{
    return Shell::Client::REFUSE_ON_LOOP(IO::INSTANCE(), text);
}
}

CFutureShell::CFutureShell(IJob* job)
    : CInherit(job),
      m_lock(false),
      m_cancelling(0),
      m_isResultPending(false),
      m_hasResult(false),
      m_isActive(false),
      m_startLock(false),
      m_isClaimed(false),
      m_hasInput(false)
{
    for (ZKLWPtr<ActiveFile>& stream : m_streams)
        stream = MovePtr<ActiveFile>(new ActiveFile(IO::INSTANCE(), -1, true, false));
}

void CFutureShell::callDtor()
{
    if (m_isActive)
    {
        LoopStandstill const standstill(IO::INSTANCE());
        for (Sig::ScopedConnection& hook : m_streamHooks)
            hook.disconnect();
        m_client.closeInStandstill();
    }
    else
        m_client.closeInStandstill();
    CInherit::callDtor();
}

/// For a handler on the loop: null if another thread is about to destroy this object, and waits for the loop.
ZKPtr<CFutureShell> CFutureShell::getSelfIfAlive()
{
    unsigned int count = m_count.load();
    while (count != 0 && !m_count.compare_exchange_weak(count, count + 1))
        continue;
    return MovePtr<CFutureShell>(count != 0 ? this : nullptr);
}

String CFutureShell::getTag()
{
    ZKPtr<IJob> const run = job();
    return run ? run->getJobDescription() : String("(none)");
}

XCode CFutureShell::execute()
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Executing", getTag().c_str());
    ZKPtr<IJob> const run = job();
    auto* const shellJob = dynamic_cast<CJobShell*>(run.getObj());
    XCode code = shellJob != nullptr ? tryToExecute() : XCode(XCODE_FAILURE);
    enterCancel(); // the log tells of the start before it tells of the end
    if (shellJob == nullptr)
        finished(code);
    else if (code.isErr())
        code = startCommand(*shellJob, code);
    if (code.isErr())
        RTD::error(MON_JOB, "[%s] FAILED TO EXECUTE: %s", getTag().c_str(), code.toString().c_str());
    else
        RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Successfully executed", getTag().c_str());
    leaveCancel();
    return code;
}

/// The result is kept back. Doesn't touch a future that runs, has completed, or was cancelled on its way here.
XCode CFutureShell::startCommand(CJobShell const& job, XCode const& refused)
{
    XCode code;
    unsigned int fdCount = 0;
    int fds[Shell::MAX_DESCRIPTORS];
    {
        ZKAutoLock<ZKMutex> const guard(m_startLock);
        if (m_isClaimed || hasCompleted())
            return refused;
        m_isClaimed = true;
        activate();
        code = m_client.sendCommand(job.getCmdLineArgs(), job.getEnvironment(), fdCount, fds);
    }
    if (code)
        connectStreams(fdCount, fds);
    else
        finished(code);
    return code;
}

/// From here on the loop may bring something.
void CFutureShell::activate()
{
    m_client.registerResultObserver(bindArgs(directCall(),
                                             [this](Shell::Client* client, XCode result)
                                             {
                                                 if (ZKPtr<CFutureShell> const self = getSelfIfAlive())
                                                     onShellClientResultAvailable(client, result);
                                             }));
    ZKAutoLock<ZKMutex> const guard(m_lock);
    m_isActive = true;
}

/// The loop watches a stream from the moment that it is open, and its observers may send data.
void CFutureShell::connectStreams(unsigned int fdCount, int const* fds)
{
    connectStream(StreamType::STANDARD_OUTPUT);
    connectStream(StreamType::STANDARD_ERROR);
    for (unsigned int i = 0; i < fdCount; ++i)
    {
        m_streams[i]->setFd(fds[i]);
        m_hasInput = true;
    }
}

void CFutureShell::connectStream(StreamType type)
{
    unsigned int const index = indexOf(type);
    m_streamHooks[index] =
        m_streams[index]->onStringData.connect(bindArgs(directCall(),
                                                        [this, type](String text)
                                                        {
                                                            if (ZKPtr<CFutureShell> const self = getSelfIfAlive())
                                                                onStreamData(type, std::move(text));
                                                        }));
}

void CFutureShell::onStreamData(StreamType type, String text)
{
    unsigned int const index = indexOf(type);
    if (index >= STREAM_COUNT)
        return;
    Function<void(String)> const observer = m_streamObservers[index]; // it may replace itself
    if (observer)
        observer(std::move(text));
    else
        Detail::appendGrowing(m_streamTexts[index], text);
}

void CFutureShell::setStreamObserver(StreamType type, Function<void(String)> observer)
{
    unsigned int const index = indexOf(type);
    if (index >= STREAM_COUNT || exchangeUnlessActive(index, observer))
        return;
    LoopStandstill const standstill(IO::INSTANCE());
    if (observer && !m_streamTexts[index].isEmpty())
    {
        String text;
        std::swap(text, m_streamTexts[index]);
        observer(std::move(text));
    }
    ZKAutoLock<ZKMutex> const guard(m_lock);
    std::swap(m_streamObservers[index], observer);
}

/// False if the loop may be using the observers, or if there is a text for the new one.
bool CFutureShell::exchangeUnlessActive(unsigned int index, Function<void(String)>& observer)
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    if (m_isActive || (observer && !m_streamTexts[index].isEmpty()))
        return false;
    std::swap(m_streamObservers[index], observer);
    return true;
}

void CFutureShell::onShellClientResultAvailable(Shell::Client*, XCode result)
{
    finished(std::move(result));
}

void CFutureShell::finished(XCode result)
{
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        if (std::exchange(m_hasResult, true))
            return;
        m_isResultPending = m_cancelling > 0;
        if (m_isResultPending)
        {
            m_pendingResult = std::move(result);
            return;
        }
    }
    end(std::move(result));
}

void CFutureShell::enterCancel()
{
    ZKAutoLock<ZKMutex> const guard(m_lock);
    ++m_cancelling;
}

void CFutureShell::leaveCancel()
{
    XCode result;
    {
        ZKAutoLock<ZKMutex> const guard(m_lock);
        if (m_cancelling == 0 || --m_cancelling > 0 || !std::exchange(m_isResultPending, false))
            return;
        result = std::move(m_pendingResult);
    }
    end(std::move(result));
}

/// The program's end is told on a way of its own, which may be faster than that of its last output.
void CFutureShell::end(XCode result)
{
    LoopStandstill const standstill(IO::INSTANCE());
    drainStream(StreamType::STANDARD_OUTPUT);
    drainStream(StreamType::STANDARD_ERROR);
    set(m_streamTexts[indexOf(StreamType::STANDARD_OUTPUT)]);
    String const& errors = m_streamTexts[indexOf(StreamType::STANDARD_ERROR)];
    if (!errors.isEmpty())
        result.setString(errors);
    deactivate();
    done(result);
}

/// Delivers what is there, and lets go of a stream that has ended. Somebody else may hold it and write for ever.
void CFutureShell::drainStream(StreamType type)
{
    Sig::ScopedConnection& hook = m_streamHooks[indexOf(type)];
    char block[16 * 1024];
    unsigned int count = sizeof(block);
    bool ended = false;
    for (unsigned int total = 0; total < MAX_DRAINED_BYTES && count > 0 && !hook.isDisconnected(); total += count)
    {
        m_streams[indexOf(type)]->readToEof(block, sizeof(block), count, ended, true);
        if (count > 0)
            onStreamData(type, String(block, static_cast<int>(count), 0, static_cast<int>(count)));
    }
    if (ended)
        hook.disconnect();
}

/// Unless something may still come.
void CFutureShell::deactivate()
{
    bool isActive = m_client.isObserved();
    for (Sig::ScopedConnection const& hook : m_streamHooks)
        isActive = isActive || !hook.isDisconnected();
    ZKAutoLock<ZKMutex> const guard(m_lock);
    m_isActive = isActive;
}

XCode CFutureShell::sendData(String const& data)
{
    if (!m_hasInput)
        return codeOfErrno(EBADF);
    ZKLWPtr<ActiveFile> const input = m_streams[INPUT];
    char const* next = data.c_str();
    unsigned int left = static_cast<unsigned int>(data.length());
    XCode code = hasCompleted() ? codeOfErrno(EPIPE) : XCode(XCODE_SUCCESS);
    while (code && left > 0)
    {
        unsigned int count = 0;
        code = input->writeOnce(next, left, count, true);
        next += count;
        left -= count;
        if (code == codeOfErrno(EAGAIN) || (code && count == 0))
            code = waitForInput(input->getFd());
    }
    return code;
}

/// Waits until the terminal takes more.
XCode CFutureShell::waitForInput(int fd)
{
    XCode code = refuseOnLoop("CANNOT SEND DATA BLOCKING WHILE SYNCHRONIZED ON IO EVENT LOOP");
    if (code.isErr())
        return code;
    if (hasCompleted())
        return codeOfErrno(EPIPE);
    pollfd terminal = {fd, POLLOUT, 0};
    ::poll(&terminal, 1, INPUT_POLL_MILLISECONDS);
    return (terminal.revents & POLLHUP) != 0 ? codeOfErrno(EPIPE) : XCode(XCODE_SUCCESS);
}

XCode CFutureShell::cancel(int signal)
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Canceling", getTag().c_str());
    enterCancel();
    XCode code = tryToCancel(signal);
    if (code.isErr())
        RTD::error(MON_JOB, "[%s] FAILED TO CANCEL: %s", getTag().c_str(), code.toString().c_str());
    else
        RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Successfully cancelled", getTag().c_str());
    leaveCancel();
    return code;
}

XCode CFutureShell::tryToCancel(int signal)
{
    XCode code = refuseOnLoop("CANNOT CANCEL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
    if (code.isErr() || hasCompleted())
        return code.isErr() ? code : XCode(XCODE_FAILURE);
    ZKAutoLock<ZKMutex> const guard(m_startLock);
    return stopCommand(signal);
}

/// The start lock is held, and the result is kept back. Where the program's end won't be told, this ends the future.
XCode CFutureShell::stopCommand(int signal)
{
    XCode code;
    bool isLast = false;
    if (m_isClaimed)
    {
        code = m_client.sendCancel(signal);
        if (code || m_client.isLost())
            code = cancelWithoutDone(signal);
        isLast = m_client.isLost() && getState() == State::cancelling;
    }
    else
    {
        code = cancelWithoutDone(signal);
        m_isClaimed = code.isSuccess();
        isLast = m_isClaimed;
    }
    if (!isLast)
        return code;
    finished(signal == 0 ? XCode(XCODE_SUCCESS) : XCode(XCODE_SIGNAL | (static_cast<unsigned int>(signal) & 0xFFFFFF)));
    return XCODE_SUCCESS;
}

XCode CFutureShell::signal(int signal)
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Signaling", getTag().c_str());
    XCode code = hasCompleted() ? XCode(XCODE_FAILURE) : m_client.sendSignal(signal);
    if (code.isErr())
        RTD::error(MON_JOB, "[%s] FAILED TO SIGNAL: %s", getTag().c_str(), code.toString().c_str());
    else
        RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Successfully signaled", getTag().c_str());
    return code;
}

XCode CFutureShell::waitForCompletion()
{
    XCode code = refuseOnLoop("CANNOT WAIT FOR SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
    return code || hasCompleted() ? CInherit::waitForCompletion() : code;
}
}
