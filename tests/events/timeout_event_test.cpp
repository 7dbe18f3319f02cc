#include "zekovar/events/timeout_event.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/event_loop.h"

#include <atomic>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <sys/resource.h>
#include <tuple>
#include <vector>

namespace
{
struct Destroy
{
    void operator()(_ZKTimeoutEvent* event) const { event->destroy(); }
};

using Timer = std::unique_ptr<_ZKTimeoutEvent, Destroy>;

/// Timers on a loop with ticks of 10 and 40 ms, which a test starts if it wants.
class TimeoutEvent : public ::testing::Test
{
protected:
    static void COUNT(void* counter) { ++*static_cast<std::atomic<int>*>(counter); }

    static void RESET(void* timer) { static_cast<Timer*>(timer)->reset(); }

    Timer make(void (*handler)(void*) = nullptr, void* argument = nullptr)
    {
        return Timer(new _ZKTimeoutEvent(m_loop, EventPrio::HIGH, handler, argument));
    }

    ZKEventLoop m_loop{"Timers", 16, 10, 40, 80, 16};
    std::atomic<int> m_runs = 0;
};
}

TEST_F(TimeoutEvent, LaysItsPeriodOnTheTicksThatSuitIt)
{
    ZKTickerManager* const fine = m_loop.getTickerManager(1);
    ZKTickerManager* const coarse = m_loop.getTickerManager(40);
    EXPECT_NE(fine, coarse);
    // The last two have no ticks: one period is too long, and a one-shot never uses them.
    std::tuple<unsigned int, bool, ZKTickerManager*, unsigned int> const cases[] = {
        {1, true, fine, 1},     {14, true, fine, 1},    {15, true, fine, 2},   {39, true, fine, 4},
        {40, true, coarse, 1},  {59, true, coarse, 1},  {60, true, coarse, 2}, {80, true, coarse, 2},
        {81, true, nullptr, 0}, {40, false, nullptr, 0}};
    Timer timer = make();
    for (auto const& [milliseconds, periodic, ticker, ticks] : cases)
    {
        EXPECT_TRUE(timer->start(milliseconds, periodic, false).isSuccess());
        EXPECT_EQ(timer->getTicker(), ticker) << milliseconds;
        EXPECT_TRUE(ticker == nullptr || timer->getReloadTicks() == ticks) << milliseconds;
        EXPECT_EQ(timer->isEnabled(), ticker == nullptr) << "a descriptor of its own";
    }
}

TEST_F(TimeoutEvent, CountsTicksPastTheQueueUntilItIsStopped)
{
    Timer timer = make(&COUNT, &m_runs);
    ASSERT_TRUE(timer->start(20, true, true).isSuccess());
    EXPECT_EQ(timer->start(0, true, true), XCODE_FAILURE) << "and the running timer stays";
    ZKTickerManager* const ticker = timer->getTicker();
    ASSERT_NE(ticker, nullptr);
    for (int runs : {0, 1, 1, 2, 2})
    {
        ticker->onFileReady();
        EXPECT_EQ(m_runs, runs);
    }
    EXPECT_EQ(timer->getPending(), 1u) << "the immediate run of the first start";
    timer->stop();
    ticker->onFileReady();
    ASSERT_TRUE(timer->start(3600000, false, false).isSuccess());
    timer->onFileReady();
    EXPECT_EQ(m_runs, 2) << "an expiry reported before a new start finds nothing to take";
    ASSERT_TRUE(timer->start(20, true, false).isSuccess());
    timer->cancel();
    EXPECT_EQ(timer->start(20, true, true), XCODE_FAILURE);
    EXPECT_EQ(timer->getTicker(), nullptr);
}

TEST_F(TimeoutEvent, FiresAlsoAfterARestartAndItsHandlerMayDestroyIt)
{
    std::atomic<int> overlong = 0, single = 0;
    Timer onTicker = make(&COUNT, &m_runs), onDescriptor = make(&COUNT, &overlong), oneShot = make(&COUNT, &single);
    for (int round = 1; round <= 2; round++)
    {
        Timer lostOnTicker, lostOnDescriptor;
        lostOnTicker = make(&RESET, &lostOnTicker);
        lostOnDescriptor = make(&RESET, &lostOnDescriptor);
        EXPECT_TRUE(lostOnTicker->start(10, true, false).isSuccess());
        EXPECT_TRUE(lostOnDescriptor->start(1, false, false).isSuccess());
        m_loop.start();
        EXPECT_TRUE(onTicker->start(10, true, false).isSuccess());
        EXPECT_TRUE(onDescriptor->start(81, true, false).isSuccess());
        EXPECT_TRUE(oneShot->start(1, false, true).isSuccess());
        EXPECT_TRUE(eventually([&, ran = m_runs.load()] { return m_runs >= ran + 3; }));
        EXPECT_TRUE(eventually([&, ran = overlong.load()] { return overlong >= ran + 2; }));
        EXPECT_TRUE(eventually([&] { return single == 2 * round; })) << "at once through the queue, then in time";
        m_loop.stop();
        EXPECT_FALSE(lostOnTicker || lostOnDescriptor);
    }
}

TEST_F(TimeoutEvent, FailsWithoutFallBackWhenPlacesOrDescriptorsRunOut)
{
    // A sanitizer needs a descriptor when it meets a class for the first time, so that happens with a loop of its own.
    ZKEventLoop rehearsal("Rehearsal", 0, 10, 100, 1000, 0);
    meetPointerOfLines();
    Timer const early(new _ZKTimeoutEvent(rehearsal, EventPrio::NORMAL, nullptr, nullptr));
    Timer timer = make();
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    for (bool periodic : {false, true})
    {
        EXPECT_TRUE(early->start(periodic ? 10 : 1000, periodic, false).isSuccess());
        rlimit const none{0, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        XCode const result = timer->start(periodic ? 10 : 1000, periodic, false);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
        EXPECT_EQ(result.getRawValue(), 0x11000000u + EMFILE) << periodic;
    }

    std::vector<Timer> others;
    for (int i = 0; i < 64; i++)
    {
        others.push_back(make());
        ASSERT_TRUE(others.back()->start(20, true, false).isSuccess());
    }
    EXPECT_EQ(timer->start(20, true, false).getRawValue(), 0x11000000u + ENOMEM);
    EXPECT_EQ(timer->getTicker(), nullptr);
    EXPECT_FALSE(timer->isEnabled());
}
