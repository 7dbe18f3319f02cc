#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "zekovar/events/fifo.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// A loop, and the name of a fifo that no other run has.
class Fifo : public testing::Test
{
protected:
    ~Fifo() override { ::unlink(path.c_str()); }

    void trigger(int times)
    {
        ZKFifoTrigger trigger(name);
        struct stat info = {};
        ::stat(path.c_str(), &info);
        EXPECT_EQ(info.st_mode, S_IFIFO | 0666u);
        for (int i = 0; i < times; ++i)
            EXPECT_TRUE(trigger.trigger().isSuccess());
    }

    static void COUNT(void* count) { ++*static_cast<std::atomic<int>*>(count); }

    String const name = String::stringOfFormat("zekovar_test_%d", ::getpid());
    String const path = String("/tmp/fifo_").concat(name);
    TestLoop loop;
    std::atomic<int> count{0};
};
}

TEST_F(Fifo, PostsAnEventForEachTrigger)
{
    auto* event = new ZKFifoEvent(loop, EventPrio::LOW, &COUNT, &count, name, true);
    trigger(3);
    loop.start();
    EXPECT_TRUE(eventually([&] { return count == 3; }));
    trigger(1);
    EXPECT_TRUE(eventually([&] { return count == 4; })) << "also after the hangup of the first trigger";
    loop.stop();
    trigger(1);
    event->destroy();
    ASSERT_TRUE(loop.handleAll());
    EXPECT_EQ(count, 4);
}

TEST_F(Fifo, RefusesAFileThatIsNone)
{
    ZKFile file(path, true, false);
    ASSERT_TRUE(file.open(O_WRONLY | O_CREAT, 0644, ZKFile::XO_NONE).isSuccess());
    ZKFifoObserver observer(loop, name, true, nullptr, nullptr);
    EXPECT_EQ(observer.enable().getValue(), XCODE_FAILURE);
    EXPECT_FALSE(observer.isEnabled());
    ZKFifoObserver elsewhere(loop, "no/such/directory", false, nullptr, nullptr);
    EXPECT_EQ(elsewhere.enable().getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_EQ(ZKFifoTrigger("no/such/directory").trigger().getRawValue(), XCODE_ERRNO + EBADF);
}

TEST_F(Fifo, StaysOutOfTheLoopOnceDisabled)
{
    ZKFifoTrigger const keepsItOpen(name);
    ZKFifoObserver observer(loop, name, true, &COUNT, &count);
    EXPECT_TRUE(observer.enable().isSuccess());
    trigger(1);
    loop.start();
    EXPECT_TRUE(eventually([&] { return count == 1; })) << "also enabled twice";
    loop.stop();
    observer.disable();
    EXPECT_TRUE(observer.isEnabled());
    trigger(2);
    EXPECT_TRUE(observer.enable().isSuccess());
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(count, 1) << "the loop doesn't watch the descriptor";
    observer.onFileReady();
    EXPECT_EQ(count, 3);
}

TEST_F(Fifo, MayGoInItsOwnCallback)
{
    std::unique_ptr<ZKFifoObserver> observer;
    auto const drop = [](void* holder) { static_cast<std::unique_ptr<ZKFifoObserver>*>(holder)->reset(); };
    observer = std::make_unique<ZKFifoObserver>(loop, name, true, drop, &observer);
    trigger(2);
    observer->onFileReady();
    EXPECT_EQ(observer, nullptr);
    ASSERT_TRUE(loop.handleAll());
}
