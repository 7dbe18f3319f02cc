#include "zekovar/jobs/executor_event_loop.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/jobs/job_supervisor.h"
#include "zekovar/threads/auto_lock.h"

#include <csignal>

using ZK::Detail::descriptionOf;
using ZK::Detail::ExecutorRecord;

namespace ZK
{
namespace
{
constexpr char NAME_FORMAT[] = "Event Loop %s";
constexpr unsigned int PREFIX_LENGTH = 11; // of that format
}

/// The event of one run. It stands in a list of the executor until the loop or a canceller takes it out, each of whom can
/// rely on being the only one then. The queue's reference keeps it as long as it stands there.
class CExecutorEventLoop::JobEvent final : public ZKEvent
{
public:
    JobEvent(CExecutorEventLoop& owner, IFuture* jobFuture)
        : ZKEvent(owner.m_eventLoop, owner.m_priority, &ON_EVENT, this), executor(&owner), future(jobFuture)
    {
    }

    /// Also called for what is left when the loop is destroyed; the event is cancelled then.
    void process() override
    {
        if (!executor->claim(this))
            cancel(); // whoever claimed it before is just about to
        ZKEvent::process();
    }

    void linkInto(JobEvent*& newest)
    {
        m_older = newest;
        if (m_older != nullptr)
            m_older->m_place = &m_older;
        newest = this;
        m_place = &newest;
    }

    /// False if it isn't in a list any more.
    bool unlink()
    {
        if (m_place == nullptr)
            return false;
        *m_place = m_older;
        if (m_older != nullptr)
            m_older->m_place = m_place;
        m_place = nullptr;
        return true;
    }

    JobEvent* getOlder() const { return m_older; }

    ZKPtr<CExecutorEventLoop> const executor; // not the future's, which a cancel clears
    ZKPtr<IFuture> const future;              // not the raw pointer: the caller may have dropped it

private:
    JobEvent* m_older = nullptr;
    JobEvent** m_place = nullptr; // what points to this event; null while it is in no list
};

CExecutorEventLoop::CExecutorEventLoop(ZKEventLoop& eventLoop, EventPrio::Type priority)
    : m_record(this, String::stringOfFormat(NAME_FORMAT, eventLoop.getName().c_str())),
      m_eventLoop(eventLoop),
      m_priority(priority),
      m_mutex(false),
      m_pending{}
{
    JobSupervisor::INSTANCE().addExecutor(this);
}

CExecutorEventLoop::~CExecutorEventLoop()
{
    JobSupervisor::INSTANCE().removeExecutor(this);
}

/// The loop's name, which serves when the loop is gone.
char const* CExecutorEventLoop::loopName() const
{
    return m_record.name.c_str() + PREFIX_LENGTH;
}

void CExecutorEventLoop::getExecutorDescription(Description& description) const
{
    m_record.describe(description);
}

XCode CExecutorEventLoop::suspend()
{
    RTD::error(MON_JOB, "[%s] FAILED TO SUSPEND EXECUTOR", loopName());
    XCode code(XCODE_FAILURE);
    code.setString("CANNOT SUSPEND EVENT LOOP");
    return code;
}

XCode CExecutorEventLoop::resume()
{
    return XCODE_SUCCESS;
}

XCode CExecutorEventLoop::invokeJob(IJob* job, ZKPtr<IFuture>& future)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Invoking job: %s", loopName(), descriptionOf(job).c_str());
    XCode code = post(job, future);
    if (code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO INVOKE JOB: %s", loopName(), descriptionOf(job).c_str());
        ExecutorRecord::COUNT(m_record.failedInvocations);
        future = nullptr;
        return code;
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Successfully invoked job: %s", loopName(), descriptionOf(job).c_str());
    ExecutorRecord::COUNT(m_record.invokedJobs);
    return code;
}

XCode CExecutorEventLoop::post(IJob* job, ZKPtr<IFuture>& future)
{
    XCode code = Detail::createFuture(job, future);
    if (code.isErr())
        return code;
    ZKPtr<JobEvent> const event(MovePtr<JobEvent>(new JobEvent(*this, future.getObj())));
    addPending(event.getObj());
    IFuture& run = *event->future;
    run.invoked(this, event.getObj());
    code = event->set();
    if (code.isErr())
    {
        (void)run.cancel(SIGTERM);
        claim(event.getObj());
    }
    return code;
}

void CExecutorEventLoop::ON_EVENT(void* argument)
{
    auto* const event = static_cast<JobEvent*>(argument);
    event->executor.getObj()->onEvent(event->future.getObj());
}

void CExecutorEventLoop::onEvent(IFuture* future)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Executing job: %s", loopName(), descriptionOf(future).c_str());
    XCode const code = future->execute();
    if (code.isErr())
    {
        RTD::error(MON_JOB, "[%s] FAILED TO EXECUTE JOB: %s: %s", loopName(), descriptionOf(future).c_str(),
                   code.toString().c_str());
        ExecutorRecord::COUNT(m_record.failedExecutions);
        return;
    }
    RTD_DEBUG(MON_JOB, 1, "[%s] Successfully executed job: %s", loopName(), descriptionOf(future).c_str());
    ExecutorRecord::COUNT(m_record.executedJobs);
}

/// Where the list of the event begins: by address, so that it can be told for one that is long gone as well. Several
/// short lists are searched faster by a canceller than one.
CExecutorEventLoop::JobEvent*& CExecutorEventLoop::newestOf(JobEvent const* event)
{
    return m_pending[reinterpret_cast<uintptr_t>(event) / sizeof(JobEvent) % m_pending.size()];
}

void CExecutorEventLoop::addPending(JobEvent* event)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    event->linkInto(newestOf(event));
}

/// Takes the event out; false if somebody else did.
bool CExecutorEventLoop::claim(JobEvent* event)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return event->unlink();
}

/// As above, for the event that the future has as private data; null if it isn't pending. It may be long gone, so it is
/// looked at only once it is found.
ZKPtr<CExecutorEventLoop::JobEvent> CExecutorEventLoop::claimFor(IFuture* future)
{
    auto const* const wanted = static_cast<JobEvent*>(future->getExecutorPrivateData());
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    JobEvent* event = newestOf(wanted);
    while (event != nullptr && event != wanted)
        event = event->getOlder();
    if (event == nullptr || !(event->future == future))
        return {};
    event->unlink();
    return event;
}

XCode CExecutorEventLoop::cancel(IFuture* future, int)
{
    RTD_DEBUG(MON_JOB, 1, "[%s] Canceling job: %s", loopName(), descriptionOf(future).c_str());
    ZKPtr<JobEvent> const event = future != nullptr ? claimFor(future) : ZKPtr<JobEvent>();
    if (!event)
    {
        RTD::error(MON_JOB, "[%s] FAILED TO CANCEL JOB: %s", loopName(), descriptionOf(future).c_str());
        ExecutorRecord::COUNT(m_record.failedCancels);
        return XCODE_FAILURE;
    }
    event->cancel();
    RTD_DEBUG(MON_JOB, 1, "[%s] Cancelled job: %s", loopName(), descriptionOf(future).c_str());
    ExecutorRecord::COUNT(m_record.cancelledJobs);
    return XCODE_SUCCESS;
}
}
