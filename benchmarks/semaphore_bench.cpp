#include "zekovar/threads/semaphore.h"

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <mutex>
#include <semaphore.h>
#include <semaphore>
#include <thread>

namespace
{
class Tracked
{
public:
    void wait() { m_semaphore.wait(); }

    void signal() { m_semaphore.signal(); }

private:
    ZKSemaphore m_semaphore{0, 0x7FFFFFFF, ZK::Time::Source::REALTIME};
};

class Posix
{
public:
    Posix() { ::sem_init(&m_semaphore, 0, 0); }

    ~Posix() { ::sem_destroy(&m_semaphore); }

    void wait() { ::sem_wait(&m_semaphore); }

    void signal() { ::sem_post(&m_semaphore); }

private:
    sem_t m_semaphore;
};

class Standard
{
public:
    void wait() { m_semaphore.acquire(); }

    void signal() { m_semaphore.release(); }

private:
    std::counting_semaphore<> m_semaphore{0};
};

/// The same design as `ZKSemaphore`, without the bookkeeping of the lock report.
class MutexAndCondition
{
public:
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [this] { return m_current > 0; });
        m_current--;
    }

    void signal()
    {
        {
            std::lock_guard lock(m_mutex);
            m_current++;
        }
        m_condition.notify_one();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    int m_current = 0;
};

template <class Semaphore>
void semaphoreUncontended(benchmark::State& state)
{
    Semaphore semaphore;
    for (auto _ : state)
    {
        semaphore.signal();
        semaphore.wait();
    }
}

/// There and back between two threads.
template <class Semaphore>
void semaphoreHandOver(benchmark::State& state)
{
    Semaphore request;
    Semaphore reply;
    bool isOver = false;
    std::thread partner(
        [&]
        {
            for (request.wait(); !isOver; request.wait())
                reply.signal();
        });
    for (auto _ : state)
    {
        request.signal();
        reply.wait();
    }
    isOver = true;
    request.signal();
    partner.join();
}
}

BENCHMARK(semaphoreUncontended<Tracked>)->Name("Semaphore/signal and wait");
BENCHMARK(semaphoreUncontended<MutexAndCondition>)->Name("Semaphore/signal and wait, mutex and condition");
BENCHMARK(semaphoreUncontended<Posix>)->Name("Semaphore/signal and wait, sem_t");
BENCHMARK(semaphoreUncontended<Standard>)->Name("Semaphore/signal and wait, std::counting_semaphore");
BENCHMARK(semaphoreHandOver<Tracked>)->Name("Semaphore/hand-over")->UseRealTime();
BENCHMARK(semaphoreHandOver<MutexAndCondition>)->Name("Semaphore/hand-over, mutex and condition")->UseRealTime();
BENCHMARK(semaphoreHandOver<Posix>)->Name("Semaphore/hand-over, sem_t")->UseRealTime();
BENCHMARK(semaphoreHandOver<Standard>)->Name("Semaphore/hand-over, std::counting_semaphore")->UseRealTime();
