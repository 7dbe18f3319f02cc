#pragma once

#include "zekovar/events/event_prio.h"
#include "zekovar/jobs/executor.h"
#include "zekovar/jobs/executor_record.h"
#include "zekovar/jobs/unknown.h"
#include "zekovar/threads/mutex_private.h"

#include <array>

class ZKEventLoop;

namespace ZK
{
/// Runs jobs on a loop's thread, each as one event, in order of invocation among the events of its priority.
///
/// Safe from all threads. The loop outlives every call of `invokeJob`; all else works without it, because futures may
/// outlive it. What is queued on a loop that is destroyed isn't run, and its futures stay as they are.
///
/// The standard loops have one each:
///
///     IO::INSTANCE().getExecutor()->invokeJob(job.getObj(), future);
class CExecutorEventLoop final : public CInherit<CExecutorEventLoop, CObject, IExecutor>
{
public:
    CExecutorEventLoop(ZKEventLoop& eventLoop, EventPrio::Type priority);
    ~CExecutorEventLoop() override;

    void getExecutorDescription(Description& description) const override;

    /// Refused with "CANNOT SUSPEND EVENT LOOP": the loop has other work too.
    XCode suspend() override;

    /// Success, without effect.
    XCode resume() override;

    /// Posts the job and returns; doesn't block. What is under way holds the future until the job has started.
    XCode invokeJob(IJob* job, ZKPtr<IFuture>& future) override;

    /// Takes back what is still queued; the job is never started then. `XCODE_FAILURE` for a job that the loop has
    /// begun with: its thread can't be stopped. The signal is of no use here.
    XCode cancel(IFuture* future, int signal) override;

private:
    class JobEvent;

    static void ON_EVENT(void* event);

    XCode post(IJob* job, ZKPtr<IFuture>& future);
    void onEvent(IFuture* future);
    JobEvent*& newestOf(JobEvent const* event);
    void addPending(JobEvent* event);
    bool claim(JobEvent* event);
    ZKPtr<JobEvent> claimFor(IFuture* future);
    char const* loopName() const;

    Detail::ExecutorRecord m_record;
    ZKEventLoop& m_eventLoop;
    EventPrio::Type m_priority;

    ZKMutexPrivate m_mutex;
    std::array<JobEvent*, 64> m_pending; // the newest of each list, under m_mutex, as are the links of the events
};
}
