#include "zekovar/threads/sem_global.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <sys/sem.h>

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
        EXPECT_TRUE(user.initialiseWithValue(3) && creator.waitForMinValue(3));
    }
    EXPECT_EQ(::semctl(id, 0, GETVAL), 3) << "a user leaves the semaphore alone";
    EXPECT_TRUE(creator.destroy());
    EXPECT_EQ(creator.getId(), 0);
    EXPECT_LT(::semctl(id, 0, GETVAL), 0);
}

TEST(SemGlobal, OnlyNegativeChangesReachTheSemaphore)
{
    _ZKSemGlobal semaphore;
    ASSERT_TRUE(semaphore.setup(0));
    ASSERT_TRUE(semaphore.initialiseWithValue(2));
    for (int const refused : {0, 1, 65535})
        EXPECT_EQ(semaphore.operation(refused), XCODE_FAILURE);
    EXPECT_EQ(semaphore.aThrowsBallToB(), XCODE_FAILURE);
    EXPECT_TRUE(semaphore.operation(-1) && semaphore.decrementOne());
    EXPECT_EQ(::semctl(semaphore.getId(), 0, GETVAL), 0);
}

TEST(SemGlobal, FailuresAreReported)
{
    CapturedSyslog log;
    _ZKSemGlobal none;
    EXPECT_TRUE(none.decrementOne().isErr() && none.initialiseWithValue(1).isErr() && none.waitForMinValue(0).isErr());
    EXPECT_TRUE(log.lines().empty());
    _ZKSemGlobal gone;
    ASSERT_TRUE(gone.setup(0));
    ::semctl(gone.getId(), 0, IPC_RMID);
    EXPECT_EQ(gone.decrementOne(), XCODE_FAILURE);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("3 Failed execute semop in ZKSemGlobal: " + std::to_string(gone.getId()), 0), 0u);
}
