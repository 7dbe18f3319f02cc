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
#include <vector>

namespace
{
constexpr uint16_t COUNT = 4, AGAIN = 5, LOOK = 6, UNKNOWN = 7;

struct OtherEvent : QEvent
{
    using QEvent::QEvent;
};

struct Worker : ZK::QHsmDispatchAsync
{
    Worker(ZKEventLoop& loop, RTD::Monitor* monitor, unsigned int maxDeferred)
        : QHsmDispatchAsync(&BEGIN, monitor, 2, maxDeferred, loop, EventPrio::NORMAL)
    {
        init(nullptr);
    }

    char const* getEventName(unsigned short signal) override { return signal == COUNT ? "count" : EVENT_NAME(signal); }

    char const* getStateName(QStateHandler state) override { return state == &WORK ? "work" : "?"; }

    char const* getLogPrefix() override { return "w"; }

    static Worker* of(void* machine) { return static_cast<Worker*>(static_cast<QHsm*>(machine)); }

    static unsigned char BEGIN(void* machine, QEvent const*) { return of(machine)->transitionTo(&WORK); }

    static unsigned char WORK(void* machine, QEvent const* event)
    {
        if (event->sig == COUNT)
            of(machine)->counted++;
        if (event->sig == COUNT || event->sig == LOOK)
            return event->sig == COUNT ? Q_HANDLED : Q_HANDLED_NO_ACTION;
        return event->sig == AGAIN ? of(machine)->transitionTo(&WORK) : of(machine)->superstate(&QHsm::top);
    }

    void run(uint16_t signal) { QHsm::dispatch(std::make_unique<QEvent>(signal).get()); }

    using QHsmRtd::m_logAlways;
    std::atomic<int> counted{0};
};

struct MonitoredMachine : testing::Test
{
    CapturedSyslog syslog;
    TestLoop loop;
    RTD::REPOSITORY& repository = *RTD::REPOSITORY::_INSTANCE().getObj();
    RTD::Monitor* monitor = repository.addMonitor(MON_CCTEST, 1, 1);
    QEvent const count = QEvent(COUNT);
};
}

TEST_F(MonitoredMachine, WritesItsStepsAsFarAsTheMonitorLetsThem)
{
    Worker worker(loop, monitor, 8);
    worker.run(LOOK);
    worker.run(UNKNOWN);
    repository.enableMonitor(monitor, "test", 7, 2);
    worker.run(AGAIN);
    EXPECT_TRUE(worker.defer(&count, true) && worker.defer(&count, true) && worker.recall());
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    worker.setMonitor(monitor, 3);
    worker.run(LOOK);
    worker.m_logAlways = true;
    worker.run(LOOK);
    repository.removeMonitor(monitor); // the machine holds it
    worker.run(UNKNOWN);
    worker.setMonitor(nullptr, 0);
    worker.run(UNKNOWN);
    EXPECT_EQ(
        syslog.lines(),
        (std::vector<std::string>{
            "3 CCTEST:1/1 # [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n",
            "7 CCTEST:1/1 # [w] > SM   : Dispatching event '(unknown)' in state 'work'\n",
            "7 CCTEST:1/1 # [w] > SM   : Transition 'work' -> 'work'\n",
            "7 CCTEST:1/1 # [w] event queue fill level: 0\n",
            "7 CCTEST:1/1 # [w] > SM   : Deferring event 'count' in state 'work'\n",
            "7 CCTEST:1/1 # [w] event queue fill level: 1\n",
            "7 CCTEST:1/1 # [w] > SM   : Deferring event 'count' in state 'work' ignored: event already enqueued.\n",
            "7 CCTEST:1/1 # [w] > SM   : Recalling event 'count'\n",
            "7 CCTEST:1/1 # [w] > SM   : Handling recalled event 'count' in state 'work'\n",
            "7 CCTEST:1/1 # [w] > SM   : Dispatching event 'count' in state 'work'\n",
            "7 CCTEST:1/1 # [w] > SM   : Event 'count' handled in state 'work'\n",
            "6 CCTEST:1/1 # [w] > SM   : Dispatching event '(unknown)' in state 'work'\n",
            "6 CCTEST:1/1 # [w] > SM   : Event '(unknown)' handled without action in state 'work'\n",
            "6 CCTEST:1/1 # [w] > SM   : Dispatching event '(unknown)' in state 'work'\n",
            "3 CCTEST:1/1 # [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n"}));
}

TEST_F(MonitoredMachine, KeepsWhatItsRingAndItsPoolHold)
{
    Worker worker(loop, monitor, 5);
    for (int i = 1; i <= 8; ++i)
        EXPECT_EQ(worker.defer(&count, false).isSuccess(), i <= 7);
    EXPECT_FALSE(worker.containsEvent(std::make_unique<OtherEvent>(COUNT).get()));
    EXPECT_EQ(worker.recall().getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_TRUE(worker.containsEvent(&count)) << "5 are posted, 1 is lost and 1 is left";
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(worker.counted, 5);
    EXPECT_TRUE(worker.recall() && worker.defer(&count, false)) << "posted and deferred while the machine goes";
    EXPECT_EQ(syslog.lines(),
              (std::vector<std::string>{
                  "2 CCTEST:1/1 # [w] > SM   : FAILED TO DEFER EVENT 'count': QUEUE FULL\n",
                  "2 CCTEST:1/1 # [w] > SM   : FAILED TO RECALL EVENT 'count': NO SUCH FILE OR DIRECTORY (2)\n"}));
    EXPECT_THROW(Worker(loop, nullptr, 0xAAAAAAB), std::bad_array_new_length);
    EXPECT_THROW(ZKQ<int*>(0x10000001), std::bad_array_new_length);
}

TEST_F(MonitoredMachine, TakesEventsOfAllThreadsWhileSessionsComeAndGo)
{
    auto worker = std::make_unique<Worker>(loop, monitor, 600);
    auto const post = [&]
    {
        for (int i = 0; i < 300; ++i)
            worker->dispatch(COUNT);
    };
    loop.start();
    std::thread first(post);
    std::thread second(post);
    for (bool on = true; on || worker->counted < 600; on = !on)
        on ? repository.enableMonitor(monitor, "test", 7, 3) : repository.disableMonitor(monitor, "test");
    first.join();
    second.join();
    loop.stop();
    post();
    post();
    post(); // finds no place
    worker.reset();
    EXPECT_TRUE(loop.handleAll());
}
