#include "zekovar/threads/semaphore.h"

#include "tests/captured_syslog.h"
#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "zekovar/foundation/system_code.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using ZK::Detail::codeOfErrno;

namespace
{
constexpr int NO_LIMIT = 0x7FFFFFFF;

/// Counts the notifications of the lock report.
class Observed : public ZKSemaphore
{
public:
    using ZKSemaphore::ZKSemaphore;

    void onWait(unsigned int milliseconds) override
    {
        waits += milliseconds == 0;
        ZKSemaphore::onWait(milliseconds);
    }

    void onWaitCanceled() override
    {
        cancels++;
        ZKSemaphore::onWaitCanceled();
    }

    std::atomic<int> waits{0};
    std::atomic<int> cancels{0};
};
}

TEST(Semaphore, PollTakesWhatIsThereAndTimesOutOtherwise)
{
    ZKSemaphore semaphore(1, 1, ZK::Time::Source::MONOTONIC);

    EXPECT_TRUE(semaphore.waitFor(0).isSuccess());
    EXPECT_EQ(semaphore.waitFor(0).getValue(), 0x11000000u + ETIMEDOUT);
    EXPECT_TRUE(semaphore.signal().isSuccess());
    EXPECT_TRUE(semaphore.signal().isSuccess()) << "at the maximum a signal is dropped, not refused";
    EXPECT_EQ(semaphore.getLockStatus(), "curr=1,max=1");
    EXPECT_EQ(semaphore.getType(), ZKLock::Type::SEMAPHORE);
}

TEST(Semaphore, DeadlinePassesInSilenceOnTheOwnClock)
{
    CapturedSyslog log;
    for (ZK::Time::Source const source : {ZK::Time::Source::MONOTONIC, ZK::Time::Source::REALTIME})
    {
        ZK::Time deadline = ZK::Time::NOW(source);
        deadline.addMilliseconds(30);
        EXPECT_EQ(ZKSemaphore(0, 1, source).waitUntil(deadline), codeOfErrno(ETIMEDOUT));
        EXPECT_TRUE(ZK::Time::NOW(source) >= deadline && log.lines().empty());
    }
}

TEST(Semaphore, WaitersShowInTheReportUntilTheyAreServed)
{
    XCode (*const unlimited[])(ZKSemaphore&) = {
        [](ZKSemaphore& semaphore) { return semaphore.wait(); },
        [](ZKSemaphore& semaphore) { return semaphore.waitFor(NO_LIMIT); },
        [](ZKSemaphore& semaphore) { return semaphore.waitFor(-1); },
        [](ZKSemaphore& semaphore) { return semaphore.waitUntil(ZK::Time(-1)); },
        [](ZKSemaphore& semaphore) { return semaphore.waitUntil(ZK::Time(0x7FFFFFFF)); },
    };
    for (auto const wait : unlimited)
    {
        Observed semaphore(0, NO_LIMIT, ZK::Time::Source::REALTIME);
        XCode code = XCODE_FAILURE;
        std::thread waiter([&] { code = wait(semaphore); });
        EXPECT_TRUE(eventually([&] { return semaphore.waits == 1; }));
        EXPECT_TRUE(semaphore.signal());
        waiter.join();
        EXPECT_TRUE(code);
        EXPECT_EQ(semaphore.cancels, semaphore.waits);
        EXPECT_EQ(semaphore.waitFor(0), codeOfErrno(ETIMEDOUT)) << "one unit was taken";
    }
}

TEST(Semaphore, UnitsAreNeitherLostNorMade)
{
    constexpr int THREADS = 4;
    constexpr int UNITS = 500;
    ZKSemaphore semaphore(0, NO_LIMIT, ZK::Time::Source::MONOTONIC);
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; i++)
    {
        threads.emplace_back(
            [&]
            {
                for (int k = 0; k < UNITS; k++)
                    semaphore.signal();
            });
        threads.emplace_back(
            [&]
            {
                // short deadlines pass all the time: a time-out must neither take a unit nor swallow another one's signal
                for (int k = 0; k < UNITS;)
                    k += k % 2 == 0 ? semaphore.waitFor(1).isSuccess() : semaphore.wait().isSuccess();
                taken += UNITS;
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(taken, THREADS * UNITS);
    EXPECT_EQ(semaphore.getLockStatus(), "curr=0,max=2147483647");
}

TEST(Semaphore, LastWaiterMayDestroyIt)
{
    for (int round = 0; round < 2000; round++)
    {
        auto semaphore = std::make_unique<ZKSemaphore>(0, 1, ZK::Time::Source::REALTIME);
        std::thread signaller([raw = semaphore.get()] { raw->signal(); });
        EXPECT_TRUE(semaphore->wait());
        semaphore.reset();
        signaller.join();
    }
}

TEST(Semaphore, FailuresAreReportedOnTheSystemMonitor)
{
    CapturedSyslog log;
    ZKSemaphore semaphore(0, 1, ZK::Time::Source::REALTIME);
    EXPECT_EQ(semaphore.waitUntil(ZK::Time(1, 2000000000)), codeOfErrno(EINVAL));
    String const expected = String::stringOfFormat("2 ZKSemaphore %p: waitUntil() failed: INVALID ARGUMENT (22)",
                                                   static_cast<void*>(&semaphore));
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(String(log.lines().back().c_str()), expected);
}
