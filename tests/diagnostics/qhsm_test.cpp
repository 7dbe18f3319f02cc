#include "tests/captured_syslog.h"
#include "tests/events/loop_fixture.h"
#include "zekovar/diagnostics/qhsm.h"
#include "zekovar/diagnostics/repository.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>

namespace
{
enum : uint16_t
{
    KEEP = Q_USER_SIG,
    FREE,
    LOOK,
    UNKNOWN
};

/// Another class of events.
struct OtherEvent : QEvent
{
    using QEvent::QEvent;
};

/// Keeps KEEP for later while it is busy, and counts it otherwise.
struct Worker : ZK::QHsmDispatchAsync
{
    Worker(ZKEventLoop& loop, RTD::Monitor* monitor, unsigned int maxDeferred, bool isBusy)
        : QHsmDispatchAsync(&BEGIN, monitor, 2, maxDeferred, loop, EventPrio::NORMAL), busy(isBusy)
    {
        init(nullptr);
    }

    char const* getEventName(unsigned short signal) override { return signal == KEEP ? "keep" : EVENT_NAME(signal); }

    char const* getStateName(QStateHandler state) override { return state == &WORK ? "work" : "?"; }

    char const* getLogPrefix() override { return "w"; }

    static unsigned char BEGIN(void* machine, QEvent const*) { return of(machine)->transitionTo(&WORK); }

    static unsigned char WORK(void* machine, QEvent const* event) { return of(machine)->serve(event); }

    static Worker* of(void* machine) { return static_cast<Worker*>(static_cast<QHsm*>(machine)); }

    unsigned char serve(QEvent const* event)
    {
        if (event->sig == FREE)
        {
            busy = false;
            recalled = recall();
            return transitionTo(&WORK);
        }
        if (event->sig != KEEP)
            return event->sig == LOOK ? static_cast<unsigned char>(Q_HANDLED_NO_ACTION) : superstate(&QHsm::top);
        if (busy)
            defer(event, event->userByte1 == 1);
        else
            kept++;
        return Q_HANDLED;
    }

    void run(uint16_t signal, uint8_t unique = 0) { QHsm::dispatch(std::make_unique<QEvent>(signal, unique).get()); }

    using QHsmRtd::m_logAlways;
    bool busy;
    std::atomic<int> kept{0};
    XCode recalled;
};

class MonitoredMachine : public testing::Test
{
protected:
    /// What was written, without the prompts.
    std::string lines() const
    {
        std::string text;
        for (std::string const& line : m_syslog.lines())
            text += line.substr(0, 1) + line.substr(line.find(" # ") + 2);
        return text;
    }

    CapturedSyslog m_syslog;
    TestLoop m_loop;
    RTD::Monitor* m_monitor = RTD::REPOSITORY::_INSTANCE()->addMonitor(MON_CCTEST, 1, 1);
};
}

TEST_F(MonitoredMachine, WritesItsStepsAsFarAsTheMonitorLetsThem)
{
    Worker worker(m_loop, m_monitor, 8, true);
    worker.run(LOOK);
    worker.run(UNKNOWN);
    RTD::REPOSITORY::_INSTANCE()->enableMonitor(m_monitor, "test", 7, 2);
    worker.run(KEEP);
    worker.run(KEEP, 1);
    worker.run(FREE);
    ASSERT_TRUE(m_loop.handleAll());
    m_loop.stop();
    worker.setMonitor(m_monitor, 3);
    worker.run(LOOK);
    worker.run(UNKNOWN);
    worker.m_logAlways = true;
    worker.run(LOOK);
    // the machine holds its monitor, and needs none
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(m_monitor);
    worker.m_logAlways = false;
    worker.run(UNKNOWN);
    worker.setMonitor(nullptr, 0);
    worker.run(UNKNOWN);
    EXPECT_EQ(lines(), "3 [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n"
                       "7 [w] > SM   : Dispatching event 'keep' in state 'work'\n"
                       "7 [w] > SM   : Deferring event 'keep' in state 'work'\n"
                       "7 [w] > SM   : Event 'keep' handled in state 'work'\n"
                       "7 [w] > SM   : Dispatching event 'keep' in state 'work'\n"
                       "7 [w] event queue fill level: 1\n"
                       "7 [w] > SM   : Deferring event 'keep' in state 'work' ignored: event already enqueued.\n"
                       "7 [w] > SM   : Event 'keep' handled in state 'work'\n"
                       "7 [w] > SM   : Dispatching event '(unknown)' in state 'work'\n"
                       "7 [w] > SM   : Recalling event 'keep'\n"
                       "7 [w] > SM   : Transition 'work' -> 'work'\n"
                       "7 [w] > SM   : Handling recalled event 'keep' in state 'work'\n"
                       "7 [w] > SM   : Dispatching event 'keep' in state 'work'\n"
                       "7 [w] > SM   : Event 'keep' handled in state 'work'\n"
                       "3 [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n"
                       "6 [w] > SM   : Dispatching event '(unknown)' in state 'work'\n"
                       "6 [w] > SM   : Event '(unknown)' handled without action in state 'work'\n"
                       "3 [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n");
}

TEST_F(MonitoredMachine, KeepsWhatItsRingAndItsPoolHold)
{
    Worker worker(m_loop, m_monitor, 5, true);
    for (int i = 0; i < 8; ++i)
        worker.run(KEEP);
    EXPECT_FALSE(worker.containsEvent(std::make_unique<OtherEvent>(KEEP).get()));
    worker.run(FREE);
    EXPECT_EQ(worker.recalled.getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_TRUE(worker.containsEvent(std::make_unique<QEvent>(KEEP).get())) << "one is left";
    ASSERT_TRUE(m_loop.handleAll());
    m_loop.stop();
    EXPECT_EQ(worker.kept, 5);
    worker.recall(); // and is under way when the machine goes
    worker.defer(std::make_unique<QEvent>(KEEP).get(), false);
    EXPECT_EQ(lines(), "2 [w] > SM   : FAILED TO DEFER EVENT 'keep': QUEUE FULL\n"
                       "2 [w] > SM   : FAILED TO RECALL EVENT 'keep': NO SUCH FILE OR DIRECTORY (2)\n");
    EXPECT_THROW(Worker(m_loop, nullptr, 0xAAAAAAB, true), std::bad_array_new_length);
    EXPECT_THROW(ZKQ<int*>(0x10000001), std::bad_array_new_length);
}

TEST_F(MonitoredMachine, TakesEventsOfAllThreadsWhileSessionsComeAndGo)
{
    auto worker = std::make_unique<Worker>(m_loop, m_monitor, 600, false);
    m_loop.start();
    auto const post = [&]
    {
        for (int i = 0; i < 300; ++i)
            worker->dispatch(KEEP);
    };
    std::thread first(post);
    std::thread second(post);
    do
    {
        RTD::REPOSITORY::_INSTANCE()->enableMonitor(m_monitor, "test", 7, 3);
        RTD::REPOSITORY::_INSTANCE()->disableMonitor(m_monitor, "test");
    } while (worker->kept < 600);
    first.join();
    second.join();
    m_loop.stop();
    for (int i = 0; i < 3; ++i)
        post(); // the last third finds no place
    worker.reset();
    EXPECT_TRUE(m_loop.handleAll());
}
