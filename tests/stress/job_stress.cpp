// Threads invoke jobs on executors of all kinds while others cancel, wait, suspend, drop executors and ask for reports.
// Each job that an executor took is started or cancelled, each future completes, each waiter returns, and nothing stays.

#include "tests/eventually.h"
#include "tests/jobs/fake_job.h"
#include "tests/stress/stress.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/jobs/executor_event_loop.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"
#include "zekovar/jobs/job_supervisor.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr unsigned int INVOKERS = 4;
constexpr unsigned int OWN_EXECUTOR = 64; // one job in so many runs on an executor that is dropped at once

ZKPtr<ZK::IExecutor> thread(char const* name)
{
    return ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread(name));
}

ZKPtr<ZK::IFuture> invoke(ZKPtr<ZK::IExecutor> const& executor, std::function<void(ZK::IFuture*)> work)
{
    ZKPtr<FakeJob> const job(ZK::MovePtr<FakeJob>(new FakeJob()));
    job->work = std::move(work);
    ZKPtr<ZK::IFuture> future;
    require(executor->invokeJob(job.getObj(), future).isSuccess(), "an executor takes a job");
    return future;
}

class Stress
{
public:
    Stress() { m_loop.start(); }

    void run(unsigned int jobs)
    {
        std::jthread reporter([this](std::stop_token const& end) { report(end); });
        {
            std::vector<std::jthread> invokers;
            for (unsigned int i = 0; i < INVOKERS; i++)
                invokers.emplace_back([this, i, jobs] { invokeMany(i + 1, jobs / INVOKERS); });
        }
        reporter.request_stop();
        reporter.join();
        for (ZKPtr<ZK::IExecutor> const& executor : m_executors)
            check(*executor);
        require(eventually([] { return ZKThread::GET_BY_NAME("Short") == nullptr; }), "no thread stays");
        require(eventually([this] { return m_jobs.use_count() == 1; }), "no job stays");
    }

private:
    void invokeMany(unsigned int seed, unsigned int count)
    {
        std::minstd_rand random(seed);
        for (; count > 0; count--)
        {
            auto const dice = static_cast<unsigned int>(random());
            bool const isOwn = dice / 8 % OWN_EXECUTOR == 0;
            bool const isForgotten = dice / 8 % (2 * OWN_EXECUTOR) == 0;
            ZKPtr<ZK::IExecutor> executor = isOwn ? thread("Short") : m_executors[dice / 2 % 3];
            if (isForgotten)
                executor->suspend();
            ZKPtr<ZK::IFuture> const future = invoke(executor, work(dice % 2 == 0));
            executor = nullptr;
            if (!isForgotten)
                disturb(future, dice / 1024);
        }
    }

    /// Ends its job at once or on another thread.
    std::function<void(ZK::IFuture*)> work(bool isLater)
    {
        return [this, isLater, jobs = m_jobs, starts = 0](ZK::IFuture* future) mutable
        {
            require(starts++ == 0, "a job is started once");
            if (isLater)
                invoke(m_finisher, [run = ZKPtr<ZK::IFuture>(future)](ZK::IFuture*) { run->done(XCODE_SUCCESS); });
            else
                future->done(XCODE_SUCCESS);
        };
    }

    void disturb(ZKPtr<ZK::IFuture> const& future, unsigned int dice)
    {
        if (dice % 2 == 0)
            invoke(m_canceller, [future](ZK::IFuture*) { (void)future->cancel(9); });
        if (dice / 2 % 4 == 0)
            (void)future->cancel(0);
        if (dice / 8 % 4 != 0)
            invoke(m_waiter,
                   [future](ZK::IFuture*)
                   {
                       future->waitForCompletion();
                       require(future->hasCompleted(), "a waiter returns when its future has completed");
                   });
    }

    void report(std::stop_token const& end)
    {
        ZKPtr<ZK::IExecutor> const& executor = m_executors[0];
        while (!end.stop_requested())
        {
            ZKVector<ZK::IFuture::Description> futures;
            executor->suspend();
            ZK::JobSupervisor::INSTANCE().getFutureDescriptions(futures);
            executor->resume();
            std::this_thread::yield();
        }
    }

    /// Everything taken is started or cancelled in the end. The immediate executor cancels what it has started.
    static void check(ZK::IExecutor& executor)
    {
        ZK::IExecutor::Description is;
        auto const addsUp = [&]
        {
            executor.getExecutorDescription(is);
            return is.executedJobs + (is.name == "Immediate" ? 0 : is.cancelledJobs) == is.invokedJobs;
        };
        require(eventually(addsUp) && is.failedExecutions == 0, "the counters add up");
        std::printf("%s: %u invoked, %u executed, %u cancelled, %u not\n", is.name.c_str(), is.invokedJobs,
                    is.executedJobs, is.cancelledJobs, is.failedCancels);
    }

    ZKEventLoop m_loop{"Stress", 64, 10, 100, 1000, 64};
    std::shared_ptr<int> m_jobs = std::make_shared<int>(); // each job has a share
    ZKPtr<ZK::IExecutor> m_finisher = thread("Finisher");
    ZKPtr<ZK::IExecutor> m_waiter = thread("Waiter");
    ZKPtr<ZK::IExecutor> m_canceller = thread("Canceller");
    ZKPtr<ZK::IExecutor> m_executors[3] = {
        thread("Stress"), ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(m_loop, EventPrio::NORMAL)),
        ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate())};
};
}

int main(int argc, char** argv)
{
    return stress(argc, argv, "--jobs", 100000, [](int jobs) { Stress().run(static_cast<unsigned int>(jobs)); });
}
