#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/jobs/unknown.h"

namespace ZK
{
class IFuture;

/// Work that can be described and run, once for each future that it makes.
///
/// An executor decides on which thread `execute` runs. The descriptions are asked for from any thread, also while the
/// job runs, and while the register of jobs is locked: they answer from what doesn't change and call nothing that waits
/// or makes, drops or lists futures.
///
///     ZKPtr<ZK::IFuture> future;
///     if (XCode code = executor->invokeJob(job.getObj(), future); code.isErr()) return code;
///     return future->waitForCompletion();
class IJob : public IUnknown
{
public:
    static UUID const& IID();

    /// The text for logs and reports about the job.
    virtual String getJobDescription() const = 0;

    /// The tag that stands in brackets in the log lines of the job's futures.
    virtual String getShortJobDescription() const = 0;

    /// Makes the handle on one run of this job, in state `init`; null if it can't.
    virtual ZKPtr<IFuture> createFuture() = 0;

    /// Starts the work and reports every outcome through `IFuture::done`, at once or later, from any thread; work that
    /// goes on after the return holds a reference to the future. A failure means that nothing was started; it ends the
    /// future only if the job calls `done` for it too.
    virtual XCode execute(IFuture* future) = 0;
};
}
