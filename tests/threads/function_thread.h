#pragma once

#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "zekovar/threads/thread.h"
#include "zekovar/threads/thread_supervisor.h"

#include <functional>
#include <gtest/gtest.h>
#include <sched.h>
#include <semaphore.h>

/// Runs a function on a thread of the library from the first, and waits for its end before it goes.
class FunctionThread : public ZKThread
{
public:
    explicit FunctionThread(std::function<void()> function, char const* name = "test")
        : ZKThread(name), m_function(std::move(function))
    {
        EXPECT_TRUE(start(""));
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

private:
    std::function<void()> m_function;
};

/// The reports of the threads that run at this moment.
inline ZKVector<ZKThreadSupervisor::Report> threadStatus()
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    ZKThreadSupervisor::INSTANCE().getStatus(reports);
    return reports;
}

/// Waits until the newest thread waits for such a lock, and gives the reports of that moment.
inline ZKVector<ZKThreadSupervisor::Report> statusOfWaiter(ZKLock::Type::Value type)
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    auto const isWaiting = [&]
    {
        reports = threadStatus();
        unsigned int const count = reports.size();
        return count > 0 && reports[count - 1].waiting.size() == 1 && reports[count - 1].waiting[0].type == type;
    };
    EXPECT_TRUE(eventually(isWaiting));
    return reports;
}

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
    Door() { sem_init(&m_semaphore, 0, 0); }

    ~Door() { sem_destroy(&m_semaphore); }

    Door(Door const&) = delete;

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
