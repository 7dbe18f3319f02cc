#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/condition.h"
#include "zekovar/threads/conditional_expression.h"
#include "zekovar/threads/mutex.h"

namespace
{
XCode const TIMED_OUT = ZK::Detail::codeOfErrno(ETIMEDOUT);

class ThreadCondition : public testing::Test
{
protected:
    ZKMutex m_mutex{false};
    ZKThreadCondition m_condition{m_mutex, ZK::Time::Source::MONOTONIC};
};
}

TEST_F(ThreadCondition, WaitTakesAFreeMutexAndTimedWaitRefusesIt)
{
    CapturedSyslog log;
    EXPECT_EQ(m_condition.waitFor(100), XCODE_FAILURE);
    auto const line = String::stringOfFormat("3 Mutex %p: NOT LOCKED BEFORE WAITING FOR CONDITION %p\n",
                                             static_cast<void*>(&m_mutex), static_cast<void*>(&m_condition));
    EXPECT_EQ(log.lines(), std::vector<std::string>{line.c_str()});
    std::atomic<bool> isOver = false;
    FunctionThread waiter([&] { isOver = m_condition.wait().isSuccess(); });
    EXPECT_TRUE(eventually([&] { return m_condition.signal(), isOver.load(); }));
    EXPECT_EQ(m_mutex.getLockCount(), 0u);
}

TEST_F(ThreadCondition, SleeperHoldsNoLockAndANegativeTimeIsNoTimeOut)
{
    Door asleep;
    bool isReady = false;
    auto const sleep = [&]
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        asleep.release();
        while (!isReady)
            EXPECT_TRUE(m_condition.waitFor(-1));
        EXPECT_EQ(m_mutex.getHolder(), ZKThread::CURRENT());
    };
    FunctionThread sleeper(sleep);
    asleep.acquire();
    EXPECT_TRUE(eventually([&] { return m_mutex.getLockCount() == 0; }));
    EXPECT_EQ(m_mutex.getHolder(), nullptr);
    {
        ZKAutoLock<ZKMutex> guard(m_mutex);
        isReady = true;
    }
    m_condition.signal();
}

TEST_F(ThreadCondition, CancelledSleeperLeavesTheMutexFree)
{
    auto const sleep = [&]
    {
        while (m_condition.wait())
        {
        }
    };
    FunctionThread sleeper(sleep);
    sleeper.stop();
    sleeper.join();
    EXPECT_EQ(m_mutex.getLockCount(), 0u);
    EXPECT_TRUE(m_mutex.lock());
    m_mutex.unlock();
}

TEST(ConditionalExpression, UnlockWakesAWaiterThatTheReportShows)
{
    ZK::ConditionalExpression expression(ZK::Time::Source::REALTIME);
    int state = 0;
    auto const wait = [&]
    {
        ZKAutoLock<ZK::ConditionalExpression> guard(expression);
        while (state != 1)
            EXPECT_TRUE(expression.wait());
        EXPECT_EQ(expression.waitFor(1), TIMED_OUT);
        EXPECT_EQ(expression.waitUntil(ZK::Time(0)), TIMED_OUT);
    };
    FunctionThread waiter(wait);
    statusOfWaiter(ZKLock::Type::COND_VAR);
    ZKAutoLock<ZK::ConditionalExpression> guard(expression);
    EXPECT_TRUE(expression.lock()) << "the lock is recursive";
    expression.unlock();
    state = 1;
}
