#include "tests/events/loop_fixture.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_dataqueue.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

struct Owner
{
    void onData(String data)
    {
        received.push_back(data);
        if (data == "again")
            resultInside = queue->set("third", 0);
        count++;
    }

    ZKEventDataqueue<Owner, String>* queue = nullptr;
    std::vector<String> received;
    XCode resultInside = XCODE_FAILURE;
    std::atomic<int> count{0};
};
}

TEST(EventDataqueue, CarriesValuesInOrderAndRefusesWhenAllAreUnderWay)
{
    TestLoop loop;
    Owner owner;
    ZKEventDataqueue<Owner, String> queue(loop, EventPrio::NORMAL, &owner, &Owner::onData, 2);
    owner.queue = &queue;
    EXPECT_TRUE(queue.set("again", 0).isSuccess());
    EXPECT_TRUE(queue.set("second", 0).isSuccess());
    EXPECT_EQ(queue.set("refused", 0).getRawValue(), unsigned{XCODE_ERRNO} + ENOENT);
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_TRUE(owner.resultInside.isSuccess()) << "the event is back in the pool before its owner is called";
    EXPECT_EQ(owner.received, (std::vector<String>{"again", "second", "third"}));
}

TEST(EventDataqueue, WaitsForTheDelayAndDropsWhatIsUnderWayAtItsEnd)
{
    TestLoop loop;
    Owner owner;
    {
        ZKEventDataqueue<Owner, String> queue(loop, EventPrio::NORMAL, &owner, &Owner::onData, 3);
        EXPECT_TRUE(queue.set("later", 30).isSuccess());
        EXPECT_TRUE(queue.set("now", 0).isSuccess());
        loop.onTrigger();
        loop.start();
        ASSERT_TRUE(eventually([&] { return owner.count == 2; }));
        loop.stop();
        EXPECT_EQ(owner.received, (std::vector<String>{"now", "later"}));
        queue.set("lost", 0);
        queue.set("lost", 1);
    }
    ASSERT_TRUE(loop.handleAll());
    loop.stop();
    EXPECT_EQ(owner.count, 2);
}

TEST(ReentrantQ, IsARingOfTheNextPowerOfTwo)
{
    ZKReentrantQ<int> queue(3);
    EXPECT_EQ(ZKReentrantQ<int>(0).getCapacity(), 1u);
    int value = -1;
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(queue.put(i).isSuccess() && (i < 3 || queue.get(value).isSuccess()));
    EXPECT_EQ(value, 6);
    EXPECT_TRUE(queue.put(10).isSuccess());
    EXPECT_EQ(queue.put(11).getRawValue(), unsigned{XCODE_ERRNO} + EXFULL);
}
