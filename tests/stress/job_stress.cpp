// Threads invoke jobs on executors of all kinds while others cancel, wait, suspend, drop executors and ask for reports.
// Each job that an executor took is started or cancelled, each future completes, each waiter returns, and nothing stays.

#include "tests/eventually.h"
#include "tests/jobs/fake_job.h"
#include "tests/stress/stress.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"
#include "zekovar/jobs/job_supervisor.h"

#include <climits>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace
{
constexpr int INVOKERS = 4;
constexpr unsigned int OWN_EXECUTOR = 64; // one job in so many runs on an executor that is dropped at once

ZKPtr<ZK::IExecutor> thread(char const* name)
{
    return ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread(name));
}

ZKPtr<ZK::IFuture> invoke(ZK::IExecutor& executor, std::function<void(ZK::IFuture*)> work)
{
    ZKPtr<FakeJob> const job(ZK::MovePtr<FakeJob>(new FakeJob()));
    job->work = std::move(work);
    ZKPtr<ZK::IFuture> future;
    require(executor.invokeJob(job.getObj(), future).isSuccess(), "an executor takes a job");
    return future;
}

class Stress
{
public:
    void run(int jobs)
    {
        std::jthread const reporter(
            [this](std::stop_token const& end)
            {
                for (ZKVector<ZK::IFuture::Description> futures; !end.stop_requested(); futures.clear())
                {
                    m_executors[0]->suspend();
                    ZK::JobSupervisor::INSTANCE().getFutureDescriptions(futures);
                    m_executors[0]->resume();
                }
            });
        for (std::vector<std::jthread> invokers; std::ssize(invokers) < INVOKERS;)
            invokers.emplace_back([this, jobs, seed = invokers.size()] { invokeMany(seed, jobs / INVOKERS); });
    }

    void check()
    {
        for (ZKPtr<ZK::IExecutor> const& executor : m_executors)
        {
            ZK::IExecutor::Description is;
            auto const addsUp = [&]
            {
                executor->getExecutorDescription(is);
                bool const isImmediate = is.name == "Immediate"; // cancels what it has started
                return is.executedJobs + (isImmediate ? 0 : is.cancelledJobs) == is.invokedJobs;
            };
            require(eventually(addsUp), "each job taken is started or cancelled");
        }
        require(eventually([this] { return m_jobs.use_count() == 1; }), "no job stays");
        require(eventually([] { return ZKThread::GET_BY_NAME("Short") == nullptr; }), "no thread stays");
    }

private:
    void invokeMany(unsigned long seed, int count)
    {
        for (std::minstd_rand random(seed); count > 0; count--)
        {
            auto const dice = static_cast<unsigned int>(random());
            bool const isForgotten = dice / 8 % (2 * OWN_EXECUTOR) == 0;
            ZKPtr<ZK::IExecutor> executor = dice / 8 % OWN_EXECUTOR == 0 ? thread("Short") : m_executors[dice / 2 % 3];
            if (isForgotten)
                executor->suspend();
            ZKPtr<ZK::IFuture> const future =
                invoke(*executor,
                       [this, isLater = dice % 2 == 0, jobs = m_jobs, starts = 0](ZK::IFuture* run) mutable
                       {
                           require(starts++ == 0, "a job is started once");
                           if (isLater)
                               invoke(*m_finisher,
                                      [run = ZKPtr<ZK::IFuture>(run)](ZK::IFuture*) { run->done(XCODE_SUCCESS); });
                           else
                               run->done(XCODE_SUCCESS);
                       });
            executor = nullptr;
            if (dice / 1024 % 2 == 0)
                invoke(*m_canceller, [future](ZK::IFuture*) { (void)future->cancel(9); });
            if (dice / 2048 % 4 == 0)
                (void)future->cancel(0);
            if (dice / 8192 % 4 != 0 && !isForgotten)
                invoke(*m_waiter,
                       [future, &last = m_turns[seed], turn = count](ZK::IFuture*)
                       {
                           require(turn < std::exchange(last, turn), "jobs run in their order");
                           future->waitForCompletion();
                       });
        }
    }

    std::shared_ptr<int> m_jobs = std::make_shared<int>(); // each job has a share
    std::vector<int> m_turns = std::vector<int>(INVOKERS, INT_MAX);
    ZKPtr<ZK::IExecutor> m_finisher = thread("Finisher");
    ZKPtr<ZK::IExecutor> m_waiter = thread("Waiter");
    ZKPtr<ZK::IExecutor> m_canceller = thread("Canceller");
    ZKPtr<ZK::IExecutor> m_executors[3] = {thread("Stress"), IO::INSTANCE().getExecutor(),
                                           ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate())};
};
}

int main(int argc, char** argv)
{
    return stress(argc, argv, "--jobs", 100000,
                  [](int jobs)
                  {
                      Stress stress;
                      stress.run(jobs);
                      stress.check();
                  });
}
