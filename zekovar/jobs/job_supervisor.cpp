#include "zekovar/jobs/job_supervisor.h"

#include "zekovar/threads/auto_lock.h"

namespace ZK
{
JobSupervisor& JobSupervisor::INSTANCE()
{
    // never destroyed: static objects of a daemon may drop their futures while the process exits
    static JobSupervisor& s_instance = *new JobSupervisor;
    return s_instance;
}

JobSupervisor::JobSupervisor() : m_mutex(false), m_writeIndex(0), m_readIndex(0)
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
    m_futures.set(future, future);
}

void JobSupervisor::removeFuture(IFuture* future)
{
    if (future == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_futures.remove(future);
    record(String()); // the job's description comes with the interface of futures
}

void JobSupervisor::record(String const& text)
{
    m_history[m_writeIndex % HISTORY_SIZE] = text;
    m_writeIndex++;
    if (m_writeIndex - m_readIndex > HISTORY_SIZE)
        m_readIndex++;
}

void JobSupervisor::getJobHistory(ZKVector<String>& target)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    String const& text = m_history[m_writeIndex % HISTORY_SIZE];
    for (uint32_t i = m_readIndex; i != m_writeIndex; i++)
        target.add(String::stringOfFormat("%8u %s", i + 1, text.c_str()));
}
}
