#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/sem_fifo.h"
#include "zekovar/threads/sem_global.h"
#include "zekovar/threads/semaphore.h"

#include <fcntl.h>
#include <memory>
#include <sys/sem.h>
#include <thread>

using ZK::Detail::codeOfErrno;

constexpr int NO_LIMIT = 0x7FFFFFFF;

TEST(Semaphore, PollTakesWhatIsThereAndTimesOutOtherwise)
{
    ZKSemaphore semaphore(1, 1, ZK::Time::Source::MONOTONIC);

    EXPECT_TRUE(semaphore.waitFor(0));
    EXPECT_EQ(semaphore.waitFor(0).getValue(), 0x11000000u + ETIMEDOUT);
    EXPECT_TRUE(semaphore.signal());
    EXPECT_TRUE(semaphore.signal()) << "at the maximum a signal is dropped, not refused";
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
              String::stringOfFormat("2 SYSTEM     # ZKSemaphore %p: waitUntil() failed: INVALID ARGUMENT (22)\n",
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
        FunctionThread waiter([&] { EXPECT_TRUE(wait(semaphore) && threadStatus()[0].waiting.isEmpty()); });
        auto const shown = statusOfWaiter(ZKLock::Type::SEMAPHORE)[0].waiting[0]; // no more for its mutex
        EXPECT_TRUE(semaphore.signal());
        waiter.join();
        EXPECT_EQ(shown.name, semaphore.getLockName());
        EXPECT_EQ(shown.status, "curr=0,max=2147483647");
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

TEST(SemFifo, MakerAndUsersShareTheUnits)
{
    String path;
    {
        ZKSemFifo maker(0, 2);
        path = ZKSemFifo::BUILD_FIFO_PATH(maker.getId());
        ASSERT_TRUE(ZKFile(path, false, false).isFifo());
        ZKSemFifo user(maker.getId(), 1);
        EXPECT_EQ(user.getLockName(), String::stringOfFormat("%s (%p)", path.c_str(), static_cast<void const*>(&user)));
        EXPECT_TRUE(maker.wait() && user.wait() && maker.wait());
    }
    EXPECT_FALSE(ZKFile::EXISTS(path));
}

TEST(SemFifo, PathThatIsNoFifoFailsWithALine)
{
    CapturedSyslog log;
    int const id = 2000000000 + ::getpid(); // of no other test
    String const path = ZKSemFifo::BUILD_FIFO_PATH(id);
    ZKSemFifo missing(id, 1);
    EXPECT_FALSE(ZKFile::EXISTS(path)) << "nothing is made in its place";
    ZKFile regular(path, true, true);
    ASSERT_TRUE(regular.open(O_RDWR | O_CREAT, 0600, ZKFile::XO_NONE));
    ZKSemFifo semaphore(id, 0);
    EXPECT_TRUE(semaphore.wait().isErr() && semaphore.signal().isErr());
    ASSERT_EQ(log.lines().size(), 4u);
    EXPECT_EQ(log.lines()[3], "3 SEMFIFO " + std::to_string(id) + " SIGNAL FAILED: " + path.c_str() +
                                  " (FD=-1): BAD FILE DESCRIPTOR (9)\n");
}

TEST(SemFifo, ThreadThatIsToBeCancelledMayDestroyIt)
{
    String path;
    auto const function = [&]
    {
        ZKSemFifo const semaphore(0, 0);
        ZKFile file(path = ZKSemFifo::BUILD_FIFO_PATH(semaphore.getId()), true, false);
        EXPECT_TRUE(file.open(O_RDWR, 0, ZKFile::XO_NONE));
        ::pthread_cancel(::pthread_self()); // at its next close, if that heeds it
    };
    std::thread(function).join();
    EXPECT_FALSE(ZKFile::EXISTS(path));
}

TEST(SemGlobal, CreatorRemovesWhatUsersShare)
{
    _ZKSemGlobal creator;
    ASSERT_TRUE(creator.setup(0));
    EXPECT_EQ(creator.setup(0), XCODE_FAILURE);
    int const id = creator.getId();
    {
        _ZKSemGlobal user;
        ASSERT_TRUE(user.setup(id));
        EXPECT_TRUE(user.initialiseWithValue(3) && creator.waitForMinValue(3));
    }
    EXPECT_EQ(::semctl(id, 0, GETVAL), 3) << "a user leaves the semaphore alone";
    for (int const refused : {0, 1, 65535})
        EXPECT_EQ(creator.operation(refused), XCODE_FAILURE) << "only negative changes reach the semaphore";
    EXPECT_TRUE(creator.operation(-2) && creator.decrementOne());
    EXPECT_EQ(::semctl(id, 0, GETVAL), 0);
    EXPECT_TRUE(creator.destroy());
    EXPECT_LT(::semctl(id, 0, GETVAL), 0);

    CapturedSyslog log;
    EXPECT_TRUE(creator.decrementOne().isErr() && creator.initialiseWithValue(1).isErr() &&
                creator.waitForMinValue(0).isErr());
    EXPECT_TRUE(log.lines().empty()) << "it isn't set up any more";
    ASSERT_TRUE(creator.setup(id));
    EXPECT_EQ(creator.decrementOne(), XCODE_FAILURE);
    EXPECT_EQ(log.lines().size(), 1u);
}
