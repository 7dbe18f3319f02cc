#include "zekovar/events/event_sync.h"

#include "tests/captured_syslog.h"
#include "tests/events/loop_fixture.h"
#include "zekovar/events/synchronized.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
void runOn(TestLoop& loop, std::function<void()> body)
{
    Task const task(loop, EventPrio::NORMAL, std::move(body));
    task->set();
    EXPECT_TRUE(loop.handleAll());
}

uint64_t addedTo(ZKEventLoop& loop)
{
    return loop.getQueue(EventPrio::HIGH).getAddedCount() + loop.getQueue(EventPrio::NORMAL).getAddedCount() +
           loop.getQueue(EventPrio::LOW).getAddedCount();
}

std::vector<unsigned long> currentList()
{
    ZKVector<unsigned long> ids;
    getCurrentThreadSynchornization(ids);
    return std::vector<unsigned long>(ids.begin(), ids.end());
}
}

TEST(EventSync, LoopsOwnThreadIsGrantedAtOnceAndShownAsTheHolder)
{
    TestLoop loop;
    runOn(loop,
          [&]
          {
              uint64_t const before = addedTo(loop);
              ZKEventSync& sync = loop.getEventSync(EventPrio::LOW);
              EXPECT_TRUE(sync.synchronize().isSuccess());
              EXPECT_EQ(currentList(), (std::vector<unsigned long>(2, loop.getThread().getId())));
              EXPECT_EQ(sync.getHolder(), &loop.getThread());
              sync.unsynchronize();
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
            EXPECT_TRUE(currentList().empty()) << "it never synchronised";
            ASSERT_TRUE(sync.lock().isSuccess()) << "it blocks until the loop runs";
            ASSERT_TRUE(loop.getEventSync(EventPrio::HIGH).lock().isSuccess()) << "any priority nests";
            for (int i = 0; i < 40; i++)
                ASSERT_TRUE(sync.lock().isSuccess());
            EXPECT_EQ(currentList().size(), 32u) << "the list is full, the levels go on";
            EXPECT_EQ(addedTo(loop), 1u);
            Task const event(loop, EventPrio::HIGH, [] {});
            event->set();
            for (int i = 0; i < 40; i++)
                sync.unlock();
            loop.getEventSync(EventPrio::HIGH).unlock();
            EXPECT_EQ(event->getPending(), 1u) << "one level still holds the loop";
            sync.unlock();
            EXPECT_TRUE(eventually([&] { return !event->isPending(); }));
        });
    EXPECT_TRUE(eventually([&] { return loop.getQueue(EventPrio::NORMAL).getFillLevel() == 1; }));
    loop.start();
    holder.join();
}

TEST(EventSync, OnlyTheHolderIsSynchronised)
{
    TestLoop loop;
    ZKThread const& thread = loop.getThread();
    loop.start();
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
        std::thread([&] { expectAll(false); }).join();
        CapturedSyslog captured;
        printCurrentSynchronizationToSyslog(7);
        std::string const self = ZKThread::CURRENT_NAME().c_str();
        EXPECT_EQ(captured.lines(),
                  (std::vector<std::string>{"7 Current Thread " + self + " is synchronized to " + self + ", Test"}));
    }
    expectAll(false);
    runOn(loop, [&] { expectAll(true); });
}

TEST(EventSync, LoopsMayBeReleasedInTheOrderInWhichTheyWereStopped)
{
    TestLoop first, second;
    first.start();
    second.start();
    first.getEventSync(EventPrio::NORMAL).lock();
    second.getEventSync(EventPrio::NORMAL).lock();
    first.getEventSync(EventPrio::NORMAL).unlock();
    EXPECT_FALSE(isCurrentThreadSynchronizedTo(first));
    EXPECT_TRUE(isCurrentThreadSynchronizedTo(second));
    runOn(first, [] {});
    second.getEventSync(EventPrio::NORMAL).unlock();
    runOn(second, [] {});
}
