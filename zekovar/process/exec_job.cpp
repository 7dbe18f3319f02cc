#include "zekovar/process/exec_job.h"

#include "zekovar/files/file.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/command_line.h"
#include "zekovar/process/exec_job_supervisor.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/no_cancellation.h"

#include <csignal>
#include <fcntl.h>

using Guard = ZKAutoLock<ZKMutexPrivate>;

namespace
{
constexpr int END_STEP = 5;     // milliseconds
constexpr int END_GRACE = 1000; // milliseconds for a program to end on SIGINT, before it is killed
}

_ZKExecJob::_ZKExecJob(String const& name)
    : ZKThread(String("Execute-Job:").concat(name), &m_runner),
      m_callback(nullptr),
      m_exitStatus(0),
      m_lock(false),
      m_pid(0),
      m_master(-1),
      m_stopped(true),
      m_respawn(false),
      m_child(0),
      m_started(false),
      m_abandoned(false),
      m_runner(*this)
{
}

_ZKExecJob::~_ZKExecJob()
{
    _ZKExecJob::cleanup();
}

XCode _ZKExecJob::setup(CallbackHandler* handler, String const& cmd, std::vector<String> const& args,
                        std::vector<String> const& env, bool respawn)
{
    {
        Guard guard(m_lock);
        m_callback = handler;
        m_relay.reset();
        m_command = cmd;
        m_arguments = args;
        m_environment = env;
        m_respawn = respawn;
    }
    _ZKExecJobSupervisor::INSTANCE().addJob(this);
    return XCODE_SUCCESS;
}

XCode _ZKExecJob::setup(CallbackHandler* handler, String const& cmd, std::vector<String> const& args, bool respawn)
{
    return setup(handler, cmd, args, {}, respawn);
}

XCode _ZKExecJob::setup(CallbackHandler* handler, String const& line, bool respawn)
{
    String command;
    std::vector<String> arguments;
    ZK::Detail::splitCommandLine(line, command, arguments);
    return setup(handler, command, arguments, respawn);
}

XCode _ZKExecJob::attach(std::shared_ptr<Relay> const& relay)
{
    Guard guard(m_lock);
    if (m_started)
        return XCODE_FAILURE;
    m_callback = relay.get();
    m_relay = relay;
    m_respawn = false;
    return XCODE_SUCCESS;
}

XCode _ZKExecJob::start(String const& threadName)
{
    // The thread takes the lock before its first run. A second start in that time must not go on to ZKThread's, which
    // would wait for the thread.
    Guard guard(m_lock);
    if (m_started)
        return XCODE_FAILURE;
    m_started = true;
    m_abandoned = false;
    XCode code = ZKThread::start(threadName);
    if (code.isSuccess())
        m_stopped = false;
    else
        m_started = false;
    return code;
}

void _ZKExecJob::stop()
{
    stop(SIGINT);
}

XCode _ZKExecJob::stop(int signal)
{
    XCode code;
    std::shared_ptr<Relay> relay;
    {
        Guard guard(m_lock);
        m_stopped = true;
        relay = m_relay;
        if (m_pid > 0)
            code = ZK::Detail::codeOfResult(::kill(m_pid, signal));
        m_pid = 0;
    }
    if (relay != nullptr)
        relay->stopWaiting();
    return code;
}

XCode _ZKExecJob::signal(int signal)
{
    Guard guard(m_lock);
    return m_pid > 0 ? ZK::Detail::codeOfResult(::kill(m_pid, signal)) : XCODE_FAILURE;
}

XCode _ZKExecJob::sendInput(String const& text)
{
    // A descriptor of its own: writing may block, and without the lock the job may close its own meanwhile.
    ZKFile terminal(-1, true, false);
    {
        Guard guard(m_lock);
        if (m_master < 0)
            return XCODE_FAILURE;
        if (XCode code = terminal.setValidFd(::fcntl(m_master, F_DUPFD_CLOEXEC, 0)); code.isErr())
            return code;
    }
    return terminal.write(text, true);
}

std::shared_ptr<_ZKExecJob::CallbackHandler> _ZKExecJob::getHandler() const
{
    Guard guard(m_lock);
    return {m_relay, m_callback}; // keeps the relay, if it is one
}

bool _ZKExecJob::isStopped() const
{
    Guard guard(m_lock);
    return m_stopped;
}

bool _ZKExecJob::isRespawning() const
{
    Guard guard(m_lock);
    return m_respawn;
}

XCode _ZKExecJob::Runner::runThread()
{
    ZK::Detail::NoCancellation const noCancellation; // a run reaps its program and closes its terminal in any case
    XCode code = m_job.runThread();
    m_job.m_started = false;
    return code;
}

XCode _ZKExecJob::runThread()
{
    _ZKExecJobSupervisor& supervisor = _ZKExecJobSupervisor::INSTANCE();
    for (unsigned int run = 1;; ++run)
    {
        std::shared_ptr<CallbackHandler> const handler = getHandler();
        if (handler == nullptr)
            return XCODE_FAILURE;
        supervisor.startExecuteJob(this, run);
        XCode code = executeStored();
        bool keepGoing = false;
        supervisor.endExecuteJob(this, run, isStopped(), code, keepGoing);
        handler->terminated(this, "\n", code);
        if (isStopped() || !isRespawning() || !keepGoing)
            return code;
    }
}

XCode _ZKExecJob::executeStored()
{
    String command;
    std::vector<String> arguments;
    std::vector<String> environment;
    {
        Guard guard(m_lock);
        command = m_command;
        arguments = m_arguments;
        environment = m_environment;
    }
    return executeCmd(command, arguments, environment, false, false);
}

void _ZKExecJob::cleanup()
{
    endThread();
    _ZKExecJobSupervisor::INSTANCE().removeJob(this);
    Guard guard(m_lock);
    m_arguments.clear();
    m_environment.clear();
    m_callback = nullptr;
    m_relay.reset();
    m_master = -1;
    m_pid = 0;
    m_stopped = true;
    m_respawn = false;
}

void _ZKExecJob::endThread()
{
    stop(SIGINT);
    if (CURRENT_HAS_ID(getId()))
        return;
    if (!endsWithin(END_GRACE))
    {
        abandon();
        while (!endsWithin(END_GRACE))
            ; // it is being reaped
    }
    ZKThread::join();
}

bool _ZKExecJob::endsWithin(int milliseconds) const
{
    for (int waited = 0; m_started; waited += END_STEP)
    {
        if (waited >= milliseconds)
            return false;
        SLEEP(END_STEP);
    }
    return true;
}

void _ZKExecJob::abandon()
{
    Guard guard(m_lock);
    m_abandoned = true;
    if (m_child > 0)
        ::kill(m_child, SIGKILL);
}
