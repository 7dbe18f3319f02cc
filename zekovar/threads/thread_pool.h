#pragma once

#include "zekovar/threads/blocking_queue.h"
#include "zekovar/threads/thread.h"

#include <deque>
#include <list>
#include <pthread.h>
#include <vector>

class _ZKThreadPool;

/// A piece of work for a worker thread. `execute` of a derived class calls the base's at its end and doesn't touch the
/// task any more after it: the task's creator may be waiting for just that, and delete it.
class _ZKTask
{
public:
    _ZKTask() = default;

    _ZKTask(_ZKTask const&) = delete;
    _ZKTask& operator=(_ZKTask const&) = delete;

    virtual ~_ZKTask() = default;

    /// Runs on the worker's thread. The base forgets the barrier, if one is set, and blocks on it until all the others
    /// have come to it.
    virtual void execute();

    /// Where the base's `execute` waits, once; not owned. `XCODE_FAILURE` if a barrier is set already.
    XCode setBarrier(pthread_barrier_t* barrier);

private:
    friend class _ZKThreadPool;

    pthread_barrier_t* m_barrier = nullptr;
};

/// A thread that executes tasks one after the other, in the order in which it was given them.
///
/// Those of a pool are the pool's affair. A free worker belongs to its creator, who starts it; it owns its tasks and
/// deletes each one after its execution. Another thread than the worker's own destroys it:
///
///     _ZKWorkerThread worker;
///     if (XCode code = worker.start("sweeper"); code.isErr()) return code;
///     worker.whip(new Sweep(directory));
class _ZKWorkerThread : public ZKThread
{
public:
    /// A free worker without a name.
    _ZKWorkerThread();

    /// A worker named "WorkerThread" that tells `pool` the end of each task and leaves the tasks to their creators.
    explicit _ZKWorkerThread(_ZKThreadPool* pool);

    /// Blocks until a thread that runs has executed what it was given before. Tasks of a free worker that has ended
    /// earlier are deleted without being executed.
    ~_ZKWorkerThread() override;

    /// Appends a task, from any thread. Null ends the worker once it has executed what it was given before.
    void whip(_ZKTask* task);

    /// Executes tasks until it takes a null; always `XCODE_FAILURE`.
    XCode runThread() override;

private:
    friend class _ZKThreadPool;

    class Shift;

    bool returnToPool();

    ZKBlockingQueue<_ZKTask*> m_queue;
    _ZKThreadPool* m_pool;    // null for a free worker, and once the pool has let go of this one; under its mutex
    ZKSemaphore* m_endOfTask; // what a batch counts its ended tasks with, else null; set before `whip`
    bool const m_isFree;
    bool m_deletesItself; // at the end of its thread, as the pool has made it
};

/// Keeps worker threads for short tasks, and runs batches of tasks.
///
/// A task goes to an idle worker, or to a new one if all are busy, so that no task waits for another. Workers beyond
/// `limit` end themselves after their task. Every operation is safe from all threads, but for the destructor.
///
///     _ZKThreadPool pool(4);
///     pool.setup(4);
///     pool.setTask(&task); // the task lives until it was executed
///
/// A worker of a pool frees itself when its thread ends, also when a task ends it. Nobody else stops one: the pool may
/// be about to give it a task.
class _ZKThreadPool
{
public:
    /// `limit` is the number of workers that the pool shrinks to. It starts none.
    explicit _ZKThreadPool(unsigned int limit);

    /// Doesn't wait. Idle workers end at once; busy ones finish the task that they have, which stays with its creator.
    ~_ZKThreadPool();

    _ZKThreadPool(_ZKThreadPool const&) = delete;
    _ZKThreadPool& operator=(_ZKThreadPool const&) = delete;

    /// Starts `count` idle workers, also beyond the limit. `XCODE_FAILURE` for 0. The code of a thread that can't be
    /// started; those before it stay.
    XCode setup(unsigned int count);

    /// Gives a task, which isn't owned, to a worker and doesn't wait. `XCODE_FAILURE` for null, and the code of the
    /// failing step if a new worker can't be started: the task isn't taken then.
    XCode setTask(_ZKTask* task);

    /// Runs a batch and blocks, also against a cancellation, until `execute` of all tasks has returned. Each of them
    /// waits at its end for all others, on a worker of its own: so many threads must be possible at a time, which is a
    /// matter of memory and of the limits of process and system once it comes to thousands.
    ///
    /// `XCODE_FAILURE`, and no task runs, if not all workers can be started, or if a task is null, stands there twice
    /// or has a barrier. `XCODE_FAILURE` comes too, after all tasks have ended, when the caller was the last to arrive,
    /// as `pthread_barrier_wait` picks one thread to tell; so always for an empty batch.
    XCode setTasksAndWait(std::vector<_ZKTask*> tasks);

    /// For workers: `worker` has ended its task, and becomes idle or, beyond the limit, is stopped. `XCODE_FAILURE` if
    /// it isn't busy.
    XCode notifyEndOfTask(_ZKWorkerThread* worker);

private:
    friend class _ZKWorkerThread;

    enum class Place
    {
        UNKNOWN, // it wasn't busy here
        IDLE,
        OUTSIDE // there are enough others: it belongs to no pool any more
    };

    static ZKMutexPrivate& MUTEX();
    static bool RETURN_WORKER(_ZKWorkerThread* worker);
    static void FORGET_WORKER(_ZKWorkerThread* worker);
    static void DISMISS(std::vector<_ZKWorkerThread*> const& workers);
    static XCode SET_BARRIERS(std::vector<_ZKTask*> const& tasks, pthread_barrier_t* barrier);

    XCode createWorker(_ZKWorkerThread*& worker);
    XCode engageWorker(_ZKWorkerThread*& worker);
    Place takeBack(_ZKWorkerThread* worker);
    XCode distribute(std::vector<_ZKTask*> const& tasks, pthread_barrier_t* barrier, ZKSemaphore* endOfTask);

    std::deque<_ZKWorkerThread*> m_idle; // both lists under MUTEX
    std::list<_ZKWorkerThread*> m_busy;
    unsigned int m_limit;
};
