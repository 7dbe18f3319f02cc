#include "zekovar/threads/sem_fifo.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "zekovar/foundation/random.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
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

TEST(Descriptors, NoneReachesAnotherProgram)
{
    auto const inheritedByAProgram = []
    {
        ZKFile readEnd;
        ZKFile writeEnd;
        EXPECT_TRUE(ZKFile::CREATE_PIPE(readEnd, writeEnd, true));
        pid_t const child = ::fork();
        if (child == 0)
        {
            ::dup2(writeEnd.getFd(), 1);
            ::execlp("sh", "sh", "-c", "exec ls /proc/self/fd", nullptr);
            ::_exit(1);
        }
        writeEnd.close();
        String list;
        bool eof = false;
        EXPECT_TRUE(readEnd.read(list, eof, true));
        ::waitpid(child, nullptr, 0);
        return list;
    };
    String const before = inheritedByAProgram(); // with what the test itself was given
    ZKSemFifo const fifo(0, 0);
    ZKRandom const random(false);
    ZKFile file("/dev/null", true, false);
    ASSERT_TRUE(file.open(O_RDONLY, 0, ZKFile::XO_NONE));
    ZKFile ends[2];
    ASSERT_TRUE(ZKFile::CREATE_PIPE(ends[0], ends[1], true));
    EXPECT_EQ(inheritedByAProgram(), before);
}
