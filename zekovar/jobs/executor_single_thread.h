#pragma once

#include "zekovar/foundation/list.h"
#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/executor_record.h"
#include "zekovar/jobs/unknown.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/mutex_private.h"
#include "zekovar/threads/semaphore.h"
#include "zekovar/threads/thread.h"

#include <atomic>

namespace ZK
{
/// Runs jobs one at a time, in order of invocation, on a thread of its own.
///
/// Safe from all threads. Futures hold a reference to their executor, so jobs that are pending when the maker drops its
/// own are still run, and the thread lives until the last future is gone. A suspended executor that only its pending jobs
/// hold counts as given up, even where somebody keeps their futures: the thread ends and lets go of them without running
/// them.
///
/// Destruction drops what is pending without running or marking it, and waits for a job in progress. But that job holds
/// the executor: whoever drops the last other reference doesn't wait, and the thread ends by itself right behind the job.
///
///     ZKPtr<ZK::IExecutor> executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("Backup")));
class CExecutorSingleThread final : public CInherit<CExecutorSingleThread, CObject, IExecutor>, private ZKThread
{
public:
    /// Starts the thread. If the system has none to give, every `invokeJob` fails.
    explicit CExecutorSingleThread(String const& name);
    ~CExecutorSingleThread() override;

    void getExecutorDescription(Description& description) const override;

    /// The thread takes no further job; one in progress goes on, and `invokeJob` goes on queueing.
    XCode suspend() override;

    XCode resume() override;

    /// Queues the job and returns; doesn't wait for it.
    XCode invokeJob(IJob* job, ZKPtr<IFuture>& future) override;

    /// Takes back what is still pending; the job is never started then. `XCODE_FAILURE` for a job that the thread has
    /// taken, which can't be stopped. The signal is of no use here.
    XCode cancel(IFuture* future, int signal) override;

    bool tryRelease() override;

private:
    using FutureList = ZKList<ZKPtr<IFuture>>;

    XCode runThread() override;
    bool runPendingJobs();
    void execute(IFuture* future);
    XCode enqueue(IJob* job, ZKPtr<IFuture>& future);
    ZKPtr<IFuture> takeFirst();
    bool erase(IFuture* future);
    void abandonPendingJobs();
    bool tryAddRef();

    Detail::ExecutorRecord m_record;
    ZKSemaphore m_semaphore;
    ZKMutex m_mutex;
    FutureList m_pending; // under m_mutex
    std::atomic<bool> m_exit;

    std::atomic<uint32_t> m_pendingCount; // written under m_mutex
    ZKMutexPrivate m_releaseMutex;        // references are dropped one at a time
};
}
