#pragma once

#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/thread.h"

#include <functional>
#include <semaphore.h>

/// Runs a function on a thread of the library, and waits for its end before it goes.
class FunctionThread : public ZKThread
{
public:
    explicit FunctionThread(std::function<void()> function, char const* name = "test")
        : ZKThread(name), m_function(std::move(function))
    {
    }

    ~FunctionThread() override
    {
        join();
        while (isAlive()) // a detached thread
            SLEEP(1);
    }

    XCode runThread() override
    {
        m_function();
        return XCODE_SUCCESS;
    }

    /// Starts and joins.
    void run()
    {
        start("");
        join();
    }

private:
    std::function<void()> m_function;
};

/// Sleeps until the thread is cancelled, where the thread sanitizer can follow the cancellation.
inline void sleepUntilCancelled()
{
    ZKMutex mutex(false);
    ZKThreadCondition condition(mutex, ZK::Time::Source::MONOTONIC);
    ZKAutoLock<ZKMutex> guard(mutex);
    for (;;)
        condition.wait();
}

/// A door that a test opens once for each one who waits. Its wait lets signals through under every sanitizer.
class Door
{
public:
    explicit Door(unsigned int open) { sem_init(&m_semaphore, 0, open); }

    ~Door() { sem_destroy(&m_semaphore); }

    Door(Door const&) = delete;
    Door& operator=(Door const&) = delete;

    void release() { sem_post(&m_semaphore); }

    void acquire()
    {
        while (sem_wait(&m_semaphore) != 0)
        {
        }
    }

private:
    sem_t m_semaphore;
};
