#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "zekovar/events/file_event.h"
#include "zekovar/events/loopback.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <sys/socket.h>
#include <vector>

// The loop's thread isn't started here: each test takes the turns itself.

namespace
{
/// Two connected sockets; the far end is the test's.
struct Line
{
    Line()
    {
        int fds[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
        near = ZKFile(fds[0], true, false);
        far = ZKFile(fds[1], true, false);
    }

    ZKFile near;
    ZKFile far;
};

/// Notes its callbacks as letters; `onRead` runs in the first of them.
class Witness : public ZK::FileObserver
{
public:
    Witness(ZKEventLoop& loop, ZKFile const& file, Type type) : FileObserver(loop, file, type, true) {}

    void onObservedFileReadReady(bool priority) override
    {
        calls += priority ? 'p' : 'r';
        if (onRead)
            onRead();
    }

    void onObservedFileWriteReady() override { calls += 'w'; }

    void onObservedFileHangup() override { calls += 'h'; }

    void onObservedFileError() override { calls += 'e'; }

    std::string calls;
    std::function<void()> onRead;
};

void appendReady(void* text)
{
    *static_cast<std::string*>(text) += 'x';
}

void appendHangup(void* text)
{
    *static_cast<std::string*>(text) += 'h';
}
}

TEST(FileQueue, TellsReadThenWriteThenHangupAndSkipsWhatARemovedObserverMisses)
{
    TestLoop loop;
    ZKFileQueue& queue = loop.getFileQueue();
    Line lines[2];
    Witness full(loop, lines[0].near, ZK::FileObserver::READ_WRITE);
    Witness leaver(loop, lines[1].near, ZK::FileObserver::READ_WRITE);
    leaver.onRead = [&] { leaver.disable(); };
    EXPECT_FALSE(lines[0].near.isBlocking());
    EXPECT_EQ(queue.getObserverCount(), 3u) << "the loop's own pipe is the third";
    for (Line& line : lines)
    {
        line.far.write("x", true);
        line.far.close();
    }
    queue.waitForFileActivity();
    EXPECT_EQ(full.calls, "rwh");
    EXPECT_EQ(leaver.calls, "r");
    EXPECT_EQ(queue.getSkippedWrite(), 1u);
    EXPECT_EQ(queue.getSkippedHangup(), 1u);
    EXPECT_EQ(queue.getSkippedRead() + queue.getSkippedError(), 0u);
    EXPECT_EQ(queue.getProcessedEvents(), 2u);
    EXPECT_EQ(queue.getObserverCount(), 2u);
    loop.wakeupLoop();
    queue.waitForFileActivity();
    EXPECT_EQ(full.calls, "rwh");
}

TEST(FileQueue, DropsTheEntryOfAnObserverThatAnotherOneDeletes)
{
    TestLoop loop;
    Line lines[2];
    std::unique_ptr<Witness> witnesses[2];
    int deleted = -1;
    for (int i : {0, 1})
    {
        witnesses[i] = std::make_unique<Witness>(loop, lines[i].near, ZK::FileObserver::READ);
        witnesses[i]->onRead = [&, i]
        {
            deleted = 1 - i;
            witnesses[deleted].reset();
        };
        lines[i].far.write("x", true);
    }
    ZKFileQueue& queue = loop.getFileQueue();
    queue.waitForFileActivity();
    ASSERT_NE(deleted, -1);
    EXPECT_EQ(witnesses[1 - deleted]->calls, "r");
    EXPECT_EQ(queue.getDisabledPending(), 1u);
    EXPECT_EQ(queue.getProcessedEvents(), 2u);
    EXPECT_EQ(queue.getSkippedRead(), 0u) << "a cleared entry has no conditions to skip";
}

TEST(FileObserver, RefusesAClosedFileWhereThePlainOneTakesIt)
{
    TestLoop loop;
    ZKFileQueue& queue = loop.getFileQueue();
    ZK::FileObserver observer(loop);
    EXPECT_EQ(observer.enable().getValue(), XCODE_FAILURE);
    EXPECT_FALSE(observer.isEnabled());
    EXPECT_EQ(queue.getObserverCount(), 1u);

    _ZKFileObserver plain(loop, nullptr, nullptr, nullptr);
    EXPECT_TRUE(plain.enable().isSuccess());
    EXPECT_TRUE(plain.isEnabled());
    EXPECT_EQ(queue.getObserverCount(), 2u) << "counted although the kernel refused it";
    plain.disable();
    plain.disable();
    EXPECT_EQ(queue.getObserverCount(), 1u);
}

TEST(FileObserver, PlainOneTakesWriteReadyAsReadyAndMovesToAnotherFile)
{
    TestLoop loop;
    Line line;
    Line other;
    std::string calls;
    _ZKFileObserver observer(loop, line.near, _ZKFileObserver::WRITE, true, &appendReady, &calls, &appendHangup);
    loop.getFileQueue().waitForFileActivity();
    loop.wakeupLoop();
    loop.getFileQueue().waitForFileActivity();
    EXPECT_EQ(calls, "x") << "an edge is told once";

    EXPECT_TRUE(observer.enable(other.near, _ZKFileObserver::READ).isSuccess());
    line.far.close();
    other.far.close();
    loop.getFileQueue().waitForFileActivity();
    EXPECT_EQ(calls, "xxh") << "the end of the input, and nothing of the old file";
}

TEST(Loopback, GivesOneCallForEachTrigger)
{
    TestLoop loop;
    std::string calls;
    ZKFileObserverLoopback loopback(loop, true, &appendReady, &calls);
    for (unsigned int count : {10, 64, 65, 1})
    {
        calls.clear();
        for (unsigned int i = 0; i < count; ++i)
            EXPECT_TRUE(loopback.trigger().isSuccess());
        loop.getFileQueue().waitForFileActivity();
        EXPECT_EQ(calls.size(), count);
    }
    EXPECT_EQ(loop.getFileQueue().getProcessedEvents(), 4u);
}

TEST(FileEvent, PostsEachEdgeAndTellsOfTheHangupFromThenOn)
{
    TestLoop loop;
    Line line;
    std::vector<bool> calls;
    auto const note = [](bool hangup, void* target) { static_cast<std::vector<bool>*>(target)->push_back(hangup); };
    auto* const event = new ZKFileEvent(loop, EventPrio::LOW, note, &calls, line.near, _ZKFileObserver::READ, true);

    line.far.write("x", true);
    loop.getFileQueue().waitForFileActivity();
    EXPECT_EQ(event->getPending(), 1u) << "posted, not run in the dispatch";
    EXPECT_TRUE(calls.empty());
    loop.onTrigger();
    line.far.close();
    loop.getFileQueue().waitForFileActivity();
    EXPECT_EQ(event->getPending(), 1u) << "the hangup finds the post of the end of the input";
    loop.onTrigger();
    event->set();
    loop.onTrigger();
    EXPECT_EQ(calls, (std::vector<bool>{false, true, true}));

    event->addRef();
    event->destroy();
    EXPECT_FALSE(event->isEnabled());
    EXPECT_EQ(loop.getFileQueue().getObserverCount(), 1u);
    event->release();
}

TEST(FileEvent, MayStillStandInTheQueueAndWatchWhenItsLoopGoes)
{
    Line line;
    {
        TestLoop loop;
        auto* const event =
            new ZKFileEvent(loop, EventPrio::LOW, nullptr, nullptr, line.near, _ZKFileObserver::READ, true);
        event->set();
        event->release();
    }
    EXPECT_TRUE(line.far.write("x", true).isSuccess()) << "the file outlives its observer";
}
