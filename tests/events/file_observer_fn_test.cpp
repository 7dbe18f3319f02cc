#include "zekovar/events/file_observer_fn.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/foundation/ptr.h"

#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>

using ZK::FileObserverFn;

TEST(FileObserverFn, CallsTheFunctionsThatAreSet)
{
    TestLoop loop;
    ZKLWPtr<FileObserverFn> const observer{ZK::MovePtr<FileObserverFn>(new FileObserverFn(loop))};
    EXPECT_EQ(observer->getLock(), &loop.getEventSync(EventPrio::NORMAL));
    std::string calls;
    for (char const* expected : {"", "Prwhe"})
    {
        observer->onObservedFileReadReady(true);
        observer->onObservedFileReadReady(false);
        observer->onObservedFileWriteReady();
        observer->onObservedFileHangup();
        observer->onObservedFileError();
        EXPECT_EQ(calls, expected);
        observer->setReadReady(ZK::bindArgs(ZK::directCall(), [&](bool priority) { calls += priority ? 'P' : 'r'; }));
        observer->setWriteReady(ZK::bindArgs(ZK::directCall(), [&] { calls += 'w'; }));
        observer->setHangup(ZK::bindArgs(ZK::directCall(), [&] { calls += 'h'; }));
        observer->setError(ZK::bindArgs(ZK::directCall(), [&] { calls += 'e'; }));
    }
}

TEST(FileObserverFn, CallbackMayDropItsObserver)
{
    TestLoop loop;
    loop.start();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ZKFile const readEnd(ends[0], true, false), writeEnd(ends[1], true, false);
    auto token = std::make_shared<int>(7);
    std::weak_ptr<int> const watch = token;
    std::promise<int> seen;
    auto observer = std::make_unique<ZKPPtr<FileObserverFn>>(
        ZK::MovePtr<FileObserverFn>(new FileObserverFn(loop, readEnd, ZK::FileObserverIf::READ)));
    auto drop = [&, token = std::move(token)](bool)
    {
        observer.reset();
        seen.set_value(*token);
    };
    (*observer)->setReadReady(ZK::bindArgs(ZK::directCall(), std::move(drop)));
    ASSERT_TRUE((*observer)->enable().isSuccess());
    ASSERT_EQ(::write(writeEnd.getFd(), "x", 1), 1);
    EXPECT_EQ(seen.get_future().get(), 7);
    loop.stop();
    EXPECT_TRUE(watch.expired());
}
