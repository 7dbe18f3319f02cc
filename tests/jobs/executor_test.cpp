#include "tests/eventually.h"
#include "tests/jobs/fake_job.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/jobs/executor_event_loop.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"

#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace
{
using Future = ZKPtr<ZK::IFuture>;
using Executor = ZKPtr<ZK::IExecutor>;

/// Hands out futures that aren't its own.
class OddJob : public FakeJob
{
public:
    Future createFuture() override { return made; }

    Future made;
};

/// Offers jobs that are refused, that are taken back, that run, and that can't be started. Returns the figures.
String exercise(Executor const& executor)
{
    ZKPtr<FakeJob> const job(ZK::MovePtr<FakeJob>(new FakeJob()));
    ZKPtr<OddJob> const odd(ZK::MovePtr<OddJob>(new OddJob()));
    Future future = job->createFuture();
    executor->cancel(nullptr, 15);
    executor->suspend();
    {
        ZKAutoLock<ZKEventSync> stop(CRIT::INSTANCE().getEventSync(EventPrio::LOW));
        XCode const code = executor->invokeJob(job.getObj(), future);
        EXPECT_TRUE(code ? future->cancel(15) : code.toString() == "EXECUTOR IS SUSPENDED");
    }
    executor->resume();
    job->work = [](ZK::IFuture* run)
    {
        run->cancel(9); // too late, unless there is nothing to stop
        run->done(XCODE_SUCCESS);
    };
    EXPECT_TRUE(executor->invokeJob(job.getObj(), future) && future->waitForCompletion());
    EXPECT_EQ(future->getState(), ZK::IFuture::State::cancelled);
    EXPECT_EQ(executor->invokeJob(nullptr, future), XCODE_FAILURE);
    Future const started(ZK::MovePtr<ZK::IFuture>(new ZK::CFuture(odd.getObj())));
    started->execute();
    for (Future const& made : {Future(), job->createFuture(), started})
    {
        EXPECT_TRUE(future == nullptr);
        odd->made = made;
        executor->invokeJob(odd.getObj(), future);
    }
    odd->made = nullptr;
    ZK::IExecutor::Description is;
    auto const allEnded = [&]
    {
        executor->getExecutorDescription(is);
        return is.executedJobs + is.failedExecutions + is.cancelledJobs >= is.invokedJobs;
    };
    EXPECT_TRUE(eventually(allEnded));
    return listed(is.name, is.invokedJobs, is.failedInvocations, is.cancelledJobs, is.failedCancels, is.executedJobs,
                  is.failedExecutions);
}
}

TEST(Executor, CountsWhatItDoes)
{
    EXPECT_EQ(exercise(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate())), "Immediate|2|4|2|0|1|1");
    EXPECT_EQ(exercise(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("W"))), "W|3|3|1|2|1|1");
    EXPECT_EQ(exercise(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(CRIT::INSTANCE(), EventPrio::NORMAL))),
              "Event Loop Crit|3|3|1|2|1|1");
}

TEST(Executor, RunsWhatIsLeftInOrderWhenManyAreCancelled)
{
    Executor const executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(CRIT::INSTANCE(), EventPrio::LOW)));
    std::vector<int> expected, started; // the latter by the loop's thread
    std::vector<Future> futures(300);
    {
        ZKAutoLock<ZKEventSync> stop(CRIT::INSTANCE().getEventSync(EventPrio::LOW));
        for (int i = 0; Future & future : futures)
        {
            ZKPtr<FakeJob> const job(ZK::MovePtr<FakeJob>(new FakeJob()));
            job->work = [&started, i](ZK::IFuture* run)
            {
                started.push_back(i);
                run->done(XCODE_SUCCESS);
            };
            EXPECT_TRUE(executor->invokeJob(job.getObj(), future));
            if (++i % 7 != 0)
                expected.push_back(i - 1);
        }
        for (unsigned int i = 0; i < futures.size(); i++) // in an order of its own, each seventh
        {
            unsigned int const place = i * 121 % 300;
            EXPECT_TRUE(place % 7 != 6 || futures[place]->cancel(0));
        }
    }
    for (Future const& future : futures)
        EXPECT_TRUE(future->waitForCompletion() && !future->cancel(0));
    EXPECT_EQ(started, expected);
    for (Future const& future : futures)
        EXPECT_EQ(executor->cancel(future.getObj(), 0), XCODE_FAILURE) << "its event is gone";
}

TEST(Executor, LetsGoOfWhatIsPendingAtItsEnd)
{
    auto loop = std::make_unique<ZKEventLoop>("Test", 0, 100, 1000, 10000, 0);
    Executor executors[] = {ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(*loop, EventPrio::NORMAL)),
                            ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("Worker"))};
    for (Executor& executor : executors)
    {
        executor->suspend();
        ZKPtr<FakeJob> const job(ZK::MovePtr<FakeJob>(new FakeJob()));
        job->work = [](ZK::IFuture*) { FAIL(); };
        Future future;
        executor->invokeJob(job.getObj(), future); // nobody keeps this one
        executor->invokeJob(job.getObj(), future);
        loop = nullptr;
        executor = nullptr;
        EXPECT_TRUE(eventually([&] { return job->getRefCount() == 2; }));
        EXPECT_EQ(future->getState(), ZK::IFuture::State::invoked);
        EXPECT_EQ(future->cancel(15), XCODE_FAILURE);
        future = nullptr;
        EXPECT_EQ(job->getRefCount(), 1u);
    }
    EXPECT_TRUE(eventually([] { return ZKThread::GET_BY_NAME("Worker") == nullptr; }));
}
