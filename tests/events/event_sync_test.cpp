#include "zekovar/events/event_sync.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/blocking_event.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/threads/thread_supervisor.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace
{
struct RunningLoop : TestLoop
{
    RunningLoop() { start(); }
};

/// Runs a body on a loop and waits for it; without a body it only shows that the loop runs.
void runOn(
    ZKEventLoop& loop, std::function<void()> body = [] {})
{
    auto* event = new _ZKBlockingEvent(
        loop, EventPrio::NORMAL, [](void* function) { (*static_cast<std::function<void()>*>(function))(); }, &body);
    EXPECT_TRUE(event->set().isSuccess());
    event->destroy();
}

uint64_t addedTo(ZKEventLoop& loop)
{
    uint64_t added = 0;
    for (auto priority : {EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW})
        added += loop.getQueue(priority).getAddedCount();
    return added;
}

std::vector<unsigned long> currentList()
{
    ZKVector<unsigned long> ids;
    getCurrentThreadSynchornization(ids);
    return std::vector<unsigned long>(ids.begin(), ids.end());
}
}

TEST(EventSync, LoopsOwnThreadIsGrantedAtOnce)
{
    RunningLoop loop;
    runOn(loop,
          [&]
          {
              uint64_t const before = addedTo(loop);
              ZKEventSync& sync = loop.getEventSync(EventPrio::LOW);
              EXPECT_TRUE(sync.synchronize().isSuccess());
              EXPECT_EQ(currentList(), (std::vector<unsigned long>(2, loop.getThread().getId())));
              sync.unsynchronize();
              EXPECT_EQ(currentList().size(), 1u);
              sync.unsynchronize();
              EXPECT_EQ(sync.getLockCount(), 0u) << "a level too many is ignored";
              EXPECT_EQ(addedTo(loop), before);
          });
}

TEST(EventSync, NestedLevelsPostOneEventAndTheLastOneLetsTheLoopGo)
{
    TestLoop loop;
    ZKEventSync& sync = loop.getEventSync(EventPrio::NORMAL);
    std::thread holder(
        [&]
        {
            ASSERT_TRUE(sync.lock().isSuccess()) << "it blocks until the loop runs";
            ASSERT_TRUE(loop.getEventSync(EventPrio::HIGH).lock().isSuccess()) << "any priority nests";
            for (int i = 0; i < 40; i++)
                ASSERT_TRUE(sync.lock().isSuccess());
            EXPECT_EQ(currentList().size(), 32u) << "the list is full, the levels go on";
            EXPECT_EQ(addedTo(loop), 1u);
            auto* event = new ZKEvent(loop, EventPrio::HIGH, nullptr, nullptr);
            event->set();
            for (int i = 0; i < 40; i++)
                sync.unlock();
            loop.getEventSync(EventPrio::HIGH).unlock();
            EXPECT_EQ(event->getPending(), 1u) << "one level still holds the loop";
            sync.unlock();
            EXPECT_TRUE(eventually([&] { return !event->isPending(); }));
            event->destroy();
        });
    EXPECT_TRUE(eventually([&] { return loop.getQueue(EventPrio::NORMAL).getFillLevel() == 1; }));
    loop.start();
    holder.join();
}

TEST(EventSync, OnlyTheHolderIsSynchronised)
{
    RunningLoop loop;
    ZKThread const& thread = loop.getThread();
    EXPECT_TRUE(eventually([&] { return ZKThread::GET_BY_NAME("Test") != nullptr; }));
    auto const expectAll = [&](bool expected)
    {
        EXPECT_EQ(isCurrentThreadSynchronizedTo(thread.getId()), expected);
        EXPECT_EQ(isCurrentThreadSynchronizedTo(thread), expected);
        EXPECT_EQ(isCurrentThreadSynchronizedTo("Test"), expected);
        EXPECT_EQ(isCurrentThreadSynchronizedTo(loop), expected);
        EXPECT_EQ(isCurrentThreadSynchronizedTo(loop.getQueue(EventPrio::LOW)), expected);
        EXPECT_FALSE(isCurrentThreadSynchronizedTo("no such thread"));
    };
    {
        ZKAutoLock<ZKEventLoop> stop(loop);
        expectAll(true);
        EXPECT_EQ(currentList(), (std::vector<unsigned long>{ZKThread::CURRENT_ID(), thread.getId()}));
        printCurrentSynchronizationToSyslog(7);
        std::thread(
            [&]
            {
                expectAll(false);
                EXPECT_TRUE(currentList().empty()) << "it never synchronised";
            })
            .join();
    }
    expectAll(false);
    EXPECT_TRUE(isCurrentThreadSynchronizedTo(ZKThread::CURRENT_ID()));
    runOn(loop, [&] { expectAll(true); });
    EXPECT_EQ(getThreadName(thread.getId()), "Test");
    EXPECT_EQ(getThreadName(loop.getQueue(EventPrio::HIGH)), "Test");
    EXPECT_EQ(getThreadName(String("as it stands")), "as it stands");
}

TEST(EventSync, RequestsTakeTheirTurnByPriority)
{
    TestLoop loop;
    std::vector<int> order;
    std::vector<std::thread> threads;
    for (auto priority : {EventPrio::LOW, EventPrio::NORMAL, EventPrio::HIGH})
    {
        threads.emplace_back(
            [&, priority]
            {
                ZKAutoLock<ZKEventSync> stop(loop.getEventSync(priority));
                order.push_back(priority);
            });
        EXPECT_TRUE(eventually([&] { return loop.getQueue(priority).getFillLevel() == 1; }));
    }
    loop.start();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(order, (std::vector<int>{EventPrio::HIGH, EventPrio::NORMAL, EventPrio::LOW}));
}

TEST(EventSync, LoopsMayBeReleasedInTheOrderInWhichTheyWereStopped)
{
    RunningLoop first, second;
    first.getEventSync(EventPrio::NORMAL).lock();
    second.getEventSync(EventPrio::NORMAL).lock();
    first.getEventSync(EventPrio::NORMAL).unlock();
    EXPECT_FALSE(isCurrentThreadSynchronizedTo(first));
    EXPECT_TRUE(isCurrentThreadSynchronizedTo(second));
    runOn(first);
    second.getEventSync(EventPrio::NORMAL).unlock();
    runOn(second);
}

TEST(EventSync, LockReportShowsWhoHoldsTheLoop)
{
    RunningLoop holder, shown;
    runOn(holder,
          [&]
          {
              ZKEventSync& sync = shown.getEventSync(EventPrio::NORMAL);
              ZKAutoLock<ZKEventLoop> stop(shown);
              EXPECT_EQ(sync.getHolder(), &holder.getThread());
              EXPECT_EQ(sync.getLockName(), String::stringOfFormat("Test-%p", static_cast<void*>(&sync)));
              ZKVector<ZKThreadSupervisor::Report> reports;
              ZKThreadSupervisor::INSTANCE().getStatus(reports);
              String text;
              ZKThreadSupervisor::GET_STATUS(text, reports);
              std::string const line = std::string(" + holding sync-event ") + sync.getLockName().c_str() + "\n";
              EXPECT_NE(std::string(text.c_str()).find(line), std::string::npos) << text.c_str();
          });
}

TEST(SynchronizedAttribute, KeepsThirtyTwoIds)
{
    ZKThreadAttributeSynchronized list;
    for (unsigned long id = 1; id <= 32; id++)
        EXPECT_TRUE(list.pushThread(id).isSuccess());
    EXPECT_EQ(list.pushThread(33), XCODE_FAILURE);
    EXPECT_EQ(list.count(), 32u);
    EXPECT_EQ(list.getThread(31), 32u);
    EXPECT_EQ(list.getThread(32), 0u);
    EXPECT_FALSE(list.containsThread(33));
    EXPECT_EQ(list.popThread(), 32u);
    list.clearThreads();
    EXPECT_EQ(list.popThread(), 0u);
    EXPECT_FALSE(list.containsThread(1));
}
