#include "zekovar/events/loop_supervisor.h"

#include "tests/events/loop_fixture.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

namespace
{
using LoopStatus = ZKEventLoopSupervisor::LoopStatus;
using QueueState = ZKEventLoopSupervisor::QueueState;

/// Watched by the process's supervisor, or not.
class LoopSupervisor : public ::testing::Test
{
protected:
    bool isListed() const
    {
        ZKVector<ZKEventLoopSupervisor::Report> reports;
        m_supervisor.getStatus(reports);
        return std::any_of(reports.begin(), reports.end(),
                           [this](auto const& report) { return report.name == m_loop.getUniqueName(); });
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
    status.countSecond(idle);
    EXPECT_EQ(status.processingTime, 0u);
    EXPECT_EQ(status.queuingDelay, 1u);
    status.countSecond(stuck);
    EXPECT_EQ(status.processingTime, 0u) << "seven were handled in this second";
    for (int i = 0; i < 31; i++)
        status.countSecond(stuck);
    EXPECT_EQ(status.processingTime, 31u);
    status.countSecond(moving);
    EXPECT_EQ(status.processingTime, 0u);
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
    std::string const alerting = print(119, 30);
    EXPECT_EQ(alerting.substr(0, alerting.find("      Event")),
              "! Test: EVENT LOOP IS BLOCKED\n"
              "      Performance  [s]:        current         max\n"
              "          queuing delay:           118         499\n"
              "!         PROCESSING TIME:          30         600   EXCEEDS ALERTING THRESHOLD OF 30 S\n");
    std::string const emergency = print(120, 120);
    EXPECT_EQ(emergency.substr(0, emergency.find("      Event")),
              "! Test: EVENT LOOP IS BLOCKED\n"
              "      Performance  [s]:        current         max\n"
              "!         QUEUING DELAY:           119         499   EXCEEDS EMERGENCY THRESHOLD OF 120 S\n"
              "!         PROCESSING TIME:         120         600   EXCEEDS EMERGENCY THRESHOLD OF 120 S\n");
}

TEST_F(LoopSupervisor, WatchesALoopFromItsStartToItsStop)
{
    for (int round = 0; round < 2; round++)
    {
        EXPECT_FALSE(isListed());
        m_loop.start();
        EXPECT_TRUE(isListed());
        m_supervisor.registerEventLoop(&m_loop);
        m_loop.stop();
    }
    EXPECT_FALSE(isListed()) << "a second registration didn't count";

    m_supervisor.registerEventLoop(nullptr);
    m_supervisor.unregisterEventLoop(nullptr);
    m_supervisor.unregisterEventLoop(&m_loop);
    m_supervisor.onEvent("nobody");
    m_supervisor.registerEventLoop(&m_loop);
    EXPECT_TRUE(isListed());
    m_supervisor.unregisterEventLoop(&m_loop);
    EXPECT_FALSE(isListed()) << "a loop without a thread isn't waited for";
}

TEST_F(LoopSupervisor, ShowsAHandlerThatBlocksItsLoopAndWaitsForItWhenTheLoopLeaves)
{
    std::atomic<bool> blocked = true;
    Task event(m_loop, EventPrio::LOW, [&] { blocked.wait(true); });
    m_loop.start();
    event->set();
    EXPECT_TRUE(eventually([&] { return m_loop.getQueue(EventPrio::LOW).isProcessing(); }));
    std::string const line = "          low                        1 -         0 =          0          1  processing\n";
    EXPECT_NE(report().find(line), std::string::npos) << report();

    std::atomic<int> left = 0;
    auto const leave = [&]
    {
        m_supervisor.unregisterEventLoop(&m_loop);
        left++;
    };
    std::thread first(leave), second(leave);
    EXPECT_TRUE(eventually([&] { return m_loop.getQueue(EventPrio::HIGH).getFillLevel() == 1; }));
    EXPECT_TRUE(isListed());
    EXPECT_EQ(left, 0) << "a heartbeat may still come until the loop stands still";
    blocked = false;
    blocked.notify_all();
    first.join();
    second.join();
    EXPECT_FALSE(isListed());
}

TEST_F(LoopSupervisor, ReportsWhileLoopsComeAndGo)
{
    std::atomic<bool> done = false;
    std::string text;
    std::thread reader(
        [&]
        {
            while (!done)
                text = report();
        });
    for (int i = 0; i < 50; i++)
    {
        TestLoop loop;
        loop.start();
        loop.stop();
        loop.start();
    }
    done = true;
    reader.join();
    std::string const end = "\n"
                            "  Queuing delay threshold:\n"
                            "      emergency:    120 s\n"
                            "  Processing-time threshold:\n"
                            "      alerting:      30 s\n"
                            "      emergency:    120 s\n";
    EXPECT_TRUE(text.ends_with(end)) << text;
}
