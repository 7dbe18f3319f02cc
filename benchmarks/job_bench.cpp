// What a job costs on each executor, from its invocation to its end, beside what it is made of (a post to the loop) and
// beside what a user would pick instead: std::async, and a pool of one thread.

#include "benchmarks/countdown.h"
#include "zekovar/events/event.h"
#include "zekovar/events/event_loop.h"
#include "zekovar/jobs/cfuture.h"
#include "zekovar/jobs/executor_event_loop.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"

#include <benchmark/benchmark.h>

#include <future>
#include <memory>

#ifdef ZEKOVAR_BENCH_HAS_ASIO
#include <asio.hpp>
#endif

namespace
{
constexpr int BURST = 1000;

class Loop : public ZKEventLoop
{
public:
    Loop() : ZKEventLoop("Bench", 0, 100, 1000, 10000, 0) { start(); }

    ~Loop() override { stop(); }
};

/// Ends at once.
class Job : public CInherit<Job, CObject, ZK::IJob>
{
public:
    explicit Job(Countdown* ended) : m_ended(ended) {}

    String getJobDescription() const override { return "job of the benchmark"; }

    String getShortJobDescription() const override { return "job"; }

    ZKPtr<ZK::IFuture> createFuture() override { return ZK::MovePtr<ZK::IFuture>(new ZK::CFuture(this)); }

    XCode execute(ZK::IFuture* future) override
    {
        future->done(XCODE_SUCCESS);
        if (m_ended != nullptr)
            m_ended->call();
        return XCODE_SUCCESS;
    }

private:
    Countdown* m_ended;
};

void finishItems(benchmark::State& state, int64_t itemsEach)
{
    state.SetItemsProcessed(state.iterations() * itemsEach);
}

/// `state.range(0)` at a time, by `invoke`.
template <class Invoke>
void measureBatches(benchmark::State& state, Countdown& countdown, Invoke invoke)
{
    for (auto _ : state)
    {
        countdown.left = static_cast<int>(state.range(0));
        for (int64_t i = 0; i < state.range(0); ++i)
            invoke();
        countdown.finish.wait();
    }
    finishItems(state, state.range(0));
}

void measureJobs(benchmark::State& state, ZK::IExecutor& executor)
{
    Countdown countdown;
    ZKPtr<Job> const job(ZK::MovePtr<Job>(new Job(&countdown)));
    measureBatches(state, countdown,
                   [&]
                   {
                       ZKPtr<ZK::IFuture> future;
                       executor.invokeJob(job.getObj(), future);
                   });
}

void ImmediateJob_Zekovar(benchmark::State& state)
{
    ZKPtr<ZK::IExecutor> const executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate()));
    ZKPtr<Job> const job(ZK::MovePtr<Job>(new Job(nullptr)));
    for (auto _ : state)
    {
        ZKPtr<ZK::IFuture> future;
        executor->invokeJob(job.getObj(), future);
        benchmark::DoNotOptimize(future.getObj());
    }
    finishItems(state, 1);
}

void ImmediateJob_StdDeferred(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(std::async(std::launch::deferred, [] { return 1; }).get());
    finishItems(state, 1);
}

void LoopPost_Zekovar(benchmark::State& state)
{
    Loop loop;
    Countdown countdown;
    ZKPtr<ZKEvent> const event(
        ZK::MovePtr<ZKEvent>(new ZKEvent(loop, EventPrio::NORMAL, &Countdown::CALL, &countdown)));
    measureBatches(state, countdown, [&] { event->set(); });
    loop.stop();
}

void LoopJob_Zekovar(benchmark::State& state)
{
    Loop loop;
    ZKPtr<ZK::IExecutor> const executor(
        ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorEventLoop(loop, EventPrio::NORMAL)));
    measureJobs(state, *executor);
}

void ThreadJob_Zekovar(benchmark::State& state)
{
    ZKPtr<ZK::IExecutor> const executor(ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("Bench")));
    measureJobs(state, *executor);
}

void ThreadJob_StdAsync(benchmark::State& state)
{
    Countdown countdown;
    std::future<void> running; // one at a time
    measureBatches(state, countdown,
                   [&] { running = std::async(std::launch::async, [&countdown] { countdown.call(); }); });
}

#ifdef ZEKOVAR_BENCH_HAS_ASIO
void ThreadJob_AsioPool(benchmark::State& state)
{
    Countdown countdown;
    asio::thread_pool pool(1);
    measureBatches(state, countdown, [&] { asio::post(pool, [&countdown] { countdown.call(); }); });
    pool.join();
}

void ThreadJob_AsioPoolWithFuture(benchmark::State& state)
{
    Countdown countdown;
    asio::thread_pool pool(1);
    measureBatches(state, countdown,
                   [&] {
                       std::future<void> const future =
                           asio::post(pool, std::packaged_task<void()>([&countdown] { countdown.call(); }));
                   });
    pool.join();
}
#endif
}

BENCHMARK(ImmediateJob_Zekovar);
BENCHMARK(ImmediateJob_StdDeferred);
BENCHMARK(LoopPost_Zekovar)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(LoopJob_Zekovar)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(ThreadJob_Zekovar)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(ThreadJob_StdAsync)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
#ifdef ZEKOVAR_BENCH_HAS_ASIO
BENCHMARK(ThreadJob_AsioPool)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(ThreadJob_AsioPoolWithFuture)->Arg(1)->Arg(BURST)->MeasureProcessCPUTime()->UseRealTime();
#endif
