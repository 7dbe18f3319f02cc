#pragma once

#include "zekovar/threads/thread.h"

#include <functional>
#include <sched.h>
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

/// Runs until the thread is cancelled, without a system call that the cancellation would have to interrupt: sanitizers
/// and emulators can't follow that.
[[noreturn]] inline void spinUntilCancelled()
{
    for (;;)
    {
        pthread_testcancel();
        sched_yield();
    }
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
