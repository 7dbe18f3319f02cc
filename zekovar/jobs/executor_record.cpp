#include "zekovar/jobs/executor_record.h"

namespace ZK::Detail
{
void ExecutorRecord::describe(IExecutor::Description& description) const
{
    description.executor = executor;
    description.name = name;
    description.suspended = suspended.load(std::memory_order_relaxed);
    description.invokedJobs = invokedJobs.load(std::memory_order_relaxed);
    description.failedInvocations = failedInvocations.load(std::memory_order_relaxed);
    description.cancelledJobs = cancelledJobs.load(std::memory_order_relaxed);
    description.failedCancels = failedCancels.load(std::memory_order_relaxed);
    description.executedJobs = executedJobs.load(std::memory_order_relaxed);
    description.failedExecutions = failedExecutions.load(std::memory_order_relaxed);
}

String descriptionOf(IJob const* job)
{
    return job != nullptr ? job->getJobDescription() : String("(none)");
}

String descriptionOf(IFuture* future)
{
    return descriptionOf(future != nullptr ? future->job().getObj() : nullptr);
}

XCode createFuture(IJob* job, ZKPtr<IFuture>& future)
{
    future = job != nullptr ? job->createFuture() : ZKPtr<IFuture>();
    if (future && future->job() == job)
        return XCODE_SUCCESS;
    future = nullptr;
    return XCODE_FAILURE;
}
}
