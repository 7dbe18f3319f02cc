#include "zekovar/threads/sem_global.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <sys/sem.h>
#include <thread>

namespace
{
class Observed : public _ZKSemGlobal
{
public:
    void onWait(unsigned int) override { waits++; }

    void onWaitCanceled() override { cancels++; }

    int waits = 0;
    int cancels = 0;
};
}

TEST(SemGlobal, CreatorRemovesWhatUsersShare)
{
    _ZKSemGlobal creator;
    EXPECT_EQ(creator.getLockStatus(), "user");
    ASSERT_TRUE(creator.setup(0));
    EXPECT_EQ(creator.setup(0), XCODE_FAILURE);
    int const id = creator.getId();
    EXPECT_GT(id, 0);
    EXPECT_EQ(creator.getLockStatus(), "creator");
    EXPECT_EQ(creator.getLockName(), String::stringOfFormat("%d (%p)", id, static_cast<void*>(&creator)));
    {
        _ZKSemGlobal user;
        ASSERT_TRUE(user.setup(id));
        EXPECT_EQ(user.getLockStatus(), "user");
        EXPECT_TRUE(user.initialiseWithValue(3));
    }
    EXPECT_EQ(::semctl(id, 0, GETVAL), 3) << "a user leaves the semaphore alone";
    EXPECT_TRUE(creator.destroy());
    EXPECT_EQ(creator.getId(), 0);
    EXPECT_LT(::semctl(id, 0, GETVAL), 0);
}

TEST(SemGlobal, OnlyNegativeChangesReachTheSemaphore)
{
    Observed semaphore;
    ASSERT_TRUE(semaphore.setup(0));
    ASSERT_TRUE(semaphore.initialiseWithValue(2));
    for (int const refused : {0, 1, 65535})
        EXPECT_EQ(semaphore.operation(refused), XCODE_FAILURE);
    EXPECT_EQ(semaphore.waitForZero(), XCODE_FAILURE);
    EXPECT_EQ(semaphore.incrementOne(), XCODE_FAILURE);
    EXPECT_EQ(semaphore.aThrowsBallToB(), XCODE_FAILURE);
    EXPECT_EQ(semaphore.waits, 0);
    EXPECT_TRUE(semaphore.operation(-1) && semaphore.decrementOne());
    EXPECT_EQ(semaphore.waits, 2);
    EXPECT_EQ(semaphore.cancels, 2);
    EXPECT_EQ(::semctl(semaphore.getId(), 0, GETVAL), 0);
}

TEST(SemGlobal, WaitsForTheOtherProcess)
{
    _ZKSemGlobal semaphore;
    ASSERT_TRUE(semaphore.setup(0));
    ASSERT_TRUE(semaphore.startBallAtA());
    EXPECT_TRUE(semaphore.waitForMinValue(0));
    std::thread other(
        [id = semaphore.getId()]
        {
            _ZKSemGlobal user;
            EXPECT_TRUE(user.setup(id) && user.initialiseWithValue(2));
        });
    EXPECT_TRUE(semaphore.waitForMinValue(2));
    EXPECT_TRUE(semaphore.bThrowsBallToA());
    other.join();
    EXPECT_EQ(::semctl(semaphore.getId(), 0, GETVAL), 1);
}

TEST(SemGlobal, FailuresAreReported)
{
    CapturedSyslog log;
    _ZKSemGlobal none;
    EXPECT_EQ(none.decrementOne(), XCODE_FAILURE);
    EXPECT_EQ(none.initialiseWithValue(1), XCODE_FAILURE);
    EXPECT_EQ(none.waitForMinValue(0), XCODE_FAILURE);
    EXPECT_TRUE(none.destroy() && log.lines().empty());

    _ZKSemGlobal creator;
    _ZKSemGlobal user;
    ASSERT_TRUE(creator.setup(0) && user.setup(creator.getId()) && creator.destroy());
    EXPECT_EQ(user.decrementOne(), XCODE_FAILURE);
    EXPECT_EQ(user.waitForMinValue(1), XCODE_FAILURE);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("3 Failed execute semop in ZKSemGlobal: " + std::to_string(user.getId()) + " ", 0),
              0u);
}
