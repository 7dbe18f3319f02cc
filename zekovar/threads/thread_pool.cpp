#include "zekovar/threads/thread_pool.h"

#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/thread_supervisor.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace
{
using Guard = ZKAutoLock<ZKMutexPrivate>;
}

void _ZKTask::execute()
{
    pthread_barrier_t* const barrier = m_barrier;
    if (barrier == nullptr) // several workers may execute one task at a time then
        return;
    m_barrier = nullptr; // the task may be gone behind the barrier
    pthread_barrier_wait(barrier);
}

XCode _ZKTask::setBarrier(pthread_barrier_t* barrier)
{
    if (m_barrier != nullptr)
        return XCODE_FAILURE;
    m_barrier = barrier;
    return XCODE_SUCCESS;
}

/// The time that a worker's thread works. When it ends, also by a cancellation, a worker of a pool is freed.
class _ZKWorkerThread::Shift
{
public:
    explicit Shift(_ZKWorkerThread* worker) : m_worker(worker) {}

    ~Shift()
    {
        if (!m_worker->m_deletesItself)
            return;
        ZK::Detail::NoCancellation const noCancellation;
        _ZKThreadPool::FORGET_WORKER(m_worker);
        ZKThreadSupervisor::INSTANCE().removeThread(m_worker); // a report calls virtual operations
        delete m_worker;
    }

    Shift(Shift const&) = delete;
    Shift& operator=(Shift const&) = delete;

private:
    _ZKWorkerThread* m_worker;
};

_ZKWorkerThread::_ZKWorkerThread()
    : ZKThread(""), m_pool(nullptr), m_endOfTask(nullptr), m_isFree(true), m_deletesItself(false)
{
}

_ZKWorkerThread::_ZKWorkerThread(_ZKThreadPool* pool)
    : ZKThread("WorkerThread"), m_pool(pool), m_endOfTask(nullptr), m_isFree(pool == nullptr), m_deletesItself(false)
{
}

_ZKWorkerThread::~_ZKWorkerThread()
{
    ZK::Detail::NoCancellation const noCancellation;
    if (!CURRENT_HAS_ID(ZKThread::getId()))
    {
        whip(nullptr);
        ZKThread::join();
        while (ZKThread::isAlive()) // a detached thread
            SLEEP(1);
    }
    for (_ZKTask* task = nullptr; m_isFree && m_queue.take(task);)
        delete task;
}

void _ZKWorkerThread::whip(_ZKTask* task)
{
    m_queue.push(task);
}

XCode _ZKWorkerThread::runThread()
{
    Shift const shift(this);
    for (;;)
    {
        m_queue.wait();
        _ZKTask* task = nullptr;
        if (!m_queue.take(task))
            continue;
        if (task == nullptr)
            return XCODE_FAILURE;
        if (m_isFree)
        {
            std::unique_ptr<_ZKTask> const owner(task);
            task->execute();
            continue;
        }
        task->execute();
        if (!returnToPool())
            return XCODE_FAILURE;
    }
}

/// False if the worker isn't needed any more. Its own `stop` usually ends the thread in here.
bool _ZKWorkerThread::returnToPool()
{
    ZKSemaphore* const endOfTask = std::exchange(m_endOfTask, nullptr); // the pool may set the next one at once
    bool const isNeeded = _ZKThreadPool::RETURN_WORKER(this);
    if (endOfTask != nullptr)
        endOfTask->signal();
    if (isNeeded)
        return true;
    stop();
    pthread_testcancel();
    return false;
}

_ZKThreadPool::_ZKThreadPool(unsigned int limit) : m_limit(limit)
{
}

_ZKThreadPool::~_ZKThreadPool()
{
    {
        Guard guard(MUTEX());
        for (_ZKWorkerThread* worker : m_busy)
            worker->m_pool = nullptr;
        for (_ZKWorkerThread* worker : m_idle)
            worker->m_pool = nullptr;
    }
    for (_ZKWorkerThread* worker : m_idle)
        worker->whip(nullptr);
}

/// One for all pools, as a worker may end its task just when its pool goes. Never destroyed: workers may still run while
/// the process exits.
ZKMutexPrivate& _ZKThreadPool::MUTEX()
{
    static ZKMutexPrivate& s_mutex = *new ZKMutexPrivate(false);
    return s_mutex;
}

XCode _ZKThreadPool::createWorker(_ZKWorkerThread*& worker)
{
    auto created = std::make_unique<_ZKWorkerThread>(this);
    created->m_deletesItself = true;
    XCode const code = created->start("");
    if (code.isSuccess())
        worker = created.release();
    return code;
}

/// A worker that is busy from now on, an idle one if there is any.
XCode _ZKThreadPool::engageWorker(_ZKWorkerThread*& worker)
{
    {
        Guard guard(MUTEX());
        if (!m_idle.empty())
        {
            worker = m_idle.front();
            m_busy.push_back(worker);
            m_idle.pop_front();
            return XCODE_SUCCESS;
        }
    }
    if (XCode const code = createWorker(worker); code.isErr())
        return code;
    Guard guard(MUTEX());
    m_busy.push_back(worker);
    return XCODE_SUCCESS;
}

XCode _ZKThreadPool::setup(unsigned int count)
{
    if (count == 0)
        return XCODE_FAILURE;
    for (; count != 0; count--)
    {
        _ZKWorkerThread* worker = nullptr;
        if (XCode const code = createWorker(worker); code.isErr())
            return code;
        Guard guard(MUTEX());
        m_idle.push_back(worker);
    }
    return XCODE_SUCCESS;
}

XCode _ZKThreadPool::setTask(_ZKTask* task)
{
    if (task == nullptr)
        return XCODE_FAILURE;
    _ZKWorkerThread* worker = nullptr;
    if (XCode const code = engageWorker(worker); code.isErr())
        return code;
    worker->whip(task);
    return XCODE_SUCCESS;
}

XCode _ZKThreadPool::setTasksAndWait(std::vector<_ZKTask*> tasks)
{
    ZK::Detail::NoCancellation const noCancellation; // the workers use what stands on this stack
    ZKSemaphore endOfTask(0, 0x7FFFFFFF, ZK::Time::Source::REALTIME);
    pthread_barrier_t barrier;
    if (pthread_barrier_init(&barrier, nullptr, static_cast<unsigned int>(tasks.size() + 1)) != 0)
        return XCODE_FAILURE;
    XCode code = distribute(tasks, &barrier, &endOfTask);
    if (code.isSuccess())
    {
        // also PTHREAD_BARRIER_SERIAL_THREAD, which tells one of the threads that it was the last
        if (pthread_barrier_wait(&barrier) != 0)
            code = XCODE_FAILURE;
        for (std::size_t i = 0; i < tasks.size(); i++)
            endOfTask.wait();
    }
    pthread_barrier_destroy(&barrier);
    return code;
}

/// Gives each task to a worker of its own, or none to any: tasks that are too few wait at their barrier for ever.
XCode _ZKThreadPool::distribute(std::vector<_ZKTask*> const& tasks, pthread_barrier_t* barrier, ZKSemaphore* endOfTask)
{
    std::vector<_ZKWorkerThread*> workers;
    workers.reserve(tasks.size());
    for (_ZKWorkerThread* worker = nullptr; workers.size() < tasks.size() && engageWorker(worker).isSuccess();)
        workers.push_back(worker);
    if (workers.size() < tasks.size() || SET_BARRIERS(tasks, barrier).isErr())
    {
        DISMISS(workers);
        return XCODE_FAILURE;
    }
    for (std::size_t i = 0; i < tasks.size(); i++)
    {
        workers[i]->m_endOfTask = endOfTask;
        workers[i]->whip(tasks[i]);
    }
    return XCODE_SUCCESS;
}

/// On a failure no task has the barrier.
XCode _ZKThreadPool::SET_BARRIERS(std::vector<_ZKTask*> const& tasks, pthread_barrier_t* barrier)
{
    auto const refusing =
        std::find_if(tasks.begin(), tasks.end(),
                     [barrier](_ZKTask* task) { return task == nullptr || task->setBarrier(barrier).isErr(); });
    if (refusing == tasks.end())
        return XCODE_SUCCESS;
    std::for_each(tasks.begin(), refusing, [](_ZKTask* task) { task->m_barrier = nullptr; });
    return XCODE_FAILURE;
}

/// For engaged workers that were given no task.
void _ZKThreadPool::DISMISS(std::vector<_ZKWorkerThread*> const& workers)
{
    for (_ZKWorkerThread* worker : workers)
    {
        if (!RETURN_WORKER(worker))
            worker->whip(nullptr);
    }
}

XCode _ZKThreadPool::notifyEndOfTask(_ZKWorkerThread* worker)
{
    Place place = Place::UNKNOWN;
    {
        Guard guard(MUTEX());
        place = takeBack(worker);
    }
    if (place == Place::OUTSIDE)
        worker->stop();
    return place != Place::UNKNOWN ? XCODE_SUCCESS : XCODE_FAILURE;
}

/// Finds the place of a worker that has ended its task. With MUTEX held.
_ZKThreadPool::Place _ZKThreadPool::takeBack(_ZKWorkerThread* worker)
{
    auto const position = std::find(m_busy.begin(), m_busy.end(), worker);
    if (position == m_busy.end())
        return Place::UNKNOWN;
    bool const isNeeded = m_idle.size() + m_busy.size() <= m_limit; // itself included
    m_busy.erase(position);
    if (isNeeded)
    {
        m_idle.push_back(worker);
        return Place::IDLE;
    }
    worker->m_pool = nullptr;
    return Place::OUTSIDE;
}

/// Takes a worker back to its pool. False if it belongs to no pool afterwards.
bool _ZKThreadPool::RETURN_WORKER(_ZKWorkerThread* worker)
{
    Guard guard(MUTEX()); // a pool that is there now can't go meanwhile
    return worker->m_pool != nullptr && worker->m_pool->takeBack(worker) != Place::OUTSIDE;
}

/// For a worker whose thread ends: usually no pool knows it any more.
void _ZKThreadPool::FORGET_WORKER(_ZKWorkerThread* worker)
{
    Guard guard(MUTEX());
    if (worker->m_pool == nullptr)
        return;
    std::erase(worker->m_pool->m_idle, worker);
    worker->m_pool->m_busy.remove(worker);
}
