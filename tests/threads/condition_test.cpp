#include "tests/captured_syslog.h"
#include "tests/eventually.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/conditional_expression.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/thread_supervisor.h"

#include <gtest/gtest.h>

namespace
{
XCode const TIMED_OUT = ZK::Detail::codeOfErrno(ETIMEDOUT);
}

TEST(ThreadCondition, WaitTakesAFreeMutexAndTimedWaitRefusesIt)
{
    ZKMutex mutex(false);
    ZKThreadCondition condition(mutex, ZK::Time::Source::MONOTONIC);
    {
        CapturedSyslog captured;
        EXPECT_EQ(condition.waitFor(100), XCODE_FAILURE);
        ASSERT_EQ(captured.lines().size(), 1u);
        EXPECT_STREQ(captured.lines()[0].c_str(),
                     String::stringOfFormat("%d Mutex %p: NOT LOCKED BEFORE WAITING FOR CONDITION %p\n", LOG_ERR,
                                            static_cast<void*>(&mutex), static_cast<void*>(&condition))
                         .c_str());
    }
    std::atomic<bool> isOver = false;
    FunctionThread waiter(
        [&]
        {
            EXPECT_TRUE(condition.wait().isSuccess());
            isOver = true;
        });
    waiter.start("");
    EXPECT_TRUE(eventually(
        [&]
        {
            condition.signal();
            return isOver.load();
        }));
    EXPECT_EQ(mutex.getLockCount(), 0u);
}

TEST(ThreadCondition, SleeperHoldsNoLockAndANegativeTimeIsNoTimeOut)
{
    ZKMutex mutex(false);
    ZKThreadCondition condition(mutex, ZK::Time::Source::MONOTONIC);
    Door asleep(0);
    bool isReady = false;
    FunctionThread sleeper(
        [&]
        {
            ZKAutoLock<ZKMutex> guard(mutex);
            asleep.release();
            while (!isReady)
                EXPECT_TRUE(condition.waitFor(-1).isSuccess());
            EXPECT_EQ(mutex.getHolder(), ZKThread::CURRENT());
        });
    sleeper.start("");
    asleep.acquire();
    EXPECT_TRUE(eventually([&] { return mutex.getLockCount() == 0; }));
    EXPECT_EQ(mutex.getHolder(), nullptr);
    {
        ZKAutoLock<ZKMutex> guard(mutex);
        isReady = true;
    }
    condition.signal();
}

TEST(ThreadCondition, CancelledSleeperLeavesTheMutexFree)
{
    ZKMutex mutex(false);
    ZKThreadCondition condition(mutex, ZK::Time::Source::MONOTONIC);
    FunctionThread sleeper(
        [&]
        {
            while (condition.wait().isSuccess())
            {
            }
        });
    sleeper.start("");
    sleeper.stop();
    sleeper.join();
    EXPECT_EQ(mutex.getLockCount(), 0u);
    EXPECT_TRUE(mutex.lock().isSuccess());
    mutex.unlock();
}

TEST(ConditionalExpression, UnlockWakesAWaiterThatTheReportShows)
{
    ZK::ConditionalExpression expression(ZK::Time::Source::REALTIME);
    int state = 0;
    FunctionThread waiter(
        [&]
        {
            ZKAutoLock<ZK::ConditionalExpression> guard(expression);
            while (state != 1)
                EXPECT_TRUE(expression.wait().isSuccess());
            EXPECT_EQ(expression.waitFor(1), TIMED_OUT);
            EXPECT_EQ(expression.waitUntil(ZK::Time(0)), TIMED_OUT);
        });
    waiter.start("");
    EXPECT_TRUE(eventually(
        [&]
        {
            ZKVector<ZKThreadSupervisor::Report> reports;
            ZKThreadSupervisor::INSTANCE().getStatus(reports);
            return !reports.isEmpty() && !reports[0].waiting.isEmpty() &&
                   reports[0].waiting[0].type == ZKLock::Type::COND_VAR;
        }));
    ZKAutoLock<ZK::ConditionalExpression> guard(expression);
    EXPECT_TRUE(expression.lock().isSuccess()) << "the lock is recursive";
    expression.unlock();
    state = 1;
}
