#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{
/// Records what a waiting thread is told, and opens a door when it has waited for 3 seconds.
class ObservedMutex : public ZKMutex
{
public:
    explicit ObservedMutex(Door& door) : ZKMutex(false), m_door(door) {}

    void onWait(unsigned int milliseconds) override
    {
        record("wait " + std::to_string(milliseconds));
        if (milliseconds == 3000)
            m_door.release();
    }

    void onWaitCanceled() override { record("cancelled"); }

    void onLocked() override
    {
        ZKMutex::onLocked();
        record("locked");
    }

    std::vector<std::string> m_log;

private:
    void record(std::string const& line)
    {
        if (ZKThread::CURRENT() == nullptr)
            m_log.push_back(line);
    }

    Door& m_door;
};
}

TEST(Mutex, ContendedLockShowsItsWaitGrowingBySeconds)
{
    Door held(0), release(0);
    ObservedMutex mutex(release);
    FunctionThread holder(
        [&]
        {
            ZKAutoLock<ZKMutex> guard(mutex);
            held.release();
            release.acquire();
        });
    holder.start("");
    held.acquire();
    EXPECT_EQ(mutex.getHolder(), &holder);
    EXPECT_TRUE(mutex.lock().isSuccess());
    mutex.unlock();
    std::vector<std::string> const expected = {"wait 0", "wait 1000", "wait 2000", "wait 3000", "cancelled", "locked"};
    EXPECT_EQ(mutex.m_log, expected);
}

TEST(Mutex, FailingUnlockIsLogged)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the sanitizer reports the misuse itself";
#endif
    CapturedSyslog captured;
    ZKMutex mutex(true);
    mutex.unlock();
    ASSERT_EQ(captured.lines().size(), 1u);
    EXPECT_STREQ(captured.lines()[0].c_str(),
                 String::stringOfFormat("%d Mutex %p: FAILED TO UNLOCK: OPERATION NOT PERMITTED (%d)\n", LOG_CRIT,
                                        static_cast<void*>(&mutex), EPERM)
                     .c_str());
    EXPECT_EQ(mutex.getLockCount(), ~0u) << "the count has already gone down, unchecked";
}
