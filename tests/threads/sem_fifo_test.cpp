#include "zekovar/threads/sem_fifo.h"

#include "tests/captured_syslog.h"
#include "tests/eventually.h"
#include "tests/string_printer.h"
#include "zekovar/foundation/random.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <set>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{
String expectedName(ZKSemFifo const& semaphore)
{
    return String::stringOfFormat("/tmp/semfifo_%d (%p)", semaphore.getId(), static_cast<void const*>(&semaphore));
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
        EXPECT_EQ(user.getLockName(), expectedName(user));
        EXPECT_EQ(user.getType(), ZKLock::Type::SEMAPHORE);
        EXPECT_TRUE(maker.wait() && user.wait() && maker.wait());

        std::atomic<bool> served{false};
        std::thread waiter([&] { served = user.wait().isSuccess(); });
        EXPECT_FALSE(served);
        EXPECT_TRUE(maker.signal());
        waiter.join();
        EXPECT_TRUE(served);
    }
    EXPECT_FALSE(ZKFile::EXISTS(path));
}

TEST(SemFifo, ReachesOtherProcesses)
{
    ZKSemFifo request(0, 0);
    ZKSemFifo reply(0, 0);
    pid_t const child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(request.wait() && reply.signal() ? 0 : 1);
    EXPECT_TRUE(request.signal() && reply.wait());
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
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

TEST(SemFifo, IdsInUseAreNotGivenTwice)
{
    ZKSemFifo first(0, 0);
    ZKSemFifo second(0, 0);
    int id = -1;
    ASSERT_TRUE(first.getUniqueId(id));
    EXPECT_EQ((std::set<int>{first.getId(), second.getId(), id}.size()), 3u);
    EXPECT_GE(id, 0);
    first.putUniqueId(id);
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
