#include "zekovar/threads/sem_global.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"

#include <gtest/gtest.h>

#include <sys/sem.h>

TEST(SemGlobal, CreatorRemovesWhatUsersShare)
{
    _ZKSemGlobal creator;
    ASSERT_TRUE(creator.setup(0));
    EXPECT_EQ(creator.setup(0), XCODE_FAILURE);
    int const id = creator.getId();
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
    EXPECT_LT(::semctl(id, 0, GETVAL), 0);

    CapturedSyslog log;
    EXPECT_TRUE(creator.decrementOne().isErr() && creator.initialiseWithValue(1).isErr() &&
                creator.waitForMinValue(0).isErr());
    EXPECT_TRUE(log.lines().empty()) << "it isn't set up any more";
    ASSERT_TRUE(creator.setup(id));
    EXPECT_EQ(creator.decrementOne(), XCODE_FAILURE);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("3 Failed execute semop in ZKSemGlobal: " + std::to_string(id) + " 22: ", 0), 0u);
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
