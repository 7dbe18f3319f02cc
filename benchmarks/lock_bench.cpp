#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/rw_lock.h"
#include "zekovar/threads/thread.h"

#include <benchmark/benchmark.h>
#include <condition_variable>
#include <mutex>
#include <shared_mutex>
#include <thread>

namespace
{
template <class T>
void lockAndUnlock(benchmark::State& state, T& lock)
{
    for (auto _ : state)
    {
        lock.lock();
        benchmark::ClobberMemory();
        lock.unlock();
    }
}

/// Runs a case on a thread of the library, where the bookkeeping has a thread to write to.
class CaseThread : public ZKThread
{
public:
    CaseThread(benchmark::State& state, void (*function)(benchmark::State&))
        : ZKThread("bench"), m_state(state), m_function(function)
    {
        start("");
        join();
    }

    XCode runThread() override
    {
        m_function(m_state);
        return XCODE_SUCCESS;
    }

private:
    benchmark::State& m_state;
    void (*m_function)(benchmark::State&);
};

template <void (*FUNCTION)(benchmark::State&)>
void onLibraryThread(benchmark::State& state)
{
    CaseThread(state, FUNCTION);
}

void pthreadMutex(benchmark::State& state)
{
    struct
    {
        void lock() { pthread_mutex_lock(&mutex); }

        void unlock() { pthread_mutex_unlock(&mutex); }

        pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    } lock;

    lockAndUnlock(state, lock);
}

void stdMutex(benchmark::State& state)
{
    std::mutex lock;
    lockAndUnlock(state, lock);
}

void privateMutex(benchmark::State& state)
{
    ZKMutexPrivate lock(false);
    lockAndUnlock(state, lock);
}

void trackedMutex(benchmark::State& state)
{
    ZKMutex lock(false);
    lockAndUnlock(state, lock);
}

void trackedReadLock(benchmark::State& state)
{
    ZKRWLock lock;
    lockAndUnlock(state, lock.getReadLock());
}

void trackedWriteLock(benchmark::State& state)
{
    ZKRWLock lock;
    lockAndUnlock(state, lock.getWriteLock());
}

void stdSharedMutex(benchmark::State& state)
{
    std::shared_mutex lock;
    lockAndUnlock(state, lock);
}

/// A turn passes to the other thread and back in each round.
template <class Wait, class Pass>
void passTurns(benchmark::State& state, Wait waitForTurn, Pass passTurn)
{
    bool isOver = false;
    std::thread other(
        [&]
        {
            for (bool isLast = false; !isLast;)
            {
                waitForTurn(1);
                isLast = isOver;
                passTurn(0);
            }
        });
    for (auto _ : state)
    {
        passTurn(1);
        waitForTurn(0);
    }
    isOver = true;
    passTurn(1);
    other.join();
}

void conditionHandOver(benchmark::State& state)
{
    ZKMutex mutex(false);
    ZKThreadCondition condition(mutex, ZK::Time::Source::MONOTONIC);
    int turn = 0;
    passTurns(
        state,
        [&](int self)
        {
            ZKAutoLock<ZKMutex> guard(mutex);
            while (turn != self)
                condition.wait();
        },
        [&](int next)
        {
            ZKAutoLock<ZKMutex> guard(mutex);
            turn = next;
            condition.signal();
        });
}

void stdConditionHandOver(benchmark::State& state)
{
    std::mutex mutex;
    std::condition_variable condition;
    int turn = 0;
    passTurns(
        state,
        [&](int self)
        {
            std::unique_lock guard(mutex);
            condition.wait(guard, [&] { return turn == self; });
        },
        [&](int next)
        {
            std::lock_guard guard(mutex);
            turn = next;
            condition.notify_one();
        });
}

void contendedTrackedMutex(benchmark::State& state)
{
    static ZKMutex s_lock(false);
    lockAndUnlock(state, s_lock);
}

void contendedStdMutex(benchmark::State& state)
{
    static std::mutex s_lock;
    lockAndUnlock(state, s_lock);
}

BENCHMARK(pthreadMutex)->Name("Lock/pthread_mutex");
BENCHMARK(stdMutex)->Name("Lock/std::mutex");
BENCHMARK(privateMutex)->Name("Lock/ZKMutexPrivate");
BENCHMARK(trackedMutex)->Name("Lock/ZKMutex/foreignThread");
BENCHMARK(onLibraryThread<trackedMutex>)->Name("Lock/ZKMutex");
BENCHMARK(stdSharedMutex)->Name("Lock/std::shared_mutex");
BENCHMARK(onLibraryThread<trackedReadLock>)->Name("Lock/ZKRWLock/read");
BENCHMARK(onLibraryThread<trackedWriteLock>)->Name("Lock/ZKRWLock/write");
BENCHMARK(contendedStdMutex)->Name("Lock/contended/std::mutex")->Threads(2)->UseRealTime();
BENCHMARK(contendedTrackedMutex)->Name("Lock/contended/ZKMutex")->Threads(2)->UseRealTime();
BENCHMARK(stdConditionHandOver)->Name("Condition/handOver/std")->UseRealTime();
BENCHMARK(conditionHandOver)->Name("Condition/handOver/ZKThreadCondition")->UseRealTime();
}
