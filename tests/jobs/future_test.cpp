#include "zekovar/jobs/future.h"

#include "tests/captured_syslog.h"
#include "tests/jobs/fake_job.h"
#include "tests/string_printer.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"
#include "zekovar/jobs/future_handle.h"

#include <atomic>
#include <barrier>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{
using std::placeholders::_1;

class FutureTest : public testing::Test
{
protected:
    /// A future in state `invoked`.
    ZK::Future<String> invoke()
    {
        ZKPtr<ZK::IFuture> const future = job.createFuture();
        future->invoked(&executor, &executor);
        return future;
    }

    FakeJob job;
    ZK::CExecutorImmediate executor; // agrees to each cancel
};
}

TEST_F(FutureTest, StatesFollowTheTable)
{
    // i: invoked, x: execute, c: cancel without done, d: done, capital for what is refused; each with the state after it
    for (char const* row : {"C0d0i1d1", "i1x2X2i2d5d5i5C5X5", "i1c3C3d4d4C4X4", "i1x2c3d4", "x2d5"})
    {
        ZKPtr<ZK::CFuture> const future(ZK::MovePtr<ZK::CFuture>(new ZK::CFuture(&job)));
        for (char const* call = row; *call != '\0'; call += 2)
        {
            char const* const name = ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(future->getState());
            String const refusal = String::stringOfFormat("FUTURE IN STATE %s", name);
            XCode code;
            if (*call == 'i')
                future->invoked(&executor, nullptr);
            else if (*call == 'd')
                future->done(XCODE_SUCCESS);
            else
                code = *call == 'x' || *call == 'X' ? future->execute() : future->cancelWithoutDone(0);
            EXPECT_EQ(static_cast<int>(future->getState()), call[1] - '0') << row << ", at " << call;
            EXPECT_EQ(code.toString(), *call < 'a' ? refusal : "") << row << ", at " << call;
        }
    }
}

TEST_F(FutureTest, CancelEndsWithTheSignalOrLeavesTheRunToItsJob)
{
    ZK::Future<String> future;
    for (int const signal : {15, 0})
    {
        future = invoke();
        EXPECT_TRUE(future->cancel(signal));
        EXPECT_EQ(future->waitForCompletion().getRawValue(), signal == 0 ? 0u : XCODE_SIGNAL + 15u);
        EXPECT_TRUE(future->getExecutor() == nullptr && future->getExecutorPrivateData() == nullptr);
    }
    future = invoke();
    future->invoked(nullptr, nullptr);
    EXPECT_EQ(future->cancel(0).toString(), "FUNCTION IS NOT BEING EXECUTED");

    ZKPtr<ZK::IExecutor> const other(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("never took it")));
    future = invoke();
    future->invoked(other.getObj(), &job);
    EXPECT_EQ(future->cancel(9).toString(), "FUNCTION EXECUTION CANNOT BE CANCELLED");
    EXPECT_EQ(future->getExecutorPrivateData(), &job);
    EXPECT_TRUE(future->execute());
    EXPECT_EQ(future->getState(), ZK::IFuture::State::cancelling);
}

TEST_F(FutureTest, ObserversHearOfEachEndInOrderAndWithoutTheLock)
{
    ZK::Future<String> future = invoke();
    std::vector<String> calls;
    auto const onResult = [&](XCode code, String text) { calls.push_back(listed(code.getRawValue(), text)); };
    auto const onEnd = [&](XCode code)
    {
        calls.push_back(code.toString());
        // needs the lock, and comes after the end
        std::thread([&] { future.setResultObserver(onResult); }).join();
    };
    ZKPtr<ZK::IFutureResult<String>> typed;
    ASSERT_TRUE(future->queryIf(typed));
    typed->set("forty-two");
    future.setResultObserver([&](XCode, String) { calls.push_back("early"); });
    future->setCompletionObserver(ZK::bindArgs(ZK::directCall(), onEnd, _1));
    future->execute();
    future->done(XCODE_SUCCESS);
    future->setCompletionObserver(ZK::bindArgs(
        ZK::directCall(), [&](XCode) { calls.push_back("at once"); }, _1));
    future->done(XCode(XCODE_LIBRARY + 1u));
    EXPECT_EQ(calls, (std::vector<String>{"", "0|forty-two", "early", "at once", "at once",
                                          listed(XCODE_LIBRARY + 1, "forty-two")}));
    String text = "kept";
    EXPECT_EQ(listed(typed->waitForResult(text).getRawValue(), text), listed(XCODE_LIBRARY + 1, "kept"));
    future->done(XCODE_SUCCESS);
    EXPECT_EQ(listed(typed->waitForResult(text).getRawValue(), text), "0|forty-two");
    EXPECT_EQ(future.sendData("no stream").getRawValue(), 0x10000002u);
}

TEST_F(FutureTest, RacingEndsWakeAllWaitersAndReachEachObserverOnce)
{
    for (int round = 0; round < 200; round++)
    {
        int const cancels = round % 2; // an end of its own if it comes before the job's
        ZK::Future<String> future = invoke();
        std::atomic<int> completions = 0, results = 0;
        auto const count = [&](XCode) { completions++; };
        std::function<void()> const actions[] = {
            [&] { EXPECT_NE(future->waitForCompletion(), ZK::CFuture::NO_RESULT); },
            [&] { EXPECT_NE(future->waitForCompletion(), ZK::CFuture::NO_RESULT); },
            [&] { future->execute(), future->done(XCODE_SUCCESS); },
            [&] { future->setCompletionObserver(ZK::bindArgs(ZK::directCall(), count, _1)); },
            [&] { future.setResultObserver([&](XCode, String) { results++; }); },
            [&] { cancels != 0 ? future->cancel(9) : XCode(); },
        };
        std::barrier start(std::size(actions));
        std::vector<std::jthread> threads;
        for (auto const& action : actions)
            threads.emplace_back([&] { start.arrive_and_wait(), action(); });
        threads.clear(); // joins
        for (int const calls : {completions.load(), results.load()})
            EXPECT_TRUE(calls == 1 || calls == 1 + cancels) << calls;
    }
}

TEST_F(FutureTest, LogTellsTheLifeOfARun)
{
    RTD::REPOSITORY::_INSTANCE()->addMonitor(MON_JOB, 254, 65534);
    RTD::REPOSITORY::_INSTANCE()->enableMonitor("job", 254, 65534, "test", LOG_DEBUG, 1);
    CapturedSyslog log;
    {
        ZK::Future<String> const ended = invoke();
        ended->execute();
        ended->signal(1);
        ended->done(XCode(XCODE_EXIT + 2u));
        ended->waitForCompletion();
        ended->cancel(0);
    }
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(MON_JOB, 254, 65534);
    std::string written;
    for (std::string const& line : log.lines())
        written += line.substr(0, 2) + line.substr(line.find("[fake] ") + 7);
    EXPECT_EQ(written, "7 Created\n7 Invoked\n7 State: init -> invoked\n7 Executing\n7 State: invoked -> executing"
                       "\n7 Successfully executed\n3 FAILED TO SIGNAL: THIS TYPE OF JOB CANNOT BE SIGNALED"
                       "\n7 Job is done (status #12000002); wake up waiter\n7 State: executing -> done"
                       "\n7 Waiting for completion\n7 Completed with status 0x12000002: PROGRAM EXIT WITH 2"
                       "\n7 Canceling\n3 FAILED TO CANCEL\n7 Destroyed\n");
}
