#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/jobs/future.h"
#include "zekovar/jobs/job.h"
#include "zekovar/jobs/unknown.h"

#include <cstdint>

namespace ZK
{
/// Decides where and when jobs run. All operations are safe from every thread that holds a reference.
class IExecutor : public IUnknown
{
public:
    struct Description
    {
        IExecutor* executor = nullptr; ///< to tell executors apart: no reference goes with it
        String name;
        bool suspended = false;
        uint32_t invokedJobs = 0; ///< counts since the executor was made
        uint32_t failedInvocations = 0;
        uint32_t cancelledJobs = 0;
        uint32_t failedCancels = 0;
        uint32_t executedJobs = 0; ///< jobs whose start succeeded
        uint32_t failedExecutions = 0;
    };

    static UUID const& IID();

    /// For reports. The figures are those of one moment each.
    virtual void getExecutorDescription(Description& description) const = 0;

    /// Starts no further jobs until `resume`; one that runs goes on. A failure if the executor can't.
    virtual XCode suspend() = 0;

    virtual XCode resume() = 0;

    /// Makes a future of `job` and has it run; the executor holds what it needs of both. On a failure `future` is null.
    virtual XCode invokeJob(IJob* job, ZKPtr<IFuture>& future) = 0;

    /// For `IFuture::cancel`, which users call: keeps the future's job from running, or stops it. A failure if it has
    /// gone too far for that.
    virtual XCode cancel(IFuture* future, int signal) = 0;
};
}
