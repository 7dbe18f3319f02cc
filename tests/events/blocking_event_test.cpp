#include "zekovar/events/blocking_event.h"

#include "tests/events/loop_fixture.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>

TEST(BlockingEvent, ReleasesItsPosterAfterTheHandlerAndWhenItIsDropped)
{
    auto const count = [](void* counter) { ++*static_cast<std::atomic<int>*>(counter); };
    std::atomic<int> runs = 0;
    auto loop = std::make_unique<TestLoop>();
    auto* event = new _ZKBlockingEvent(*loop, EventPrio::LOW, count, &runs);
    auto const post = [&]
    {
        unsigned int const level = loop->getQueue(EventPrio::LOW).getFillLevel();
        std::future<XCode> posted = std::async(std::launch::async, [event] { return event->set(); });
        EXPECT_TRUE(eventually([&] { return loop->getQueue(EventPrio::LOW).getFillLevel() > level; }));
        return posted;
    };
    std::future<XCode> early = post();
    loop->start();
    EXPECT_TRUE(early.get().isSuccess()) << "posted before the loop ran";
    for (int i = 2; i <= 1000; i++)
    {
        ASSERT_TRUE(event->set().isSuccess());
        ASSERT_EQ(runs, i);
    }
    loop->stop();

    std::future<XCode> cancelled = post();
    std::future<XCode> orphaned = post();
    event->cancel();
    EXPECT_EQ(event->set(), XCODE_FAILURE) << "it isn't posted, so nobody waits";
    loop->getQueue(EventPrio::LOW).processEvent();
    loop.reset();
    EXPECT_TRUE(cancelled.get().isSuccess());
    EXPECT_TRUE(orphaned.get().isSuccess());
    event->destroy();
    EXPECT_EQ(runs, 1000);
}
