#include "tests/string_printer.h"
#include "tests/threads/function_thread.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/thread_supervisor.h"

#include <gtest/gtest.h>
#include <memory>

namespace
{
/// The report on the calling thread.
ZKThreadSupervisor::Report ownReport()
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    ZKThreadSupervisor::INSTANCE().getStatus(reports);
    for (auto const& report : reports)
    {
        if (ZKThread::CURRENT_HAS_ID(report.id))
            return report;
    }
    return {};
}
}

TEST(Lock, ForeignThreadCountsButIsNoHolder)
{
    ZKLock lock(ZKLock::Type::MUTEX);
    lock.onWait(0);
    lock.onLocked();
    EXPECT_EQ(lock.getHolder(), nullptr);
    EXPECT_EQ(lock.getLockCount(), 1u);
    FunctionThread(
        [&]
        {
            lock.onLocked();
            EXPECT_EQ(lock.getHolder(), ZKThread::CURRENT());
            lock.onUnlocked();
            EXPECT_EQ(lock.getHolder(), ZKThread::CURRENT()) << "the first holder stays until the count is 0";
        })
        .run();
    lock.onUnlocked();
    EXPECT_EQ(lock.getHolder(), nullptr);
    EXPECT_EQ(lock.getLockCount(), 0u);
}

TEST(Lock, ThreadListsObtainedLocksAsAStackUntilTheyAreDestroyed)
{
    FunctionThread(
        []
        {
            auto first = std::make_unique<ZKMutex>(false);
            ZKLock second(ZKLock::Type::SYNC_EVENT);
            first->lock();
            second.onLocked();
            auto report = ownReport();
            ASSERT_EQ(report.obtained.size(), 2u);
            EXPECT_EQ(report.obtained[0].name, first->getLockName());
            EXPECT_EQ(report.obtained[1].type, ZKLock::Type::SYNC_EVENT);

            first->unlock();
            first->onWait(0);
            report = ownReport();
            ASSERT_EQ(report.obtained.size(), 1u);
            EXPECT_EQ(report.obtained[0].name, first->getLockName()) << "the newest entry goes, whichever was let go";
            ASSERT_EQ(report.waiting.size(), 1u);

            first.reset();
            report = ownReport();
            EXPECT_TRUE(report.obtained.isEmpty());
            EXPECT_TRUE(report.waiting.isEmpty());
            second.onUnlocked();
            second.onUnlocked();
            EXPECT_TRUE(ownReport().obtained.isEmpty()) << "an empty list stays empty";
        })
        .run();
}

TEST(Lock, DestroyedThreadIsNoHolder)
{
    ZKLock locks[3] = {ZKLock(ZKLock::Type::MUTEX), ZKLock(ZKLock::Type::SEMAPHORE), ZKLock(ZKLock::Type::SYNC_EVENT)};
    auto thread = std::make_unique<FunctionThread>(
        [&]
        {
            for (ZKLock& lock : locks)
                lock.onLocked();
            locks[0].onUnlocked(); // the list keeps the entry of the first instead of the last one's
        });
    thread->run();
    EXPECT_EQ(locks[0].getHolder(), nullptr);
    EXPECT_EQ(locks[1].getHolder(), thread.get());
    EXPECT_EQ(locks[2].getHolder(), thread.get());
    thread.reset();
    EXPECT_EQ(locks[1].getHolder(), nullptr);
    EXPECT_EQ(locks[2].getHolder(), nullptr);
    EXPECT_EQ(locks[2].getLockCount(), 1u);
}
