#include "zekovar/jobs/executor_immediate.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/jobs/job_supervisor.h"

using ZK::Detail::descriptionOf;
using ZK::Detail::ExecutorRecord;

namespace ZK
{
CExecutorImmediate::CExecutorImmediate() : m_record(this, "Immediate")
{
    JobSupervisor::INSTANCE().addExecutor(this);
    RTD_DEBUG(MON_JOB, 1, "[%p] Executor created", static_cast<void*>(this));
}

CExecutorImmediate::~CExecutorImmediate()
{
    JobSupervisor::INSTANCE().removeExecutor(this);
}

void CExecutorImmediate::getExecutorDescription(Description& description) const
{
    m_record.describe(description);
}

XCode CExecutorImmediate::suspend()
{
    m_record.suspended = true;
    RTD_DEBUG(MON_JOB, 1, "[%p] Executor suspended", static_cast<void*>(this));
    return XCODE_SUCCESS;
}

XCode CExecutorImmediate::resume()
{
    m_record.suspended = false;
    RTD_DEBUG(MON_JOB, 1, "[%p] Executor resumed", static_cast<void*>(this));
    return XCODE_SUCCESS;
}

XCode CExecutorImmediate::invokeJob(IJob* job, ZKPtr<IFuture>& future)
{
    RTD_DEBUG(MON_JOB, 1, "[%p] Invoking job: %s", static_cast<void*>(this), descriptionOf(job).c_str());
    // the job may drop or replace what the caller's pointer holds
    ZKPtr<IFuture> run;
    XCode code = prepare(job, run);
    future = run;
    if (code.isSuccess())
    {
        run->invoked(this, nullptr);
        RTD_DEBUG(MON_JOB, 1, "[%p] Successfully invoked job: %s", static_cast<void*>(this),
                  descriptionOf(job).c_str());
        ExecutorRecord::COUNT(m_record.invokedJobs);
        code = execute(job, *run);
    }
    else
    {
        RTD::error(MON_JOB, "[%p] FAILED TO INVOKE JOB: %s: %s", static_cast<void*>(this), descriptionOf(job).c_str(),
                   code.toString().c_str());
        ExecutorRecord::COUNT(m_record.failedInvocations);
    }
    if (code.isErr())
        future = nullptr;
    return code;
}

XCode CExecutorImmediate::prepare(IJob* job, ZKPtr<IFuture>& future)
{
    if (job != nullptr && m_record.suspended)
    {
        XCode code(XCODE_FAILURE);
        code.setString("EXECUTOR IS SUSPENDED");
        return code;
    }
    return Detail::createFuture(job, future);
}

XCode CExecutorImmediate::execute(IJob* job, IFuture& future)
{
    RTD_DEBUG(MON_JOB, 1, "[%p] Executing job: %s", static_cast<void*>(this), descriptionOf(job).c_str());
    XCode code = future.execute();
    if (code.isErr())
    {
        RTD::error(MON_JOB, "[%p] FAILED TO EXECUTE JOB: %s: %s", static_cast<void*>(this), descriptionOf(job).c_str(),
                   code.toString().c_str());
        ExecutorRecord::COUNT(m_record.failedExecutions);
        return code;
    }
    RTD_DEBUG(MON_JOB, 1, "[%p] Successfully executed job: %s", static_cast<void*>(this), descriptionOf(job).c_str());
    ExecutorRecord::COUNT(m_record.executedJobs);
    return code;
}

XCode CExecutorImmediate::cancel(IFuture* future, int)
{
    ExecutorRecord::COUNT(m_record.cancelledJobs);
    RTD_DEBUG(MON_JOB, 1, "[%p] Cancelled job: %s", static_cast<void*>(this), descriptionOf(future).c_str());
    return XCODE_SUCCESS;
}
}
