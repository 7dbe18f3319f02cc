#pragma once

#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/executor_record.h"
#include "zekovar/jobs/unknown.h"

namespace ZK
{
/// Runs each job at once on the thread that invokes it, under whatever locks that thread holds.
///
/// Safe from all threads; jobs that several threads invoke run side by side.
///
///     ZKPtr<ZK::IExecutor> executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate()));
class CExecutorImmediate final : public CInherit<CExecutorImmediate, CObject, IExecutor>
{
public:
    CExecutorImmediate();
    ~CExecutorImmediate() override;

    void getExecutorDescription(Description& description) const override;

    /// From here on `invokeJob` fails with "EXECUTOR IS SUSPENDED".
    XCode suspend() override;

    XCode resume() override;

    /// Returns when the job has started, which for one that works in its `execute` is when it has ended. The code of
    /// the job's `execute` if that fails; its future isn't handed out then.
    XCode invokeJob(IJob* job, ZKPtr<IFuture>& future) override;

    /// Always succeeds: what still goes on of a job isn't the executor's to stop.
    XCode cancel(IFuture* future, int signal) override;

private:
    XCode prepare(IJob* job, ZKPtr<IFuture>& future);
    XCode execute(IJob* job, IFuture& future);

    Detail::ExecutorRecord m_record;
};
}
