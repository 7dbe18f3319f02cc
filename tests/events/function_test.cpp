#include "zekovar/events/function.h"

#include "tests/events/loop_fixture.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/foundation/string.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using ZK::FunctionContext;
using namespace std::placeholders;

/// A loop that the test starts when it likes.
class FunctionTest : public ::testing::Test
{
protected:
    /// Returns when the loop has served what was posted to it at normal priority.
    void drain()
    {
        std::promise<void> drained;
        ZK::Function<void()> const mark = ZK::bindArgs(m_async, [&] { drained.set_value(); });
        mark();
        drained.get_future().wait();
    }

    TestLoop m_loop;
    FunctionContext m_sync{FunctionContext::Type::SYNC, &m_loop};
    FunctionContext m_async{FunctionContext::Type::ASYNC, &m_loop};
};

struct Console
{
    void print(String line) { text.concat(line); }

    void clear() { text = ""; }

    String text;
};

struct Counted
{
    explicit Counted(std::string& history) : m_history(&history) {}

    Counted(Counted const& other) : m_history(other.m_history) { *m_history += 'c'; }

    Counted(Counted&& other) noexcept : m_history(other.m_history) { *m_history += 'm'; }

    std::string* m_history;
};
}

TEST(FunctionContext, HasNamesForItsTypes)
{
    auto name = [](unsigned int type)
    { return std::string(ZKEnumInfo<FunctionContext::Type>::VALUE_NAME(FunctionContext::Type(type))); };
    EXPECT_EQ(name(0) + name(1) + name(2) + name(3), "directsyncasync(invalid)");
    EXPECT_EQ(&ZK::directCall(), &ZK::directCall());
    EXPECT_EQ(ZK::directCall().type, FunctionContext::Type::DIRECT);
}

TEST(Function, WithoutATargetIsFalseAndCallsNothing)
{
    ZK::Function<void(int)> function;
    ZK::Function<void(int)> const nothing(nullptr);
    EXPECT_FALSE(function);
    EXPECT_FALSE(nothing);
    function(1);
    nothing(1);
    nothing.setDontCancelOnDestruction(true);
    EXPECT_EQ(nothing.getContext().type, FunctionContext::Type::DIRECT);

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

TEST(Function, IsDirectForUnknownTypesAndWithoutALoop)
{
    for (unsigned int type : {0u, 1u, 2u, 7u})
    {
        ZK::Function<void()> function;
        std::thread::id caller;
        function.assign(FunctionContext{FunctionContext::Type(type), nullptr},
                        [&] { caller = std::this_thread::get_id(); });
        function();
        EXPECT_EQ(caller, std::this_thread::get_id()) << type;
    }
}

TEST(Function, IsMadeFromBoundArguments)
{
    Console console;
    ZK::Function<void(String)> print = ZK::bindArgs(&Console::print, &console, _1);
    ZK::Function<void(String)> twice = ZK::bindArgs(
        ZK::directCall(), [&](String first, String second) { console.print(first.concat(second)); }, _1, "!");
    print("text");
    twice(" more");
    EXPECT_EQ(console.text, "text more!");

    ZK::Function<void(bool)> const clear = ZK::bindArgs(ZK::directCall(), &Console::clear, &console);
    clear(true);
    EXPECT_EQ(console.text, "") << "arguments that nothing stands for are dropped";
    print = ZK::bindArgs(ZK::directCall(), [&](String line) { console.text = line; });
    print("plain");
    EXPECT_EQ(console.text, "plain");
}

TEST_F(FunctionTest, CopiesAnArgumentOnce)
{
    std::string history;
    auto take = [](Counted) {};
    ZK::Function<void(Counted)> const direct = ZK::bindArgs(ZK::directCall(), take);
    Counted const value(history);
    direct(value);
    EXPECT_EQ(history, "cmm") << "into the call, into the target's wrapper, into the target";

    history.clear();
    m_loop.start();
    ZK::Function<void(Counted)> const async = ZK::bindArgs(m_async, take);
    async(value);
    drain();
    EXPECT_EQ(std::count(history.begin(), history.end(), 'c'), 1);
}

TEST_F(FunctionTest, SyncRunsOnTheCallerWhileTheLoopStandsStill)
{
    m_loop.start();
    bool synchronized = false;
    std::thread::id thread;
    ZK::Function<void()> const sync = ZK::bindArgs(m_sync,
                                                   [&]
                                                   {
                                                       thread = std::this_thread::get_id();
                                                       synchronized = isCurrentThreadSynchronizedTo(m_loop);
                                                   });
    sync();
    EXPECT_TRUE(synchronized);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(isCurrentThreadSynchronizedTo(m_loop));
}

TEST_F(FunctionTest, OnTheLoopsThreadSyncRunsAtOnceAndAsyncAfterTheHandler)
{
    std::string order;
    ZK::Function<void(char)> const sync = ZK::bindArgs(m_sync, [&](char name) { order += name; });
    ZK::Function<void(char)> const async = ZK::bindArgs(m_async, [&](char name) { order += name; });
    ZK::Function<void()> const handler = ZK::bindArgs(m_async,
                                                      [&]
                                                      {
                                                          order += '(';
                                                          async('1');
                                                          sync('s');
                                                          async('2');
                                                          order += ')';
                                                      });
    handler();
    async('0');
    m_loop.start();
    drain();
    EXPECT_EQ(order, "(s)012");
}

TEST_F(FunctionTest, DroppedAsyncFunctionLosesItsQueuedCalls)
{
    auto token = std::make_shared<int>(0);
    std::weak_ptr<int> const watch = token;
    int served = 0;
    {
        ZK::Function<void(std::shared_ptr<int>)> const lost =
            ZK::bindArgs(m_async, [&](std::shared_ptr<int> const&) { served++; });
        lost(token);
        lost(std::exchange(token, nullptr));
        EXPECT_EQ(m_loop.getQueue(EventPrio::NORMAL).getFillLevel(), 2u);
    }
    EXPECT_TRUE(watch.expired()) << "the loop isn't running, so there is nothing to wait for";
    m_loop.start();
    drain();
    EXPECT_EQ(served, 0);
}

TEST_F(FunctionTest, CallsThatHoldTheFunctionAreServedAfterItIsDropped)
{
    auto token = std::make_shared<int>(0);
    std::weak_ptr<int> const watch = token;
    std::string served;
    {
        ZK::Function<void(char)> const function = ZK::bindArgs(m_async, [&, token](char name) { served += name; });
        function('1'); // holds nothing, so the flag's change may not make it drop a reference
        function.setDontCancelOnDestruction(true);
        function('2');
        function('3');
        function.setDontCancelOnDestruction(false); // nor make the others keep theirs
    }
    token.reset();
    EXPECT_FALSE(watch.expired());
    m_loop.start();
    drain();
    EXPECT_EQ(served, "123");
    m_loop.stop();
    EXPECT_TRUE(watch.expired());
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
    function(token);
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
        std::promise<int> seen;
        ZK::Function<void()> function;
        function.assign(context,
                        [&, token]
                        {
                            function = nullptr;
                            seen.set_value(*token);
                        });
        token.reset();
        function();
        EXPECT_EQ(seen.get_future().get(), 7) << ZKEnumInfo<FunctionContext::Type>::VALUE_NAME(context.type);
        drain();
        EXPECT_TRUE(watch.expired());
    }
}

TEST_F(FunctionTest, DroppingWaitsForTheTargetThatRuns)
{
    m_loop.start();
    std::promise<void> entered;
    std::atomic<bool> isDropping{false};
    std::atomic<bool> isRunning{false};
    ZK::Function<void()> function =
        ZK::bindArgs(m_async,
                     [&]
                     {
                         isRunning = true;
                         entered.set_value();
                         eventually([&] { return isDropping.load(); });
                         ZKThread::SLEEP(20); // time in which a drop that doesn't wait shows
                         isRunning = false;
                     });
    function();
    entered.get_future().wait();
    isDropping = true;
    function = nullptr;
    EXPECT_FALSE(isRunning);
}

TEST_F(FunctionTest, ServesEachThreadsCallsInOrderWhileOthersComeAndGo)
{
    constexpr int THREADS = 4;
    constexpr int CALLS = 500;
    m_loop.start();
    std::vector<int> last(THREADS, -1); // touched on the loop's thread, or while it stands still
    bool inOrder = true;
    ZK::Function<void(int, int)> const async = ZK::bindArgs(m_async,
                                                            [&](int thread, int number)
                                                            {
                                                                inOrder = inOrder && last[thread] == number - 1;
                                                                last[thread] = number;
                                                            });
    int syncCalls = 0;
    ZK::Function<void()> const sync = ZK::bindArgs(m_sync, [&] { syncCalls++; });
    std::vector<std::thread> threads;
    for (int thread = 0; thread < THREADS; thread++)
    {
        threads.emplace_back(
            [&, thread]
            {
                for (int number = 0; number < CALLS; number++)
                {
                    async(thread, number);
                    if (number % 50 != 0)
                        continue;
                    sync();
                    ZK::Function<void(String)> const passing = ZK::bindArgs(m_async, [](String) {});
                    passing.setDontCancelOnDestruction(number % 100 == 0);
                    passing("a text that is too long to stand inline");
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    drain();
    m_loop.stop();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(last, std::vector<int>(THREADS, CALLS - 1));
    EXPECT_EQ(syncCalls, THREADS * CALLS / 50);
}

TEST_F(FunctionTest, SyncLockShowsTheLoopsNameInTheReport)
{
    ZK::Detail::FunctionEventSync lock(m_loop);
    EXPECT_EQ(lock.getLockName(), String::stringOfFormat("Test-%p", static_cast<void*>(&lock)));
    EXPECT_STREQ(ZKLock::Type::NAME(lock.getType()), "sync-function");
}
