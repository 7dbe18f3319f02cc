#include "zekovar/jobs/future.h"

#include "tests/eventually.h"
#include "tests/jobs/fake_job.h"
#include "tests/string_printer.h"
#include "zekovar/jobs/future_handle.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{
class FutureTest : public testing::Test
{
protected:
    FutureTest() { restart(); }

    /// A new future in state `invoked`.
    void restart()
    {
        executor.cancelCode = XCODE_SUCCESS;
        executor.invokeJob(&job, handle.getFuture());
    }

    /// The value and its text of `cancel` with an executor that answers so.
    String cancel(int signal, XCode const& answer = XCODE_SUCCESS)
    {
        executor.cancelCode = answer;
        XCode const code = handle->cancel(signal);
        return listed(code.getRawValue(), code.toString());
    }

    char const* state() const { return ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(handle->getState()); }

    FakeJob job;
    FakeExecutor executor;
    ZK::Future<String> handle;
};
}

TEST_F(FutureTest, StatesFollowTheTable)
{
    // i: invoked, x: execute, c: cancel without done, r: the same, refused by the executor, d: done
    struct
    {
        char const* calls;
        char const* state;
        char const* lastText;
    } const rows[] = {
        {"", "init", ""},
        {"c", "init", "FUTURE IN STATE init"},
        {"d", "init", ""},
        {"i", "invoked", ""},
        {"id", "invoked", ""},
        {"ic", "cancelling", ""},
        {"icd", "cancelled", ""},
        {"icdc", "cancelled", "FUTURE IN STATE cancelled"},
        {"icdx", "cancelled", "FUTURE IN STATE cancelled"},
        {"ix", "executing", ""},
        {"ixx", "executing", "FUTURE IN STATE executing"},
        {"ixi", "executing", ""},
        {"ixd", "done", ""},
        {"ixdd", "done", ""},
        {"ixdi", "done", ""},
        {"ixdc", "done", "FUTURE IN STATE done"},
        {"ixc", "cancelling", ""},
        {"ixcc", "cancelling", "FUTURE IN STATE cancelling"},
        {"ixcd", "cancelled", ""},
        {"ir", "cancelling", "FUNCTION EXECUTION CANNOT BE CANCELLED: BUSY"},
        {"irx", "cancelling", ""},
        {"irxd", "cancelled", ""},
    };

    for (auto const& row : rows)
    {
        ZKPtr<ZK::CFuture> future(ZK::MovePtr<ZK::CFuture>(new ZK::CFuture(&job)));
        XCode code;
        for (char const* call = row.calls; *call != '\0'; call++)
        {
            code.set(XCODE_SUCCESS);
            executor.cancelCode = XCODE_SUCCESS;
            if (*call == 'r')
                executor.cancelCode.append("BUSY", XCODE_FAILURE, "");
            if (*call == 'i')
                future->invoked(&executor, nullptr);
            else if (*call == 'd')
                future->done(XCODE_SUCCESS);
            else
                code = *call == 'x' ? future->execute() : future->cancelWithoutDone(0);
        }
        EXPECT_STREQ(ZKEnumInfo<ZK::IFuture::State>::VALUE_NAME(future->getState()), row.state) << row.calls;
        EXPECT_EQ(code.toString(), row.lastText) << row.calls;
    }
}

TEST_F(FutureTest, CancelEndsWithTheSignalAndForgetsTheExecutor)
{
    EXPECT_TRUE(handle->getExecutor() == &executor);
    EXPECT_EQ(cancel(15), "0|");
    EXPECT_EQ(handle->waitForCompletion().getRawValue(), XCODE_SIGNAL + 15u);
    EXPECT_TRUE(handle->getExecutor() == nullptr && handle->getExecutorPrivateData() == nullptr);
    EXPECT_EQ(cancel(15), listed(0x7FFFFFFF, "FUTURE IN STATE cancelled"));

    restart();
    EXPECT_EQ(cancel(9, XCode(XCODE_LIBRARY + 7u)),
              listed(XCODE_LIBRARY + 7, "FUNCTION EXECUTION CANNOT BE CANCELLED"));
    EXPECT_STREQ(state(), "cancelling");
    EXPECT_EQ(handle->getExecutorPrivateData(), &executor.cancelCode);

    restart();
    handle->invoked(nullptr, nullptr);
    EXPECT_EQ(cancel(0), listed(0x7FFFFFFF, "FUNCTION IS NOT BEING EXECUTED"));

    restart();
    EXPECT_EQ(cancel(0), "0|");
    EXPECT_TRUE(handle->waitForCompletion());
}

TEST_F(FutureTest, ObserversHearOfEachEndInOrderAndWithoutTheLock)
{
    std::vector<String> calls;
    auto const completion = ZK::bindArgs(
        ZK::directCall(),
        [&](XCode code)
        {
            std::thread([this] { handle->getExecutor(); }).join(); // needs the lock
            calls.push_back(code.toString());
        },
        std::placeholders::_1);
    auto const result = [&](XCode code, String text) { calls.push_back(listed(code.getRawValue(), text)); };
    job.work = [](ZK::IFuture* future)
    {
        ZKPtr<ZK::IFutureResult<String>> typed;
        ASSERT_TRUE(future->queryIf(typed));
        typed->set("forty-two");
        future->done(XCODE_SUCCESS);
    };
    XCode early = XCODE_FAILURE;
    handle->setCompletionObserver(ZK::bindArgs(
        ZK::directCall(), [&](XCode code) { early = code; }, std::placeholders::_1));
    handle->setCompletionObserver(completion);
    handle.setResultObserver(result);
    EXPECT_TRUE(calls.empty());
    handle->execute();
    EXPECT_EQ(calls, (std::vector<String>{"", "0|forty-two"}));
    EXPECT_EQ(early, XCODE_FAILURE) << "replaced before the end";

    handle->setCompletionObserver(completion);
    handle.setResultObserver(result);
    EXPECT_EQ(calls.size(), 4u) << "at once on a completed future";
    handle->done(XCode(XCODE_LIBRARY + 1u));
    EXPECT_EQ(calls.back(), listed(XCODE_LIBRARY + 1, "forty-two")) << "a second end changes the status";
    handle->setCompletionObserver(nullptr);
    handle.setResultObserver(ZK::Function<void(XCode, String)>(nullptr));
    handle->done(XCODE_SUCCESS);
    EXPECT_EQ(calls.size(), 6u);
}

TEST_F(FutureTest, HandleLeavesOutWhatTheFutureDoesNotOffer)
{
    ZK::Future<String> const none;
    for (ZK::Future<String> future : {handle, none})
    {
        future.setStreamObserver(ZK::StreamType::STANDARD_ERROR, [](String) {});
        EXPECT_EQ(future.sendData("lost").getRawValue(), 0x10000002u);
    }
    EXPECT_EQ(handle->signal(9), XCODE_FAILURE);
    handle->done(XCODE_SUCCESS);
    ZK::CFuture const fresh(&job);
    ZK::IFuture::Description description;
    fresh.getFutureDescription(description);
    EXPECT_EQ(description.jobDescription, "fake job");
    EXPECT_EQ(description.future, &fresh);
}

TEST_F(FutureTest, RacingEndsWakeAllWaitersAndReachEachObserverOnce)
{
    for (int round = 0; round < 200; round++)
    {
        bool const isCancelled = round % 2 != 0;
        restart();
        handle->execute();
        std::atomic<int> completions = 0;
        std::atomic<int> results = 0;
        std::atomic<bool> isOpen = false;
        std::vector<std::function<void()>> const actions = {
            [&] { handle->done(XCODE_SUCCESS); },
            [&]
            {
                if (isCancelled)
                    cancel(9);
            },
            [&]
            {
                handle->setCompletionObserver(ZK::bindArgs(
                    ZK::directCall(), [&](XCode) { completions++; }, std::placeholders::_1));
            },
            [&] { ZK::Future<String>(handle).setResultObserver([&](XCode, String) { results++; }); },
            [&] { EXPECT_NE(handle->waitForCompletion().getRawValue(), 0x1000000Eu); },
            [&] { EXPECT_NE(handle->waitForCompletion().getRawValue(), 0x1000000Eu); },
        };
        {
            std::vector<std::jthread> threads;
            for (auto const& action : actions)
                threads.emplace_back(
                    [&]
                    {
                        isOpen.wait(false);
                        action();
                    });
            isOpen = true;
            isOpen.notify_all();
        }
        // a cancel and the job's own end are two ends
        EXPECT_TRUE(completions == 1 || (isCancelled && completions == 2)) << completions;
        EXPECT_TRUE(results == 1 || (isCancelled && results == 2)) << results;
        EXPECT_TRUE(handle->hasCompleted());
    }
}
