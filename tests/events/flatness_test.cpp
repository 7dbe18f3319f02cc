#include "tests/events/loop_fixture.h"
#include "tests/temporary_directory.h"
#include "zekovar/zekovar.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace
{
unsigned int openDescriptors()
{
    ZKVector<String> names;
    EXPECT_TRUE(ZKFile::LIST_DIRECTORY("/proc/self/fd", names, false).isSuccess());
    return names.size();
}

/// How many another program would get.
int inheritedDescriptors()
{
    int count = 0;
    for (int fd = 0; fd < 128; fd++)
        count += ::fcntl(fd, F_GETFD) == 0; // open, and no FD_CLOEXEC
    return count;
}

/// Pages of this process that are in memory.
long residentPages()
{
    String text;
    ZKFile file("/proc/self/statm", true, false);
    bool eof = false;
    EXPECT_TRUE(file.open(O_RDONLY, 0, ZKFile::XO_NONE).isSuccess());
    EXPECT_TRUE(file.read(text, eof, true).isSuccess());
    return text.after(' ').toInteger();
}

/// Creates, uses and destroys one object of every class that owns a descriptor, a thread or a kernel object.
void useAll(TestLoop& loop, String const& path)
{
    int const inheritedBefore = inheritedDescriptors();
    ZKFile file(path, true, true);
    EXPECT_TRUE(file.open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE).isSuccess());
    EXPECT_TRUE(file.write("text", true).isSuccess());

    ZKFile readEnd, writeEnd;
    ASSERT_TRUE(ZKFile::CREATE_PIPE(readEnd, writeEnd, true).isSuccess());
    auto* fileEvent = new ZKFileEvent(loop, EventPrio::LOW, nullptr, nullptr, readEnd, _ZKFileObserver::READ, true);
    EXPECT_TRUE(writeEnd.write("x", true).isSuccess());
    auto* timer = new _ZKTimeoutEvent(loop, EventPrio::LOW, nullptr, nullptr);
    EXPECT_TRUE(timer->start(5000, false, false).isSuccess());
    EXPECT_TRUE(timer->start(5000, true, true).isSuccess());
    {
        // the loop may be in the middle of their handlers
        ZKAutoLock<ZKEventLoop> stop(loop);
        fileEvent->destroy();
        timer->destroy();
    }

    ZKRandom const random(false);
    char byte = 0;
    EXPECT_TRUE(random.readFixedSize(&byte, 1, true).isSuccess());
    ZKSemFifo fifo(0, 1);
    EXPECT_TRUE(fifo.wait().isSuccess());
    _ZKSemGlobal global;
    EXPECT_TRUE(global.setup(0).isSuccess());

    ZK::FunctionContext const async{ZK::FunctionContext::Type::ASYNC, &loop};
    ZK::Function<void(String)> const function = ZK::bindArgs(async, [](String const&) {});
    function("lost or served, but not leaked");
    TestLoop ownThread;
    ownThread.start();
    EXPECT_EQ(inheritedDescriptors(), inheritedBefore);
}
}

TEST(Flatness, DescriptorsAndMemoryStayThroughManyLivesAndReachNoOtherProgram)
{
    constexpr int ROUNDS = 10000 / SLOWER;
    TemporaryDirectory const directory;
    TestLoop loop;
    loop.start();
    unsigned int descriptors = 0;
    long pages = 0;
    for (int i = 0; i < ROUNDS && !HasFailure(); i++)
    {
        useAll(loop, directory / "file");
        if (i == ROUNDS / 5)
        {
            descriptors = openDescriptors();
            pages = residentPages();
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors);
    constexpr long KIBIBYTES_A_PAGE = 4;
    if (SLOWER == 1) // a sanitizer keeps freed memory, and an emulator's own memory grows
    {
        EXPECT_LT((residentPages() - pages) * KIBIBYTES_A_PAGE, 1024) << "of " << pages << " pages";
    }
}
