#include "zekovar/events/event_sync.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/blocking_event.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/threads/thread_supervisor.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{
struct RunningLoop : TestLoop
{
    RunningLoop() { start(); }
};

void runOn(ZKEventLoop& loop, std::function<void()> body)
{
    auto* event = new _ZKBlockingEvent(
        loop, EventPrio::NORMAL, [](void* function) { (*static_cast<std::function<void()>*>(function))(); }, &body);
    EXPECT_TRUE(event->set().isSuccess());
    event->destroy();
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
    EXPECT_EQ(getThreadName(loop.getQueue(EventPrio::HIGH)), "Test");
    EXPECT_EQ(getThreadName(String("as it stands")), "as it stands");
}

TEST(EventSync, LoopsMayBeReleasedInTheOrderInWhichTheyWereStopped)
{
    RunningLoop first, second;
    first.getEventSync(EventPrio::NORMAL).lock();
    second.getEventSync(EventPrio::NORMAL).lock();
    first.getEventSync(EventPrio::NORMAL).unlock();
    EXPECT_FALSE(isCurrentThreadSynchronizedTo(first));
    EXPECT_TRUE(isCurrentThreadSynchronizedTo(second));
    runOn(first, [] {});
    second.getEventSync(EventPrio::NORMAL).unlock();
    runOn(second, [] {});
}

TEST(EventSync, LockReportShowsWhoHoldsTheLoop)
{
    RunningLoop holder, shown;
    runOn(holder,
          [&]
          {
              ZKAutoLock<ZKEventLoop> stop(shown);
              ZKVector<ZKThreadSupervisor::Report> reports;
              ZKThreadSupervisor::INSTANCE().getStatus(reports);
              auto const* own = std::find_if(reports.begin(), reports.end(),
                                             [](auto const& report) { return report.id == ZKThread::CURRENT_ID(); });
              ASSERT_NE(own, reports.end());
              ASSERT_FALSE(own->obtained.isEmpty());
              auto const& newest = *(own->obtained.end() - 1);
              EXPECT_EQ(newest.type, ZKLock::Type::SYNC_EVENT);
              void const* const sync = &shown.getEventSync(EventPrio::NORMAL);
              EXPECT_EQ(newest.name, String::stringOfFormat("Test-%p", sync));
          });
}

TEST(SynchronizedAttribute, KeepsThirtyTwoIds)
{
    ZKThreadAttributeSynchronized list;
    for (unsigned long id = 1; id <= 32; id++)
        EXPECT_TRUE(list.pushThread(id).isSuccess());
    EXPECT_EQ(list.pushThread(33), XCODE_FAILURE);
    EXPECT_EQ(list.getThread(31), 32u);
    EXPECT_EQ(list.getThread(32), 0u);
    EXPECT_EQ(list.popThread(), 32u);
    list.clearThreads();
    EXPECT_EQ(list.popThread(), 0u);
    EXPECT_FALSE(list.containsThread(1));
}
