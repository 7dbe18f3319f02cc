#include "zekovar/events/function.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/foundation/string.h"

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace
{
using ZK::FunctionContext;
using namespace std::placeholders;

/// A loop that the test starts when it likes.
class FunctionTest : public ::testing::Test
{
protected:
    /// Starts the loop, if need be, and returns when it has served what was posted to it at normal priority.
    void drain()
    {
        m_loop.start();
        std::promise<void> drained;
        ZK::Function<void()> const mark = ZK::bindArgs(m_async, [&] { drained.set_value(); });
        mark();
        drained.get_future().wait();
    }

    TestLoop m_loop;
    FunctionContext m_sync{FunctionContext::Type::SYNC, &m_loop};
    FunctionContext m_async{FunctionContext::Type::ASYNC, &m_loop};
};

struct Counted
{
    explicit Counted(int& copies) : m_copies(&copies) {}

    Counted(Counted const& other) : m_copies(other.m_copies) { ++*m_copies; }

    Counted(Counted&&) = default;

    int* m_copies;
};
}

TEST(Function, WithoutATargetIsFalseAndCallsNothing)
{
    ZK::Function<void(int)> function;
    ZK::Function<void(int)> const nothing(nullptr);
    EXPECT_FALSE(function || nothing);
    nothing(1);

    int sum = 0;
    function.assign(ZK::directCall(), [&](int value) { sum += value; });
    ZK::Function<void(int)> const copy = function;
    function.assign(ZK::directCall());
    EXPECT_FALSE(function);
    EXPECT_TRUE(copy);
    function(1);
    copy(2);
    EXPECT_EQ(sum, 2) << "copies share their target, also when one of them takes another";
}

TEST_F(FunctionTest, ContextSaysWhereTheTargetRuns)
{
    m_loop.start();
    std::string runs;
    auto const target = [&, caller = std::this_thread::get_id()]
    {
        runs += std::this_thread::get_id() == caller ? " here" : " there";
        runs += isCurrentThreadSynchronizedTo(m_loop) ? "+" : "";
    };
    for (unsigned int value : {0u, 1u, 2u, 7u})
    {
        auto const type = static_cast<FunctionContext::Type>(value);
        for (TestLoop* loop : {static_cast<TestLoop*>(nullptr), &m_loop})
        {
            ZK::Function<void()> const function = ZK::bindArgs(FunctionContext{type, loop}, target);
            function();
            drain();
        }
        runs += ZKEnumInfo<FunctionContext::Type>::VALUE_NAME(type);
    }
    EXPECT_EQ(runs, " here heredirect here here+sync here there+async here here(invalid)");
    EXPECT_FALSE(isCurrentThreadSynchronizedTo(m_loop));
}

TEST_F(FunctionTest, BoundArgumentsComeWithThoseOfTheCallWhichAreCopiedOnce)
{
    String text("a");
    auto const concat = static_cast<String& (String::*)(String const&)>(&String::concat);
    ZK::Function<void(String)> const append = ZK::bindArgs(concat, &text, _1);
    append("b");
    EXPECT_EQ(text, "ab");

    int copies = 0;
    Counted const value(copies);
    m_loop.start();
    for (FunctionContext const& context : {ZK::directCall(), m_sync, m_async})
    {
        ZK::Function<void(Counted)> const take = ZK::bindArgs(context, [](Counted) {});
        take(value);
        drain();
        EXPECT_EQ(std::exchange(copies, 0), 1);
    }
}

TEST_F(FunctionTest, OnTheLoopsThreadSyncRunsAtOnceAndAsyncAfterTheHandler)
{
    std::string order;
    auto const note = [&](char name) { order += name; };
    ZK::Function<void(char)> const sync = ZK::bindArgs(m_sync, note);
    ZK::Function<void(char)> const async = ZK::bindArgs(m_async, note);
    auto const body = [&]
    {
        async('1');
        sync('s');
        async('2');
        order += ')';
    };
    ZK::Function<void()> const handler = ZK::bindArgs(m_async, body);
    handler();
    async('0');
    drain();
    drain(); // the first one may have been queued in front of what the handler posts
    EXPECT_EQ(order, "s)012");
}

TEST_F(FunctionTest, DroppedAsyncFunctionLosesItsQueuedCallsExceptThoseThatHoldIt)
{
    auto const token = std::make_shared<int>(0);
    std::string served;
    {
        ZK::Function<void(std::shared_ptr<int>)> const lost =
            ZK::bindArgs(m_async, [&](std::shared_ptr<int> const&) { served += '0'; });
        lost(token);
        lost(token);
    }
    EXPECT_EQ(token.use_count(), 1) << "the loop isn't running, so there is nothing to wait for";
    {
        ZK::Function<void(char)> const kept = ZK::bindArgs(m_async, [&, token](char name) { served += name; });
        kept('1'); // holds nothing, so the flag's change may not make it drop a reference
        kept.setDontCancelOnDestruction(true);
        kept('2');
        kept('3');
        kept.setDontCancelOnDestruction(false); // nor make the others keep theirs
    }
    EXPECT_EQ(token.use_count(), 2);
    drain();
    EXPECT_EQ(served, "123");
    m_loop.stop();
    EXPECT_EQ(token.use_count(), 1);
}

TEST(FunctionLifetime, CallsThatAreLostWithTheirLoopLeakNothing)
{
    auto token = std::make_shared<int>(0);
    auto loop = std::make_unique<TestLoop>();
    FunctionContext const context{FunctionContext::Type::ASYNC, loop.get()};
    ZK::Function<void(std::shared_ptr<int>)> function =
        ZK::bindArgs(context, [token](std::shared_ptr<int> const&) { ADD_FAILURE() << "served"; });
    function.setDontCancelOnDestruction(true);
    function(token);
    function.setDontCancelOnDestruction(false);
    function(token); // goes with the function, while its post still stands in the queue
    function = nullptr;
    EXPECT_EQ(token.use_count(), 4);
    loop.reset();
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(FunctionTest, TargetMayDropItsOwnFunction)
{
    m_loop.start();
    for (FunctionContext const& context : {m_sync, m_async})
    {
        auto token = std::make_shared<int>(7);
        std::weak_ptr<int> const watch = token;
        int seen = 0;
        ZK::Function<void()> function;
        auto drop = [&, token = std::move(token)]
        {
            function = nullptr;
            seen = *token;
        };
        function.assign(context, std::move(drop));
        function();
        drain();
        EXPECT_EQ(seen, 7) << ZKEnumInfo<FunctionContext::Type>::VALUE_NAME(context.type);
        EXPECT_TRUE(watch.expired());
    }
}

TEST_F(FunctionTest, DroppingWaitsForTheTargetThatRuns)
{
    m_loop.start();
    std::promise<void> entered, dropping;
    std::atomic<bool> isRunning{true};
    auto const target = [&]
    {
        entered.set_value();
        dropping.get_future().wait();
        ZKThread::SLEEP(20); // a drop that doesn't wait shows meanwhile
        isRunning = false;
    };
    ZK::Function<void()> function = ZK::bindArgs(m_async, target);
    function();
    entered.get_future().wait();
    dropping.set_value();
    function = nullptr;
    EXPECT_FALSE(isRunning);
}
