#include "zekovar/events/synchronized.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_queue.h"
#include "zekovar/threads/thread.h"

#include <algorithm>
#include <syslog.h>

ZKThreadAttributeSynchronized* ZKThreadAttributeSynchronized::CURRENT()
{
    return static_cast<ZKThreadAttributeSynchronized*>(s_attributeType.get());
}

ZKThreadAttributeSynchronized::ZKThreadAttributeSynchronized()
    : ZKThreadAttribute(s_attributeType), m_threads{}, m_count(0)
{
}

void ZKThreadAttributeSynchronized::clearThreads()
{
    m_count = 0;
    m_unlisted.clear();
}

XCode ZKThreadAttributeSynchronized::pushThread(unsigned long id)
{
    if (m_count == CAPACITY)
        return XCODE_FAILURE;
    m_threads[m_count++] = id;
    return XCODE_SUCCESS;
}

unsigned long ZKThreadAttributeSynchronized::popThread()
{
    return m_count != 0 ? m_threads[--m_count] : 0;
}

bool ZKThreadAttributeSynchronized::containsThread(unsigned long id) const
{
    return std::find(m_threads, m_threads + m_count, id) != m_threads + m_count;
}

unsigned long ZKThreadAttributeSynchronized::getThread(unsigned int index) const
{
    return index < m_count ? m_threads[index] : 0;
}

bool ZKThreadAttributeSynchronized::isStopped(unsigned long id) const
{
    return containsThread(id) || std::find(m_unlisted.begin(), m_unlisted.end(), id) != m_unlisted.end();
}

bool ZKThreadAttributeSynchronized::hasLevel(unsigned long id) const
{
    auto const* const end = m_threads + m_count;
    return std::find(std::min(m_threads + 1, end), end, id) != end ||
           std::find(m_unlisted.begin(), m_unlisted.end(), id) != m_unlisted.end();
}

void ZKThreadAttributeSynchronized::enterLevel(unsigned long id)
{
    if (pushThread(id).isErr())
        m_unlisted.push_back(id);
}

void ZKThreadAttributeSynchronized::leaveLevel(unsigned long id)
{
    if (auto const level = std::find(m_unlisted.begin(), m_unlisted.end(), id); level != m_unlisted.end())
    {
        m_unlisted.erase(level);
        return;
    }
    // not always the last entry: loops may be let go in the order in which they were stopped
    auto* const end = m_threads + m_count;
    auto* const level = std::find_end(m_threads, end, &id, &id + 1);
    std::copy(level + 1, end, level);
    m_count--;
}

bool isCurrentThreadSynchronizedTo(unsigned long threadId)
{
    if (ZKThread::CURRENT_HAS_ID(threadId))
        return true;
    ZKThreadAttributeSynchronized const* list = ZKThreadAttributeSynchronized::CURRENT();
    return list != nullptr && list->containsThread(threadId);
}

bool isCurrentThreadSynchronizedTo(ZKThread const& thread)
{
    return isCurrentThreadSynchronizedTo(thread.getId());
}

bool isCurrentThreadSynchronizedTo(String const& threadName)
{
    // The thread is only compared, never touched: unless this one has stopped it, it may be going just now.
    ZKThread const* const thread = ZKThread::GET_BY_NAME(threadName);
    if (thread == nullptr || thread == ZKThread::CURRENT())
        return thread != nullptr;
    ZKVector<unsigned long> ids;
    getCurrentThreadSynchornization(ids);
    return std::any_of(ids.begin(), ids.end(),
                       [thread](unsigned long id) { return ZKThread::GET_BY_ID(id) == thread; });
}

bool isCurrentThreadSynchronizedTo(ZKEventLoop const& loop)
{
    return isCurrentThreadSynchronizedTo(loop.getThread());
}

bool isCurrentThreadSynchronizedTo(ZKEventQueue const& queue)
{
    return isCurrentThreadSynchronizedTo(queue.getLoop());
}

String getThreadName(unsigned long threadId)
{
    return ZKThread::NAME_BY_ID(threadId);
}

String getThreadName(ZKThread const& thread)
{
    return thread.getName();
}

String getThreadName(String const& threadName)
{
    return threadName;
}

String getThreadName(ZKEventLoop const& loop)
{
    return getThreadName(loop.getThread());
}

String getThreadName(ZKEventQueue const& queue)
{
    return getThreadName(queue.getLoop());
}

void getCurrentThreadSynchornization(ZKVector<unsigned long>& threadIds)
{
    threadIds.clear();
    ZKThreadAttributeSynchronized const* list = ZKThreadAttributeSynchronized::CURRENT();
    if (list == nullptr)
        return;
    for (unsigned int i = 0; i < list->count(); i++)
        threadIds.add(list->getThread(i));
}

void printCurrentSynchronizationToSyslog(int priority)
{
    ZKVector<unsigned long> threadIds;
    getCurrentThreadSynchornization(threadIds);
    ZKVector<String> names;
    for (unsigned int i = 0; i < threadIds.size(); i++)
        names.add(getThreadName(threadIds[i]));
    syslog(priority, "Current Thread %s is synchronized to %s", ZKThread::CURRENT_NAME().c_str(),
           String::join(names, ", ").c_str());
}
