#include "zekovar/threads/semaphore.h"

#include "tests/captured_syslog.h"
#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/thread_supervisor.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

using ZK::Detail::codeOfErrno;

namespace
{
constexpr int NO_LIMIT = 0x7FFFFFFF;

ZKVector<ZKThreadSupervisor::Report> status()
{
    ZKVector<ZKThreadSupervisor::Report> reports;
    ZKThreadSupervisor::INSTANCE().getStatus(reports);
    return reports;
}
}

TEST(Semaphore, PollTakesWhatIsThereAndTimesOutOtherwise)
{
    ZKSemaphore semaphore(1, 1, ZK::Time::Source::MONOTONIC);

    EXPECT_TRUE(semaphore.waitFor(0).isSuccess());
    EXPECT_EQ(semaphore.waitFor(0).getValue(), 0x11000000u + ETIMEDOUT);
    EXPECT_TRUE(semaphore.signal().isSuccess());
    EXPECT_TRUE(semaphore.signal().isSuccess()) << "at the maximum a signal is dropped, not refused";
    EXPECT_EQ(semaphore.getLockStatus(), "curr=1,max=1");
}

TEST(Semaphore, DeadlinePassesInSilenceButAFailureIsReported)
{
    CapturedSyslog log;
    for (ZK::Time::Source const source : {ZK::Time::Source::MONOTONIC, ZK::Time::Source::REALTIME})
    {
        ZK::Time deadline = ZK::Time::NOW(source);
        deadline.addMilliseconds(30);
        EXPECT_EQ(ZKSemaphore(0, 1, source).waitUntil(deadline), codeOfErrno(ETIMEDOUT));
        EXPECT_TRUE(ZK::Time::NOW(source) >= deadline && log.lines().empty());
    }
    ZKSemaphore semaphore(0, 1, ZK::Time::Source::REALTIME);
    EXPECT_EQ(semaphore.waitUntil(ZK::Time(1, 2000000000)), codeOfErrno(EINVAL));
    ASSERT_FALSE(log.lines().empty());
    EXPECT_EQ(log.lines().back().c_str(),
              String::stringOfFormat("2 ZKSemaphore %p: waitUntil() failed: INVALID ARGUMENT (22)",
                                     static_cast<void*>(&semaphore)));
}

TEST(Semaphore, ReportShowsAWaiterWithoutLimitUntilItIsServed)
{
    using Wait = XCode (*)(ZKSemaphore&);
    for (Wait const wait : {Wait([](ZKSemaphore& semaphore) { return semaphore.wait(); }),
                            Wait([](ZKSemaphore& semaphore) { return semaphore.waitFor(NO_LIMIT); }),
                            Wait([](ZKSemaphore& semaphore) { return semaphore.waitUntil(ZK::Time(-1)); }),
                            Wait([](ZKSemaphore& semaphore) { return semaphore.waitUntil(ZK::Time(0x7FFFFFFF)); })})
    {
        ZKSemaphore semaphore(0, NO_LIMIT, ZK::Time::Source::REALTIME);
        FunctionThread waiter(
            [&]
            {
                EXPECT_TRUE(wait(semaphore));
                EXPECT_TRUE(status()[0].waiting.isEmpty());
            });
        ASSERT_TRUE(waiter.start(""));
        ZKVector<ZKThreadSupervisor::Report> reports;
        EXPECT_TRUE(eventually(
            [&]
            {
                reports = status();
                return reports.size() == 1 && reports[0].waiting.size() == 1 &&
                       reports[0].waiting[0].type == ZKLock::Type::SEMAPHORE; // not its mutex
            }));
        EXPECT_TRUE(semaphore.signal());
        waiter.join();
        ASSERT_TRUE(reports.size() == 1 && reports[0].waiting.size() == 1);
        EXPECT_EQ(reports[0].waiting[0].name, semaphore.getLockName());
        EXPECT_EQ(reports[0].waiting[0].status, "curr=0,max=2147483647");
        EXPECT_EQ(semaphore.waitFor(0), codeOfErrno(ETIMEDOUT)) << "one unit was taken";
    }
}

TEST(Semaphore, UnitsAreNeitherLostNorMade)
{
    constexpr int UNITS = 500;
    ZKSemaphore semaphore(0, NO_LIMIT, ZK::Time::Source::MONOTONIC);
    auto const give = [&]
    {
        for (int k = 0; k < UNITS; k++)
            semaphore.signal();
    };
    auto const take = [&]
    {
        // short deadlines pass all the time: a time-out must neither cost a unit nor swallow another one's signal
        for (int k = 0; k < UNITS;)
            k += k % 2 == 0 ? semaphore.waitFor(1).isSuccess() : semaphore.wait().isSuccess();
    };
    {
        std::jthread const threads[] = {std::jthread(give), std::jthread(take), std::jthread(give),
                                        std::jthread(take), std::jthread(give), std::jthread(take)};
    }
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
