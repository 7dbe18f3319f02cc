#include "zekovar/events/loop_supervisor.h"

#include "tests/events/loop_fixture.h"

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <tuple>

namespace
{
using LoopStatus = ZKEventLoopSupervisor::LoopStatus;
using QueueState = ZKEventLoopSupervisor::QueueState;
using namespace ::testing;

/// Watched by the process's supervisor, or not.
class LoopSupervisor : public ::testing::Test
{
protected:
    /// Seconds; -1 if the loop isn't watched.
    int queuingDelay() const
    {
        ZKVector<ZKEventLoopSupervisor::Report> reports;
        m_supervisor.getStatus(reports);
        for (auto const& report : reports)
        {
            if (report.name == m_loop.getUniqueName())
                return static_cast<int>(report.queuingDelay);
        }
        return -1;
    }

    std::string report() const
    {
        String text;
        m_supervisor.getStatus(text);
        return text.c_str();
    }

    ZKEventLoopSupervisor& m_supervisor = ZKEventLoopSupervisor::INSTANCE();
    TestLoop m_loop;
};
}

TEST_F(LoopSupervisor, CountsSecondsWithoutProgress)
{
    LoopStatus status;
    QueueState const idle[3] = {};
    QueueState const stuck[3] = {{7, 0, false}, {0, 0, true}, {0, 2, false}};
    QueueState const moving[3] = {{7, 0, false}, {0x123456789ull, 0, true}, {0, 2, false}};
    std::tuple<QueueState const(&)[3], int, unsigned int, unsigned int> const rows[] = {
        {idle, 1, 0, 1}, {stuck, 1, 0, 2}, {stuck, 31, 31, 33}, {moving, 1, 0, 34}};
    for (auto const& [queues, seconds, processingTime, queuingDelay] : rows)
    {
        for (int i = 0; i < seconds; i++)
            status.countSecond(queues);
        EXPECT_EQ(status.processingTime, processingTime);
        EXPECT_EQ(status.queuingDelay, queuingDelay);
    }
    EXPECT_EQ(status.maxProcessingTime, 31u);
    EXPECT_EQ(status.maxQueuingDelay, 34u);
    EXPECT_EQ(status.lastProcessed[1], 0xFFFFFFFFu);
}

TEST_F(LoopSupervisor, PrintsALoopsBlockWithItsThresholds)
{
    Task event(m_loop, EventPrio::NORMAL, [] {});
    event->set();
    event->set();
    m_loop.getQueue(EventPrio::NORMAL).processEvent();
    auto const print = [this](unsigned int delay, unsigned int processing)
    {
        LoopStatus const status{nullptr, &m_loop, 500, delay, 600, processing, {}};
        String text;
        status.print(text);
        return std::string(text.c_str());
    };
    EXPECT_EQ(print(1, 0), "  Test: Event Loop is ready\n"
                           "      Performance  [s]:        current         max\n"
                           "          queuing delay:             0         499\n"
                           "          processing time:           0         600\n"
                           "      Event queue by priority:   added - processed = fill-level  max level  status\n"
                           "          high                       0 -         0 =          0          0  \n"
                           "          normal                     2 -         1 =          1          2  \n"
                           "          low                        0 -         0 =          0          0  \n"
                           "      File events processed:                     0 (1 observers)\n");
    EXPECT_THAT(print(120, 30), AllOf(StartsWith("! Test: EVENT LOOP IS BLOCKED\n"),
                                      HasSubstr("\n!         QUEUING DELAY:           119         499"
                                                "   EXCEEDS EMERGENCY THRESHOLD OF 120 S\n"
                                                "!         PROCESSING TIME:          30         600"
                                                "   EXCEEDS ALERTING THRESHOLD OF 30 S\n")));
    EXPECT_THAT(print(119, 120), AllOf(HasSubstr("\n          queuing delay:           118         499\n"),
                                       HasSubstr("120         600   EXCEEDS EMERGENCY THRESHOLD OF 120 S\n")));
}

TEST_F(LoopSupervisor, HeartbeatOnTheLoopsTicksEndsTheQueuingDelay)
{
    for (ZKEventLoop* loop : {&m_loop, &m_loop, static_cast<TestLoop*>(nullptr)})
        m_supervisor.registerEventLoop(loop);
    EXPECT_TRUE(eventually([this] { return queuingDelay() > 0; }));
    ZKTickerManager& ticks = *m_loop.getTickerManager(1000);
    EXPECT_TRUE(eventually(
        [&]
        {
            ticks.onFileReady();
            return queuingDelay() == 0;
        }));
    m_supervisor.unregisterEventLoop(nullptr);
    m_supervisor.unregisterEventLoop(&m_loop);
    ticks.onFileReady();
    EXPECT_LT(queuingDelay(), 0)
        << "the second registration didn't count, and a loop without a thread isn't waited for";
}

TEST_F(LoopSupervisor, ShowsAHandlerThatBlocksItsLoopAndWaitsForItWhenTheLoopLeaves)
{
    std::atomic<bool> blocked = true;
    Task event(m_loop, EventPrio::LOW, [&] { blocked.wait(true); });
    m_loop.start();
    event->set();
    EXPECT_TRUE(eventually([&] { return m_loop.getQueue(EventPrio::LOW).isProcessing(); }));
    EXPECT_THAT(report(),
                HasSubstr("          low                        1 -         0 =          0          1  processing\n"));

    auto const leave = [&]
    {
        m_supervisor.unregisterEventLoop(&m_loop);
        EXPECT_FALSE(blocked) << "a heartbeat may still come until the loop stands still";
    };
    std::thread first(leave), second(leave);
    EXPECT_TRUE(eventually([&] { return m_loop.getQueue(EventPrio::HIGH).getFillLevel() == 1; }));
    EXPECT_GE(queuingDelay(), 0);
    blocked = false;
    blocked.notify_all();
    first.join();
    second.join();
    EXPECT_LT(queuingDelay(), 0);
}
