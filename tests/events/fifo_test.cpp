#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/fifo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// A name that no other run has; its file goes with it.
class FifoName
{
public:
    FifoName() : m_name(String::stringOfFormat("zekovar_test_%d", ::getpid())) { ::unlink(path().c_str()); }

    ~FifoName() { ::unlink(path().c_str()); }

    operator String const&() const { return m_name; }

    String path() const { return String("/tmp/fifo_").concat(m_name); }

    mode_t mode() const
    {
        struct stat info = {};
        ::stat(path().c_str(), &info);
        return info.st_mode;
    }

private:
    String m_name;
};

void countUp(void* count)
{
    ++*static_cast<std::atomic<int>*>(count);
}
}

TEST(Fifo, TriggersWithoutAReaderLeadToOneEventEach)
{
    FifoName const name;
    TestLoop loop;
    std::atomic<int> count{0};
    auto* event = new ZKFifoEvent(loop, EventPrio::LOW, &countUp, &count, name, true);
    EXPECT_EQ(name.mode(), S_IFIFO | 0666u);
    {
        ZKFifoTrigger trigger(name);
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(trigger.trigger().isSuccess());
    }
    EXPECT_EQ(name.mode(), S_IFIFO | 0666u) << "the fifo outlives its trigger";
    loop.start();
    EXPECT_TRUE(eventually([&] { return count == 3; }));

    ZKFifoTrigger again(name);
    EXPECT_TRUE(again.trigger().isSuccess());
    EXPECT_TRUE(eventually([&] { return count == 4; })) << "also after the hangup of the first trigger";
    loop.stop();
    again.trigger();
    event->destroy();
    ASSERT_TRUE(loop.handleAll());
    EXPECT_EQ(count, 4);
}

TEST(Fifo, WaitsForItsObserver)
{
    FifoName const name;
    ZKFifoTrigger trigger(name);
    EXPECT_EQ(name.mode(), S_IFIFO | 0666u);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(trigger.trigger().isSuccess());
    TestLoop loop;
    loop.start();
    std::atomic<int> count{0};
    ZKAutoLock<ZKEventLoop> stop(loop);
    ZKFifoObserver observer(loop, name, false, &countUp, &count);
    EXPECT_FALSE(observer.isEnabled());
    EXPECT_TRUE(observer.enable().isSuccess());
    EXPECT_TRUE(observer.enable().isSuccess());
    observer.onFileReady();
    EXPECT_EQ(count, 3);
    ZKFifoObserver(loop, name, true, nullptr, nullptr).onFileReady();
}

TEST(Fifo, RefusesAFileThatIsNone)
{
    FifoName const name;
    TestLoop loop;
    ZKFile file(name.path(), true, false);
    ASSERT_TRUE(file.open(O_WRONLY | O_CREAT, 0644, ZKFile::XO_NONE).isSuccess());
    ZKFifoObserver observer(loop, name, true, nullptr, nullptr);
    EXPECT_EQ(observer.enable().getValue(), XCODE_FAILURE);
    EXPECT_FALSE(observer.isEnabled());

    ZKFifoObserver elsewhere(loop, "no/such/directory", false, nullptr, nullptr);
    EXPECT_EQ(elsewhere.enable().getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_EQ(ZKFifoTrigger("no/such/directory").trigger().getRawValue(), XCODE_ERRNO + EBADF);
}

TEST(Fifo, StaysOutOfTheLoopOnceDisabled)
{
    FifoName const name;
    TestLoop loop;
    std::atomic<int> count{0};
    ZKFifoTrigger trigger(name);
    ZKFifoObserver observer(loop, name, true, &countUp, &count);
    observer.disable();
    EXPECT_TRUE(observer.isEnabled());
    EXPECT_TRUE(observer.enable().isSuccess());
    EXPECT_TRUE(trigger.trigger().isSuccess());
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(count, 0) << "the loop doesn't watch the descriptor";
    observer.onFileReady();
    EXPECT_EQ(count, 1);
}

TEST(Fifo, MayGoInItsOwnCallback)
{
    FifoName const name;
    TestLoop loop;

    struct Holder
    {
        std::unique_ptr<ZKFifoObserver> observer;
        std::atomic<int> count{0};
    } holder;

    ZKFifoTrigger trigger(name);
    auto const drop = [](void* argument)
    {
        auto* const self = static_cast<Holder*>(argument);
        self->observer.reset();
        self->count++;
    };
    holder.observer = std::make_unique<ZKFifoObserver>(loop, name, true, drop, &holder);
    EXPECT_TRUE(trigger.trigger().isSuccess());
    EXPECT_TRUE(trigger.trigger().isSuccess());
    loop.start();
    EXPECT_TRUE(eventually([&] { return holder.count == 1; }));
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(holder.count, 1);
}
