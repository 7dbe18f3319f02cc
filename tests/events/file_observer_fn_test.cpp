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

namespace
{
using ZK::FileObserverFn;

class FileObserverFnTest : public ::testing::Test
{
protected:
    FileObserverFnTest()
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        m_readEnd = ZKFile(ends[0], true, false);
        m_writeEnd = ZKFile(ends[1], true, false);
    }

    TestLoop m_loop;
    ZKFile m_readEnd;
    ZKFile m_writeEnd;
};
}

TEST_F(FileObserverFnTest, CallsTheFunctionsThatAreSet)
{
    ZKLWPtr<FileObserverFn> const observer{ZK::MovePtr<FileObserverFn>(new FileObserverFn(m_loop))};
    EXPECT_EQ(observer->getLock(), &m_loop.getEventSync(EventPrio::NORMAL));
    observer->onObservedFileReadReady(true);
    observer->onObservedFileWriteReady();
    observer->onObservedFileHangup();
    observer->onObservedFileError();

    std::string calls;
    observer->setReadReady(ZK::bindArgs(ZK::directCall(), [&](bool priority) { calls += priority ? 'P' : 'r'; }));
    observer->setWriteReady(ZK::bindArgs(ZK::directCall(), [&] { calls += 'w'; }));
    observer->setHangup(ZK::bindArgs(ZK::directCall(), [&] { calls += 'h'; }));
    observer->setError(ZK::bindArgs(ZK::directCall(), [&] { calls += 'e'; }));
    observer->onObservedFileReadReady(true);
    observer->onObservedFileReadReady(false);
    observer->onObservedFileWriteReady();
    observer->onObservedFileHangup();
    observer->onObservedFileError();
    EXPECT_EQ(calls, "Prwhe");
}

TEST_F(FileObserverFnTest, ReportsDataAndHangupOfAFileOnTheLoopsThread)
{
    m_loop.start();
    std::promise<bool> read;
    std::promise<bool> hangup;
    ZKPPtr<FileObserverFn> const observer{ZK::MovePtr<FileObserverFn>(new FileObserverFn(m_loop))};
    EXPECT_TRUE(observer->enable(ZKFile(), ZK::FileObserverIf::READ).isErr());
    observer->setReadReady(ZK::bindArgs(ZK::directCall(), [&](bool) { read.set_value(m_loop.isCurrentThread()); }));
    observer->setHangup(ZK::bindArgs(ZK::directCall(), [&] { hangup.set_value(m_loop.isCurrentThread()); }));
    ASSERT_TRUE(observer->enable(m_readEnd, ZK::FileObserverIf::READ).isSuccess());

    ASSERT_EQ(::write(m_writeEnd.getFd(), "x", 1), 1);
    EXPECT_TRUE(read.get_future().get());
    observer->setReadReady(nullptr); // under the lock: the last byte is still there when the pipe hangs up
    m_writeEnd.close();
    EXPECT_TRUE(hangup.get_future().get());
}

TEST_F(FileObserverFnTest, CallbackMayDropItsObserver)
{
    m_loop.start();
    auto token = std::make_shared<int>(7);
    std::weak_ptr<int> const watch = token;
    std::promise<int> seen;
    auto observer = std::make_unique<ZKPPtr<FileObserverFn>>(
        ZK::MovePtr<FileObserverFn>(new FileObserverFn(m_loop, m_readEnd, ZK::FileObserverIf::READ)));
    auto drop = [&, token](bool)
    {
        observer.reset();
        seen.set_value(*token);
    };
    (*observer)->setReadReady(ZK::bindArgs(ZK::directCall(), std::move(drop)));
    token.reset();
    ASSERT_TRUE((*observer)->enable().isSuccess());
    ASSERT_EQ(::write(m_writeEnd.getFd(), "x", 1), 1);
    EXPECT_EQ(seen.get_future().get(), 7);
    m_loop.stop();
    EXPECT_TRUE(watch.expired());
}
