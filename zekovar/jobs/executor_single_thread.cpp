#include "zekovar/jobs/executor_single_thread.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/jobs/job_supervisor.h"
#include "zekovar/threads/auto_lock.h"

using ZK::Detail::descriptionOf;
using ZK::Detail::ExecutorRecord;

namespace ZK
{
CExecutorSingleThread::CExecutorSingleThread(String const& name)
    : ZKThread(name),
      m_record(this, name),
      m_semaphore(0, 0x7fffffff, Time::Source::MONOTONIC),
      m_mutex(false),
      m_exit(false),
      m_pendingCount(0),
      m_releaseMutex(false)
{
    JobSupervisor::INSTANCE().addExecutor(this);
    RTD_DEBUG(MON_JOB, 1, "[%s] Executor created", m_record.name.c_str());
    if (XCode const code = start(name); code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO START THREAD: %s", m_record.name.c_str(), code.toString().c_str());
        m_exit = true;
    }
}

CExecutorSingleThread::~CExecutorSingleThread()
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Destroying executor", m_record.name.c_str());
    m_exit = true;
    m_semaphore.signal();
    join(); // without effect on the own thread, which is given free and ends by itself
    RTD_DEBUG(MON_JOB, 1, "[%s] Executor destoyed", m_record.name.c_str());
    JobSupervisor::INSTANCE().removeExecutor(this);
}

void CExecutorSingleThread::getExecutorDescription(Description& description) const
{
    m_record.describe(description);
}

XCode CExecutorSingleThread::suspend()
{
    m_record.suspended = true;
    RTD_DEBUG(MON_JOB, 1, "[%s] Executor suspended", m_record.name.c_str());
    return XCODE_SUCCESS;
}

XCode CExecutorSingleThread::resume()
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Resuming executor", m_record.name.c_str());
    m_record.suspended = false;
    m_semaphore.signal();
    RTD_DEBUG(MON_JOB, 1, "[%s] Executor resumed", m_record.name.c_str());
    return XCODE_SUCCESS;
}

XCode CExecutorSingleThread::invokeJob(IJob* job, ZKPtr<IFuture>& future)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Invoking job: %s", m_record.name.c_str(), descriptionOf(job).c_str());
    XCode code = enqueue(job, future);
    if (code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO INVOKE JOB: %s", m_record.name.c_str(), descriptionOf(job).c_str());
        ExecutorRecord::COUNT(m_record.failedInvocations);
        future = nullptr;
        return code;
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Successfully invoked job: %s", m_record.name.c_str(), descriptionOf(job).c_str());
    ExecutorRecord::COUNT(m_record.invokedJobs);
    return code;
}

XCode CExecutorSingleThread::enqueue(IJob* job, ZKPtr<IFuture>& future)
{
    XCode code = Detail::createFuture(job, future);
    if (code.isErr())
        return code;
    // first, because the thread may take the future as soon as it stands in the list
    future->invoked(this, nullptr);
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        if (m_exit)
            return XCODE_FAILURE;
        m_pending.add(future);
        m_pendingCount++;
    }
    m_semaphore.signal();
    return XCODE_SUCCESS;
}

XCode CExecutorSingleThread::cancel(IFuture* future, int)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Canceling job: %s", m_record.name.c_str(), descriptionOf(future).c_str());
    if (future == nullptr || !erase(future))
    {
        RTD::error(MON_JOB, "[%s] FAILED TO CANCEL JOB: %s", m_record.name.c_str(), descriptionOf(future).c_str());
        ExecutorRecord::COUNT(m_record.failedCancels);
        return XCODE_FAILURE;
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Successfully cancelled job: %s", m_record.name.c_str(), descriptionOf(future).c_str());
    ExecutorRecord::COUNT(m_record.cancelledJobs);
    return XCODE_SUCCESS;
}

/// Takes the future out of the list; false if it isn't there. The caller holds a reference.
bool CExecutorSingleThread::erase(IFuture* future)
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    for (FutureList::Iterator it = m_pending.begin(); it != m_pending.end(); ++it)
    {
        if (*it == future)
        {
            m_pending.erase(it);
            m_pendingCount--;
            return true;
        }
    }
    return false;
}

ZKPtr<IFuture> CExecutorSingleThread::takeFirst()
{
    ZKPtr<IFuture> future;
    ZKAutoLock<ZKMutex> guard(m_mutex);
    if (m_pending.pop(future))
        m_pendingCount--;
    return future;
}

XCode CExecutorSingleThread::runThread()
{
    String const name(m_record.name); // to the end, which the executor may not see
    RTD_DEBUG(MON_JOB, 1, "[%s] Running", name.c_str());
    bool exists = true;
    while (exists && !m_exit)
    {
        if (XCode const code = m_semaphore.wait(); code.isErr())
        {
            RTD::error(MON_JOB, "[%s] EXITING AFTER FAILURE", name.c_str());
            m_exit = true;
            abandonPendingJobs();
            return code;
        }
        exists = runPendingJobs();
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Exiting normally", name.c_str());
    if (exists)
        abandonPendingJobs();
    return XCODE_SUCCESS;
}

/// False if a job's end has destroyed the executor.
bool CExecutorSingleThread::runPendingJobs()
{
    while (!m_exit && !m_record.suspended)
    {
        ZKPtr<IFuture> future = takeFirst();
        if (!future)
            return true;
        bool const isHeld = tryAddRef();
        execute(future.getObj());
        future = nullptr; // may be the last one that held the executor
        if (isHeld && tryRelease())
        {
            callDtor();
            return false;
        }
    }
    return true;
}

void CExecutorSingleThread::execute(IFuture* future)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Executing job: %s", m_record.name.c_str(), descriptionOf(future).c_str());
    if (future->execute().isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO EXECUTE JOB: %s", m_record.name.c_str(), descriptionOf(future).c_str());
        ExecutorRecord::COUNT(m_record.failedExecutions);
        return;
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Successfully executed job: %s", m_record.name.c_str(), descriptionOf(future).c_str());
    ExecutorRecord::COUNT(m_record.executedJobs);
}

/// Lets go of what is still pending, and by that perhaps of the executor: nothing of it may be touched any more.
void CExecutorSingleThread::abandonPendingJobs()
{
    FutureList abandoned;
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        abandoned.swap(m_pending);
        m_pendingCount = 0;
    }
}

/// False if the count has reached 0: then whoever destroys the executor is waiting for its thread.
bool CExecutorSingleThread::tryAddRef()
{
    unsigned int count = m_count.load();
    while (count != 0)
    {
        if (m_count.compare_exchange_weak(count, count + 1))
            return true;
    }
    return false;
}

/// The pending futures hold the executor, which holds them: this finds the release that leaves nothing but such a ring.
/// References are dropped under a mutex, so that of two at a time the second one sees the first; the last one is dropped
/// by a thread that has the executor to itself.
bool CExecutorSingleThread::tryRelease()
{
    ZKAutoLock<ZKMutexPrivate> guard(m_releaseMutex);
    unsigned int const pending = m_pendingCount;
    if (m_record.suspended && pending != 0 && getRefCount() == pending + 1)
    {
        m_exit = true;
        m_semaphore.signal();
    }
    return RefCounted::tryRelease();
}
}
