#include "zekovar/jobs/cfuture.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/jobs/executor_record.h"
#include "zekovar/jobs/job_supervisor.h"

#include <cerrno>

namespace ZK
{
namespace
{
constexpr int DETAIL_LEVEL = 1; // of all debug lines here

char const* nameOf(IFuture::State state)
{
    return ZKEnumInfo<IFuture::State>::VALUE_NAME(state);
}

XCode wrongState(IFuture::State state)
{
    XCode code = XCODE_FAILURE;
    code.setStringF("FUTURE IN STATE %s", nameOf(state));
    return code;
}
}

CFuture::CFuture(IJob* job)
    : m_job(job), m_executorPrivateData(nullptr), m_state(State::init), m_stateLock(true), m_status(NO_RESULT)
{
    JobSupervisor::INSTANCE().addUnfinished(this);
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Created", getTag().c_str());
}

CFuture::~CFuture()
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Destroyed", getTag().c_str());
    JobSupervisor::INSTANCE().remove(this, Detail::descriptionOf(m_job.getObj()));
}

String CFuture::getTag() const
{
    return m_job ? m_job->getShortJobDescription() : String("(none)");
}

String CFuture::getTagIfLogging() const
{
    return RTD::REPOSITORY::GET_MONITOR_IF_ENABLED_FOR_LOGGING(MON_JOB, DETAIL_LEVEL) != nullptr ? getTag() : String();
}

ZKPtr<IJob> CFuture::job()
{
    return m_job;
}

IFuture::State CFuture::getState() const
{
    return m_state;
}

ZKPtr<IExecutor> CFuture::getExecutor()
{
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    return m_executor;
}

void* CFuture::getExecutorPrivateData()
{
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    return m_executorPrivateData;
}

XCode CFuture::getStatus() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    return m_status;
}

void CFuture::getFutureDescription(Description& description) const
{
    description.jobDescription = m_job ? m_job->getJobDescription() : String();
    description.future = const_cast<CFuture*>(this);
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    description.state = m_state;
    description.executor = m_executor.getObj();
}

void CFuture::setState(State state, String const& tag)
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] State: %s -> %s", tag.c_str(), nameOf(m_state), nameOf(state));
    m_state = state;
}

/// Wakes all waiters: the release of the lock reaches one, whose own release reaches the next. One that hasn't fallen
/// asleep yet holds the lock until it does.
void CFuture::endAs(State state, String const& tag)
{
    setState(state, tag);
    if (m_end)
        ZKAutoLock<ConditionalExpression> const wakeUp(*m_end);
}

void CFuture::invoked(IExecutor* executor, void* privateData)
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Invoked", getTag().c_str());
    String const tag = getTagIfLogging();
    ZKPtr<IExecutor> other(executor); // takes the one before along, out of the lock
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    if (hasCompleted())
        return;
    if (m_state == State::init)
        setState(State::invoked, tag);
    std::swap(m_executor, other);
    m_executorPrivateData = privateData;
}

XCode CFuture::execute()
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Executing", getTag().c_str());
    XCode code = tryToExecute();
    if (code.isErr())
        RTD::error(MON_JOB, "[%s] FAILED TO EXECUTE", getTag().c_str());
    else
        RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Successfully executed", getTag().c_str());
    return code;
}

XCode CFuture::tryToExecute()
{
    String const tag = getTagIfLogging();
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
        State const state = m_state;
        if (state == State::executing || hasCompleted())
            return wrongState(state);
        // a cancel that the executor refused, or is about to refuse, doesn't keep the job from running
        if (state != State::cancelling)
            setState(State::executing, tag);
    }
    return m_job ? m_job->execute(this) : XCode(XCODE_FAILURE);
}

String CFuture::reportEnd(XCode const& code) const
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Job is done (status #%8.8x); wake up waiter", getTag().c_str(),
              code.getRawValue());
    return getTagIfLogging();
}

Function<void(XCode)> CFuture::settle(XCode const& code, String const& tag)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    m_status = code;
    if (m_state == State::executing)
        endAs(State::done, tag);
    else if (m_state == State::cancelling)
        endAs(State::cancelled, tag);
    return m_completionObserver;
}

void CFuture::done(XCode code)
{
    // a waiter that wakes may drop the last reference but this one
    ZKPtr<IFuture> const self(this);
    Function<void(XCode)> const observer = settle(code, reportEnd(code));
    if (observer)
        observer(code);
}

XCode CFuture::waitForCompletion()
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Waiting for completion", getTag().c_str());
    if (XCode code = waitForEnd(); code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO WAIT FOR COMPLETION", getTag().c_str());
        return code;
    }
    XCode status = getStatus();
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Completed with status %#8.8x: %s", getTag().c_str(), status.getRawValue(),
              status.toString().c_str());
    return status;
}

XCode CFuture::waitForEnd()
{
    XCode code;
    if (hasCompleted())
        return code;
    ConditionalExpression& end = getEnd();
    ZKAutoLock<ConditionalExpression> guard(end);
    while (code.isSuccess() && !hasCompleted())
    {
        code = end.wait();
        if (code.getValue() == XCODE_ERRNO + EINTR)
            code = XCODE_SUCCESS;
    }
    return code;
}

ConditionalExpression& CFuture::getEnd()
{
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    if (!m_end)
        m_end = std::make_unique<ConditionalExpression>(Time::Source::REALTIME);
    return *m_end;
}

void CFuture::setCompletionObserver(Function<void(XCode)> observer)
{
    if (exchangeUnlessCompleted(m_completionObserver, observer))
        return;
    if (observer)
        observer(getStatus());
    exchange(m_completionObserver, observer);
}

XCode CFuture::cancel(int signal)
{
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Canceling", getTag().c_str());
    if (XCode code = cancelWithoutDone(signal); code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO CANCEL", getTag().c_str());
        return code;
    }
    done(signal == 0 ? XCode(XCODE_SUCCESS) : XCode(XCODE_SIGNAL | (static_cast<unsigned int>(signal) & 0xFFFFFF)));
    RTD_DEBUG(MON_JOB, DETAIL_LEVEL, "[%s] Successfully cancelled", getTag().c_str());
    return XCODE_SUCCESS;
}

XCode CFuture::cancelWithoutDone(int signal)
{
    String const tag = getTagIfLogging();
    ZKPtr<IExecutor> executor;
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
        State const state = m_state;
        if (state != State::invoked && state != State::executing)
            return wrongState(state);
        setState(State::cancelling, tag);
        executor = m_executor;
    }
    XCode code = XCODE_FAILURE;
    if (!executor)
    {
        code.setString("FUNCTION IS NOT BEING EXECUTED");
        return code;
    }
    code = executor->cancel(this, signal);
    if (code.isErr())
    {
        code.extendString("FUNCTION EXECUTION CANNOT BE CANCELLED", ": ");
        return code;
    }
    ZKPtr<IExecutor> forgotten; // leaves after the lock
    ZKAutoLock<ZKMutexPrivate> guard(m_stateLock);
    std::swap(m_executor, forgotten);
    m_executorPrivateData = nullptr;
    return code;
}

XCode CFuture::signal(int)
{
    RTD::error(MON_JOB, "[%s] FAILED TO SIGNAL: THIS TYPE OF JOB CANNOT BE SIGNALED", getTag().c_str());
    return XCODE_FAILURE;
}
}
