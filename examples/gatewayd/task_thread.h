#pragma once

#include "zekovar/zekovar.h"

#include <atomic>
#include <functional>
#include <list>

/// A named thread that runs one task at a time. Owned and used by one thread; the destructor waits for the task's end.
///
///     m_copier.run([call] { copy(); call.say("copied"); })
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

    bool isBusy() const { return m_isBusy; }

    XCode runThread() override
    {
        m_task();
        m_task = nullptr; // which may hold descriptors and sessions
        m_isBusy = false;
        return XCODE_SUCCESS;
    }

private:
    std::function<void()> m_task;
    std::atomic<bool> m_isBusy{false};
};

/// As many of them as there are tasks at a time, up to a limit. Owned and used by one thread; the destructor waits for all tasks.
class TaskThreads
{
public:
    static constexpr std::size_t MAX_COUNT = 16;

    explicit TaskThreads(String const& name) : m_name(name) {}

    /// Starts the task; the general failure while the most are busy.
    XCode run(std::function<void()> const& task)
    {
        for (TaskThread& thread : m_threads)
        {
            if (!thread.isBusy())
            {
                return thread.run(task);
            }
        }
        return m_threads.size() < MAX_COUNT ? m_threads.emplace_back(m_name).run(task) : XCODE_FAILURE;
    }

    void join()
    {
        for (TaskThread& thread : m_threads)
        {
            thread.join();
        }
    }

private:
    String const m_name;
    std::list<TaskThread> m_threads;
};
