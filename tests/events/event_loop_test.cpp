#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"

#include <gtest/gtest.h>

#include <array>
#include <bitset>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

TEST(EventLoop, HandlesByPriorityAndStartsAgainAtHighAfterEachEvent)
{
    TestLoop loop;
    std::vector<int> order;
    Task high(loop, EventPrio::HIGH, [&] { order.push_back(0); });
    Task normal(loop, EventPrio::NORMAL,
                [&]
                {
                    order.push_back(1);
                    if (order.size() == 2)
                        high->set();
                });
    Task low(loop, EventPrio::LOW, [&] { order.push_back(2); });
    for (Task* task : {&low, &normal, &normal, &high})
        EXPECT_TRUE((*task)->set().isSuccess());

    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 0, 1, 2}));
}

TEST(EventLoop, TakesEachPostOfAnEventAsOneCall)
{
    TestLoop loop;
    std::vector<uint32_t> pendingInside;
    Task task(loop, EventPrio::NORMAL, [&] { pendingInside.push_back(task->getPending()); });

    EXPECT_TRUE(task->set().isSuccess());
    EXPECT_TRUE(task->setIfNotPending().isSuccess());
    task->set();
    EXPECT_EQ(task->getPending(), 2u);
    ASSERT_TRUE(loop.handleAll());
    task->setIfNotPending();
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(pendingInside, (std::vector<uint32_t>{1, 0, 0}));
}

TEST(EventLoop, DestroyedEventLivesUntilItsEntryIsTakenAndIsNotHandled)
{
    struct Probe : ZKEvent
    {
        Probe(ZKEventLoop& loop, bool& isGone) : ZKEvent(loop, EventPrio::HIGH, nullptr, nullptr), m_isGone(isGone) {}

        ~Probe() override { m_isGone = true; }

        void handle() override { ADD_FAILURE() << "handler of a cancelled event"; }

        bool& m_isGone;
    };

    for (bool isTaken : {true, false})
    {
        bool isGone = false;
        {
            TestLoop loop;
            auto* const event = new Probe(loop, isGone);
            event->set();
            event->destroy();
            EXPECT_FALSE(isGone) << "the queue holds a reference";
            ASSERT_TRUE(!isTaken || loop.handleAll());
            loop.stop();
            EXPECT_EQ(isGone, isTaken);
        }
        EXPECT_TRUE(isGone) << "the loop drops what is left in its queues";
    }
}

TEST(EventLoop, StatisticsAddUpAndStartANewIntervalWhenRead)
{
    TestLoop loop;
    Task task(loop, EventPrio::LOW, [] { std::this_thread::sleep_for(std::chrono::milliseconds(3)); });
    for (int i = 0; i < 5; ++i)
        task->set();
    ZKEventQueue& queue = loop.getQueue(EventPrio::LOW);
    loop.start();
    ASSERT_TRUE(eventually([&] { return queue.getProcessedCount() == 5; }));
    loop.stop();

    ZKEventQueue::Statistics first;
    queue.getStatistics(first);
    EXPECT_EQ(first.removed, 5u);
    EXPECT_EQ(first.maxFillLevelInterval, 5u);
    EXPECT_GE(first.processingTime, 15u);
    EXPECT_GE(first.maxProcessingTimeInterval, 3u);
    EXPECT_GE(first.queuingTime, 3u * (1 + 2 + 3 + 4)) << "each waits for those in front of it";
    EXPECT_GE(first.maxQueuingTimeInterval, 12u);
    EXPECT_GE(first.load / 1000000, first.queuingTime) << "both sum up what the events waited";

    ZKEventQueue::Statistics second;
    queue.getStatistics(second);
    EXPECT_EQ(second.maxFillLevel, 5u);
    EXPECT_EQ(second.maxFillLevelInterval + second.maxQueuingTimeInterval + second.maxProcessingTimeInterval, 0u);
    EXPECT_EQ(second.processingTime, first.processingTime);
}

TEST(EventLoop, LosesNoneOfAMillionPostsAndKeepsTheOrderOfThreadAndPriority)
{
    constexpr int THREADS = 4;
    constexpr int POSTS = 250000 / SLOWER;

    struct Numbered : ZKEvent
    {
        Numbered(ZKEventLoop& loop, EventPrio::Type priority, int& counter, int number)
            : ZKEvent(loop, priority, nullptr, nullptr), m_counter(counter), m_number(number)
        {
        }

        void handle() override { EXPECT_EQ(m_counter++, m_number); }

        int& m_counter;
        int m_number;
    };

    TestLoop loop;
    std::array<std::array<int, EventPrio::COUNT>, THREADS> handled{};
    auto posted = handled;
    loop.start();
    std::vector<std::jthread> posters;
    for (int t = 0; t < THREADS; ++t)
    {
        posters.emplace_back(
            [&, t]
            {
                for (int i = 0; i < POSTS; ++i)
                {
                    auto const priority = static_cast<EventPrio::Type>(i % EventPrio::COUNT);
                    auto* const event = new Numbered(loop, priority, handled[t][priority], posted[t][priority]++);
                    EXPECT_TRUE(event->set().isSuccess());
                    event->release();
                }
            });
    }
    posters.clear();
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(handled, posted);
}

TEST(EventLoop, HandlerThatFillsItsOwnLoopEnds)
{
    constexpr int POSTS = 200000; // three times the bytes that a pipe can hold
    TestLoop loop;
    int calls = 0;
    Task counter(loop, EventPrio::NORMAL, [&] { calls++; });
    Task burst(loop, EventPrio::HIGH,
               [&]
               {
                   for (int i = 0; i < POSTS; ++i)
                   {
                       counter->set();
                       loop.wakeupLoop();
                   }
               });
    burst->set();
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(calls, POSTS);
}

TEST(EventLoop, StoppedByItsHandlerEndsWithTheTurnAndStartsAgain)
{
    TestLoop loop;
    int stops = 0;
    int calls = 0;
    Task stopper(loop, EventPrio::HIGH,
                 [&]
                 {
                     loop.stop();
                     stops += loop.isStopped() ? 1 : 0;
                 });
    Task follower(loop, EventPrio::LOW, [&] { calls++; });
    for (int round = 1; round <= 2; ++round)
    {
        stopper->set();
        follower->set();
        loop.start();
        ASSERT_TRUE(eventually([&] { return !loop.getThread().isAlive(); }));
        EXPECT_EQ(stops, round);
        EXPECT_EQ(calls, round) << "the queues are drained to the end of the turn";
    }
    follower->set();
    EXPECT_EQ(follower->getPending(), 1u) << "stays queued while the loop is stopped";
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(calls, 3);
}

TEST(EventLoop, DestructorWaitsForAThreadThatStoppedItsOwnLoop)
{
    auto loop = std::make_unique<TestLoop>();
    std::atomic<bool> isStopped{false};
    std::atomic<bool> isBeingDestroyed{false};
    bool isNameIntact = false;
    Task task(*loop, EventPrio::NORMAL,
              [&, raw = loop.get()]
              {
                  raw->stop();
                  isStopped = true;
                  EXPECT_TRUE(eventually([&] { return isBeingDestroyed.load(); }));
                  std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the destructor's chance to go too far
                  isNameIntact = raw->getName() == "Test";
              });
    task->set();
    loop->start();
    ASSERT_TRUE(eventually([&] { return isStopped.load(); }));
    isBeingDestroyed = true;
    loop.reset();
    EXPECT_TRUE(isNameIntact);
}

TEST(EventLoop, StoppedByAThreadThatHoldsItDoesNotWaitForItself)
{
    TestLoop loop;
    loop.start();
    {
        ZKAutoLock<ZKEventLoop> hold(loop);
        loop.stop();
        EXPECT_TRUE(loop.isStopped());
    }
    EXPECT_TRUE(eventually([&] { return !loop.getThread().isAlive(); }));
}

TEST(EventLoop, PostAfterAFailedWakeUpWakesTheLoopForBoth)
{
    std::bitset<256> before;
    for (int fd = 0; fd < 256; fd++)
        before[fd] = fcntl(fd, F_GETFD) >= 0;
    TestLoop loop;
    int writeEnd = 0;
    while (writeEnd < 256 && (before[writeEnd] || (fcntl(writeEnd, F_GETFL) & O_ACCMODE) != O_WRONLY))
        writeEnd++;
    int const kept = fcntl(writeEnd, F_DUPFD_CLOEXEC, 0);
    loop.start();

    std::atomic<int> calls{0};
    Task task(loop, EventPrio::NORMAL, [&] { calls++; });
    close(writeEnd);
    EXPECT_TRUE(task->set().isSuccess()) << "the event stands in the queue all the same";
    loop.wakeupLoop();
    EXPECT_EQ(task->getPending(), 1u);
    ASSERT_EQ(dup2(kept, writeEnd), writeEnd);
    task->set();
    EXPECT_TRUE(eventually([&] { return calls == 2; }));
    loop.stop();
    close(kept);
}

TEST(EventLoop, WithoutDescriptorsStillHandlesEventsAndStops)
{
    {
        TestLoop().start();
    } // opens what the first loop of a process opens for all
    meetPointerOfLines();
    rlimit old{};
    getrlimit(RLIMIT_NOFILE, &old);
    rlimit const none{0, old.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    {
        TestLoop loop;
        EXPECT_FALSE(loop.getFileQueue().isOpen());
        std::atomic<int> calls{0};
        Task task(loop, EventPrio::NORMAL, [&] { calls++; });
        task->set();
        loop.start();
        EXPECT_TRUE(eventually([&] { return calls == 1; }));
        loop.stop();
    }
    setrlimit(RLIMIT_NOFILE, &old);
}

TEST(EventQueue, NamesTheHandlerOfAnEntry)
{
    TestLoop loop;
    ZKEventQueue::EventInfo info;
    info.event = new ZKEvent(loop, EventPrio::LOW, &ZKEventLoop::ON_TRIGGER, &loop);
    EXPECT_TRUE(ZKEventQueue::GET_HANDLE_INFO(info).endsWith(" -> ZKEventLoop::ON_TRIGGER(void*)"));
    info.event->destroy();
}

TEST(StandardLoops, RunUnderTheirNamesWithTheirTicks)
{
    auto const expectLoop = [](ZKEventLoop& loop, char const* name, unsigned int fine)
    {
        EXPECT_EQ(loop.getName(), name);
        EXPECT_FALSE(loop.isStopped());
        EXPECT_EQ(loop.getTickerManager(10 * fine - 1)->getResolution(), fine);
        EXPECT_EQ(loop.getTickerManager(10 * fine)->getResolution(), 10 * fine);
        EXPECT_EQ(loop.getTickerManager(100 * fine)->getResolution(), 10 * fine);
        EXPECT_EQ(loop.getTickerManager(100 * fine + 1), nullptr);
    };
    expectLoop(CONFIG::INSTANCE(), "Config", 1000);
    expectLoop(CRIT::INSTANCE(), "Crit", 100);
    expectLoop(IO::INSTANCE(), "IO", 100);
    expectLoop(MGMT::INSTANCE(), "Mgmt", 1000);
    EXPECT_EQ(CRIT::INSTANCE().getAsyncContext().loop, &CRIT::INSTANCE());
    EXPECT_EQ(IO::INSTANCE().getSyncContext().type, ZK::FunctionContext::Type::SYNC);
    EXPECT_EQ(MGMT::INSTANCE().getDirectContext().type, ZK::FunctionContext::Type::DIRECT);
}
