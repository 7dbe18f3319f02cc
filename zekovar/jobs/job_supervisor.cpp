#include "zekovar/jobs/job_supervisor.h"

#include "zekovar/jobs/cfuture.h"
#include "zekovar/jobs/executor_record.h"
#include "zekovar/threads/auto_lock.h"

#include <utility>

namespace ZK
{
namespace
{
// A queue of jobs may well be some thousands long. No power of two: futures lie a multiple of the allocator's step apart,
// and would share a few of the buckets then.
constexpr unsigned int FUTURE_BUCKETS = 1021;
}

JobSupervisor& JobSupervisor::INSTANCE()
{
    // never destroyed: static objects of a daemon may drop their futures while the process exits
    static JobSupervisor& s_instance = *new JobSupervisor;
    return s_instance;
}

JobSupervisor::JobSupervisor() : m_mutex(false), m_futures(FUTURE_BUCKETS), m_writeIndex(0), m_readIndex(0)
{
}

void JobSupervisor::addExecutor(IExecutor* executor)
{
    if (executor == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_executors.set(executor, executor);
}

void JobSupervisor::removeExecutor(IExecutor* executor)
{
    if (executor == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_executors.remove(executor);
}

void JobSupervisor::addFuture(IFuture* future)
{
    if (future == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    if (!m_futures.contains(future))
        m_futures.add(future, {future, nullptr});
}

void JobSupervisor::addUnfinished(CFuture* future)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_futures.add(static_cast<IFuture*>(future), {future, future}); // it is new, so it isn't here yet
}

void JobSupervisor::removeFuture(IFuture* future)
{
    if (future != nullptr)
        remove(future, Detail::descriptionOf(future));
}

void JobSupervisor::remove(IFuture* future, String description)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_futures.remove(future);
    std::swap(m_history[m_writeIndex % HISTORY_SIZE], description); // the one before goes without the lock
    m_writeIndex++;
    if (m_writeIndex - m_readIndex > HISTORY_SIZE)
        m_readIndex++;
}

ZKVector<IExecutor::Description> JobSupervisor::getExecutorDescriptions(ZKVector<IExecutor::Description>& target)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    target.enlarge(target.size() + m_executors.size());
    for (auto const& entry : m_executors)
    {
        IExecutor::Description description;
        entry.value()->getExecutorDescription(description);
        target.add(std::move(description));
    }
    return target;
}

ZKVector<IFuture::Description> JobSupervisor::getFutureDescriptions(ZKVector<IFuture::Description>& target)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    target.enlarge(target.size() + m_futures.size());
    for (auto const& entry : m_futures)
    {
        IFuture::Description description;
        if (CFuture const* unfinished = entry.value().unfinished)
            unfinished->CFuture::getFutureDescription(description);
        else
            entry.value().future->getFutureDescription(description);
        target.add(std::move(description));
    }
    return target;
}

void JobSupervisor::getJobHistory(ZKVector<String>& target)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    String const& text = m_history[m_writeIndex % HISTORY_SIZE];
    for (uint32_t i = m_readIndex; i != m_writeIndex; i++)
        target.add(String::stringOfFormat("%8u %s", i + 1, text.c_str()));
}
}
