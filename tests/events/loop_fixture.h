#pragma once

#include "tests/eventually.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"

#include <functional>
#include <utility>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__powerpc__)
constexpr int SLOWER = 10; // sanitizers and the emulated target take ten times as long and more
#else
constexpr int SLOWER = 1;
#endif

/// To be called before descriptors run out: a sanitizer needs one when it meets a class for the first time, and the lines
/// of failures are the first to meet a pointer to a monitor.
inline void meetPointerOfLines()
{
    (void)RTD::REPOSITORY::GET_MONITOR(MON_SYSTEM);
}

/// A loop with ticks of 100 ms and 1 s.
class TestLoop : public ZKEventLoop
{
public:
    TestLoop() : ZKEventLoop("Test", 0, 100, 1000, 10000, 0) {}

    ~TestLoop() override { stop(); }

    bool isIdle() const
    {
        for (auto const priority : {EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW})
        {
            ZKEventQueue::Statistics statistics;
            getQueue(priority).getStatistics(statistics);
            if (statistics.processed != statistics.added)
                return false;
        }
        return true;
    }

    /// Starts the loop, if need be, and returns when all that was posted is handled.
    bool handleAll()
    {
        start();
        return eventually([this] { return isIdle(); });
    }
};

/// An event whose handler is a lambda.
class Task
{
public:
    Task(ZKEventLoop& loop, EventPrio::Type priority, std::function<void()> body)
        : m_body(std::move(body)), m_event(new ZKEvent(loop, priority, &RUN, this))
    {
    }

    Task(Task const&) = delete;
    Task& operator=(Task const&) = delete;

    ~Task() { m_event->destroy(); }

    ZKEvent* operator->() const { return m_event; }

private:
    static void RUN(void* task) { static_cast<Task*>(task)->m_body(); }

    std::function<void()> m_body;
    ZKEvent* m_event;
};
