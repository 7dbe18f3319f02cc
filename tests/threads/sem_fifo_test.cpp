#include "zekovar/threads/sem_fifo.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "zekovar/foundation/random.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <thread>
#include <unistd.h>

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

    std::string const start = "3 SEMFIFO " + std::to_string(id);
    std::string const end = std::string(" FAILED: ") + path.c_str() + " (FD=-1): BAD FILE DESCRIPTOR (9)\n";
    EXPECT_EQ(log.lines(), (std::vector<std::string>{start + " CREATION FAILED: INTERNAL ERROR\n",
                                                     start + " CREATION FAILED: INTERNAL ERROR\n",
                                                     start + " WAIT" + end, start + " SIGNAL" + end}));
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

TEST(Descriptors, NoneReachesAnotherProgram)
{
    auto const countInherited = []
    {
        int count = 0;
        for (int fd = 0; fd < 256; fd++)
            count += ::fcntl(fd, F_GETFD) == 0; // open, and no FD_CLOEXEC
        return count;
    };
    int const before = countInherited(); // what the test itself was given
    ZKSemFifo const fifo(0, 0);
    ZKRandom const random(false);
    ZKFile ends[2];
    ASSERT_TRUE(ZKFile::CREATE_PIPE(ends[0], ends[1], true));
    ASSERT_TRUE(random.isOpen());
    EXPECT_EQ(countInherited(), before);
}
