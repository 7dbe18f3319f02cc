#include "zekovar/jobs/cfuture.h"

#include "zekovar/jobs/job_supervisor.h"

#include <cerrno>

namespace ZK
{
namespace
{
XCode wrongState(IFuture::State state)
{
    XCode code = XCODE_FAILURE;
    code.setStringF("FUTURE IN STATE %s", ZKEnumInfo<IFuture::State>::VALUE_NAME(state));
    return code;
}
}

CFuture::CFuture(IJob* job)
    : m_job(job),
      m_executorPrivateData(nullptr),
      m_state(State::init),
      m_stateLock(Time::Source::REALTIME),
      m_status(NO_RESULT)
{
    JobSupervisor::INSTANCE().addFuture(this);
}

CFuture::~CFuture()
{
    JobSupervisor::INSTANCE().removeFuture(this);
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
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    return m_executor;
}

void* CFuture::getExecutorPrivateData()
{
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    return m_executorPrivateData;
}

XCode CFuture::getStatus() const
{
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    return m_status;
}

void CFuture::getFutureDescription(Description& description) const
{
    description.jobDescription = m_job ? m_job->getJobDescription() : String();
    description.future = const_cast<CFuture*>(this);
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    description.state = m_state;
    description.executor = m_executor.getObj();
}

void CFuture::setState(State state)
{
    m_state = state;
}

void CFuture::invoked(IExecutor* executor, void* privateData)
{
    ZKPtr<IExecutor> other(executor); // takes the one before along, out of the lock
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    if (hasCompleted())
        return;
    if (m_state == State::init)
        setState(State::invoked);
    std::swap(m_executor, other);
    m_executorPrivateData = privateData;
}

XCode CFuture::execute()
{
    return tryToExecute();
}

XCode CFuture::tryToExecute()
{
    {
        ZKAutoLock<ConditionalExpression> guard(m_stateLock);
        State const state = m_state;
        if (state == State::executing || hasCompleted())
            return wrongState(state);
        // a cancel that the executor refused, or is about to refuse, doesn't keep the job from running
        if (state != State::cancelling)
            setState(State::executing);
    }
    return m_job ? m_job->execute(this) : XCode(XCODE_FAILURE);
}

Function<void(XCode)> CFuture::settle(XCode const& code)
{
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    m_status = code;
    if (m_state == State::executing)
        setState(State::done);
    else if (m_state == State::cancelling)
        setState(State::cancelled);
    return m_completionObserver;
}

void CFuture::done(XCode code)
{
    // a waiter that wakes may drop the last reference but this one
    ZKPtr<IFuture> const self(this);
    Function<void(XCode)> const observer = settle(code);
    if (observer)
        observer(code);
}

XCode CFuture::waitForCompletion()
{
    XCode code;
    XCode status;
    {
        ZKAutoLock<ConditionalExpression> guard(m_stateLock);
        while (code.isSuccess() && !hasCompleted())
        {
            code = m_stateLock.wait();
            if (code.getValue() == XCODE_ERRNO + EINTR)
                code = XCODE_SUCCESS;
        }
        status = m_status;
    }
    return code.isErr() ? code : status;
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
    if (XCode code = cancelWithoutDone(signal); code.isErr())
        return code;
    done(signal == 0 ? XCode(XCODE_SUCCESS) : XCode(XCODE_SIGNAL | (static_cast<unsigned int>(signal) & 0xFFFFFF)));
    return XCODE_SUCCESS;
}

XCode CFuture::cancelWithoutDone(int signal)
{
    ZKPtr<IExecutor> executor;
    {
        ZKAutoLock<ConditionalExpression> guard(m_stateLock);
        State const state = m_state;
        if (state != State::invoked && state != State::executing)
            return wrongState(state);
        setState(State::cancelling);
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
    ZKAutoLock<ConditionalExpression> guard(m_stateLock);
    std::swap(m_executor, forgotten);
    m_executorPrivateData = nullptr;
    return code;
}

XCode CFuture::signal(int)
{
    return XCODE_FAILURE;
}
}
