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
constexpr QEvent COUNT = QEvent(4), SWITCH = QEvent(5), LOOK = QEvent(6), UNKNOWN = QEvent(7);

struct OtherEvent : QEvent
{
    using QEvent::QEvent;
};

struct Worker : ZK::QHsmDispatchAsync
{
    Worker(ZKEventLoop& loop, RTD::Monitor* monitor, unsigned int maxDeferred)
        : QHsmDispatchAsync(&WORK, monitor, 2, maxDeferred, loop, EventPrio::NORMAL)
    {
        init(&SWITCH);
    }

    char const* getEventName(unsigned short signal) override { return EVENT_NAME(signal - 3); } // borrows the names

    char const* getStateName(QStateHandler state) override { return state == &WORK ? "work" : "rest"; }

    char const* getLogPrefix() override { return "w"; }

    static unsigned char REST(void* machine, QEvent const* event) { return WORK(machine, event); }

    static unsigned char WORK(void* machine, QEvent const* event)
    {
        auto* const me = static_cast<Worker*>(static_cast<QHsm*>(machine));
        me->counted += event->sig == COUNT.sig;
        if (event->sig == COUNT.sig || event->sig == LOOK.sig)
            return event->sig == COUNT.sig ? Q_HANDLED : Q_HANDLED_NO_ACTION;
        return event->sig == SWITCH.sig ? me->transitionTo(me->m_state == &REST ? &WORK : &REST)
                                        : me->superstate(&QHsm::top);
    }

    using QHsmRtd::m_logAlways;
    std::atomic<int> counted{0};
};

struct MonitoredMachine : testing::Test
{
    CapturedSyslog syslog;
    TestLoop loop;
    RTD::REPOSITORY& repository = *RTD::REPOSITORY::_INSTANCE().getObj();
    RTD::Monitor* monitor = repository.addMonitor(MON_CCTEST, 1, 1);
};
}

TEST_F(MonitoredMachine, WritesItsStepsAsFarAsTheMonitorLetsThem)
{
    Worker worker(loop, monitor, 8);
    worker.QHsm::dispatch(&UNKNOWN);
    repository.enableMonitor(monitor, "test", 7, 2);
    worker.QHsm::dispatch(&SWITCH);
    EXPECT_TRUE(worker.defer(&COUNT, true) && worker.defer(&COUNT, true) && worker.recall());
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    worker.setMonitor(monitor, 3);
    repository.removeMonitor(monitor); // the machine holds it
    worker.QHsm::dispatch(&UNKNOWN);
    worker.m_logAlways = true;
    worker.QHsm::dispatch(&LOOK);
    worker.setMonitor(nullptr, 0);
    worker.QHsm::dispatch(&UNKNOWN);
    EXPECT_EQ(syslog.lines(),
              (std::vector<std::string>{
                  "3 CCTEST:1/1 # [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'rest'\n",
                  "7 CCTEST:1/1 # [w] > SM   : Dispatching event 'exitEvent' in state 'rest'\n",
                  "7 CCTEST:1/1 # [w] > SM   : Transition 'rest' -> 'work'\n",
                  "7 CCTEST:1/1 # [w] event queue fill level: 0\n",
                  "7 CCTEST:1/1 # [w] > SM   : Deferring event 'entryEvent' in state 'work'\n",
                  "7 CCTEST:1/1 # [w] event queue fill level: 1\n",
                  "7 CCTEST:1/1 # [w] > SM   : Deferring event 'entryEvent' in state 'work' ignored: event already "
                  "enqueued.\n",
                  "7 CCTEST:1/1 # [w] > SM   : Recalling event 'entryEvent'\n",
                  "7 CCTEST:1/1 # [w] > SM   : Handling recalled event 'entryEvent' in state 'work'\n",
                  "7 CCTEST:1/1 # [w] > SM   : Dispatching event 'entryEvent' in state 'work'\n",
                  "7 CCTEST:1/1 # [w] > SM   : Event 'entryEvent' handled in state 'work'\n",
                  "3 CCTEST:1/1 # [w] > SM   : EVENT '(unknown)' IGNORED IN STATE 'work'\n",
                  "6 CCTEST:1/1 # [w] > SM   : Dispatching event 'initEvent' in state 'work'\n",
                  "6 CCTEST:1/1 # [w] > SM   : Event 'initEvent' handled without action in state 'work'\n"}));
}

TEST_F(MonitoredMachine, KeepsWhatItsRingAndItsPoolHold)
{
    Worker worker(loop, monitor, 5);
    for (int i = 1; i <= 8; ++i)
        EXPECT_EQ(worker.defer(&COUNT, false).isSuccess(), i <= 7);
    OtherEvent const other(COUNT.sig);
    EXPECT_FALSE(worker.containsEvent(&other));
    EXPECT_EQ(worker.recall().getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_TRUE(worker.containsEvent(&COUNT)) << "5 are posted, 1 is lost and 1 is left";
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(worker.counted, 5);
    EXPECT_TRUE(worker.recall() && worker.defer(&COUNT, false)) << "posted and deferred while the machine goes";
    EXPECT_EQ(syslog.lines(),
              (std::vector<std::string>{
                  "2 CCTEST:1/1 # [w] > SM   : FAILED TO DEFER EVENT 'entryEvent': QUEUE FULL\n",
                  "2 CCTEST:1/1 # [w] > SM   : FAILED TO RECALL EVENT 'entryEvent': NO SUCH FILE OR DIRECTORY (2)\n"}));
    EXPECT_THROW(Worker(loop, nullptr, 0xAAAAAAB), std::bad_array_new_length);
    EXPECT_THROW(ZKQ<int*>(0x10000001), std::bad_array_new_length);
}

TEST_F(MonitoredMachine, TakesEventsOfAllThreadsWhileSessionsComeAndGo)
{
    auto worker = std::make_unique<Worker>(loop, monitor, 600);
    auto const post = [&]
    {
        for (int i = 0; i < 300; ++i)
            worker->dispatch(COUNT.sig);
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
