#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"
#include "zekovar/threads/rw_lock.h"

#include <memory>

TEST(Lock, ThreadListsObtainedLocksAsAStackUntilTheyAreDestroyed)
{
    auto const function = []
    {
        auto first = std::make_unique<ZKMutex>(false);
        ZKLock second(ZKLock::Type::SYNC_EVENT);
        first->lock();
        second.onLocked();
        auto report = threadStatus()[0];
        ASSERT_EQ(report.obtained.size(), 2u);
        EXPECT_EQ(report.obtained[0].name, first->getLockName());
        EXPECT_EQ(report.obtained[1].type, ZKLock::Type::SYNC_EVENT);

        first->unlock();
        first->onWait(0);
        report = threadStatus()[0];
        ASSERT_TRUE(report.obtained.size() == 1 && report.waiting.size() == 1);
        EXPECT_EQ(report.obtained[0].name, first->getLockName()) << "the newest entry goes, whichever was let go";

        first.reset();
        report = threadStatus()[0];
        EXPECT_TRUE(report.obtained.isEmpty() && report.waiting.isEmpty());
        second.onUnlocked();
        second.onUnlocked();
        EXPECT_TRUE(threadStatus()[0].obtained.isEmpty()) << "an empty list stays empty";
    };
    FunctionThread(function).join();
}

TEST(Lock, DestroyedThreadIsNoHolder)
{
    ZKLock locks[3] = {ZKLock(ZKLock::Type::MUTEX), ZKLock(ZKLock::Type::SEMAPHORE), ZKLock(ZKLock::Type::SYNC_EVENT)};
    auto const function = [&]
    {
        for (ZKLock& lock : locks)
            lock.onLocked();
        locks[0].onUnlocked(); // the list keeps the entry of the first instead of the last one's
    };
    auto thread = std::make_unique<FunctionThread>(function);
    thread->join();
    EXPECT_EQ(locks[0].getHolder(), nullptr);
    EXPECT_TRUE(locks[1].getHolder() == thread.get() && locks[2].getHolder() == thread.get());
    thread.reset();
    EXPECT_TRUE(locks[1].getHolder() == nullptr && locks[2].getHolder() == nullptr);
    EXPECT_EQ(locks[2].getLockCount(), 1u);
}

TEST(Mutex, FailingUnlockIsLogged)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer reports the misuse itself";
#endif
    CapturedSyslog log;
    ZKMutex mutex(true);
    mutex.unlock();
    auto const line = String::stringOfFormat("2 Mutex %p: FAILED TO UNLOCK: OPERATION NOT PERMITTED (1)\n",
                                             static_cast<void*>(&mutex));
    EXPECT_EQ(log.lines(), std::vector<std::string>{line.c_str()});
    EXPECT_EQ(mutex.getLockCount(), ~0u) << "the count has already gone down, unchecked";
}

TEST(RWLock, FirstReaderStaysHolderUntilTheLastOneLeaves)
{
    ZKRWLock lock;
    ZKRWLock::Lock& reader = lock.getReadLock();
    Door in, out, end;
    auto const read = [&]
    {
        EXPECT_TRUE(reader.lock());
        in.release();
        out.acquire();
        reader.unlock();
        in.release();
        end.acquire();
    };
    FunctionThread first(read);
    in.acquire();
    EXPECT_TRUE(reader.lock() && reader.getLockCount() == 2);
    out.release();
    in.acquire();
    EXPECT_TRUE(reader.getHolder() == &first && reader.getLockCount() == 1);
    reader.unlock();
    EXPECT_EQ(reader.getHolder(), nullptr);
    end.release();
}

TEST(RWLock, LockThatWouldWaitForItselfFailsAndIsLogged)
{
    ZKRWLock lock;
    ZKRWLock::Lock& writer = lock.getWriteLock();
    ASSERT_TRUE(writer.lock());
    XCode const code = ZK::Detail::codeOfErrno(EDEADLK);
    CapturedSyslog log;
    EXPECT_TRUE(lock.getReadLock().lock() == code && lock.getReadLock().getLockCount() == 0);
    EXPECT_TRUE(writer.lock() == code && writer.getLockCount() == 1);
    auto const line = String::stringOfFormat("2 WriteLock %p: FAILED TO LOCK: %s\n", static_cast<void*>(&writer),
                                             code.toString().c_str());
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(log.lines()[1], line.c_str());
    writer.unlock();
}
