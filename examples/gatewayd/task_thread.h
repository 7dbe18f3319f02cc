#pragma once

#include "zekovar/zekovar.h"

#include <atomic>
#include <functional>

/// A named thread that runs one task at a time. Owned and used by one thread; the destructor waits for the task's end.
///
///     m_copier.run([this] { copy(); m_copier.takeNext(); m_console.say("copied"); })
class TaskThread : public ZKThread
{
public:
    explicit TaskThread(String const& name) : ZKThread(name, nullptr) {}

    ~TaskThread() override { join(); }

    /// Starts the task; a failure comes back as a code, the general failure while an earlier task runs.
    XCode run(std::function<void()> task)
    {
        if (m_isBusy)
        {
            return XCODE_FAILURE;
        }
        join();
        m_task = std::move(task);
        m_isBusy = true;
        XCode code = start("");
        if (code.isErr())
        {
            m_isBusy = false;
        }
        return code;
    }

    /// By the task, before it tells its result: whoever reads that has the next task taken.
    void takeNext() { m_isBusy = false; }

    bool isBusy() const { return m_isBusy; }

    XCode runThread() override
    {
        m_task();
        m_isBusy = false;
        return XCODE_SUCCESS;
    }

private:
    std::function<void()> m_task;
    std::atomic<bool> m_isBusy{false};
};
