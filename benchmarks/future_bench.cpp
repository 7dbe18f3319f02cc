#include "zekovar/jobs/future_result.h"

#include <benchmark/benchmark.h>

#include <future>
#include <optional>
#include <semaphore>
#include <string>
#include <thread>

#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QFuture>
#include <QFutureInterface>
#include <QString>
#endif

namespace
{
class NoJob : public CInherit<NoJob, CObject, ZK::IJob>
{
public:
    String getJobDescription() const override { return "none"; }

    String getShortJobDescription() const override { return "none"; }

    ZKPtr<ZK::IFuture> createFuture() override { return {}; }

    XCode execute(ZK::IFuture*) override { return XCODE_SUCCESS; }
};

/// With the states, the register and the tracked lock that the others don't have.
class Own
{
public:
    Own() { m_future->invoked(nullptr, nullptr); }

    void end()
    {
        m_future->execute();
        m_future->set("ended");
        m_future->done(XCODE_SUCCESS);
    }

    unsigned int wait()
    {
        String result;
        m_future->waitForResult(result);
        return result.length();
    }

private:
    using Future = ZK::CFutureResult<String>;

    static inline NoJob s_job;

    ZKPtr<Future> m_future{ZK::MovePtr<Future>(new Future(&s_job))};
};

class Standard
{
public:
    void end() { m_promise.set_value("ended"); }

    unsigned int wait() { return m_future.get().size(); }

private:
    std::promise<std::string> m_promise;
    std::future<std::string> m_future = m_promise.get_future();
};

#ifdef ZEKOVAR_BENCH_HAS_QT
class OfQt
{
public:
    OfQt() { m_future.reportStarted(); }

    void end() { m_future.reportFinished(&s_result); }

    unsigned int wait()
    {
        m_future.waitForFinished();
        return m_future.future().result().size();
    }

private:
    static inline QString const s_result = "ended";

    QFutureInterface<QString> m_future;
};
#endif

/// One future from its making to its end, on one thread.
template <class Future>
void futureLife(benchmark::State& state)
{
    for (auto _ : state)
    {
        Future future;
        future.end();
        benchmark::DoNotOptimize(future.wait());
    }
}

/// One thread waits, another one ends what it waits for.
template <class Future>
void futureHandOver(benchmark::State& state)
{
    std::optional<Future> future;
    std::binary_semaphore isMade(0);
    std::binary_semaphore hasLeft(0);
    bool isOver = false;
    std::thread partner(
        [&]
        {
            for (isMade.acquire(); !isOver; isMade.acquire())
            {
                future->end();
                hasLeft.release();
            }
        });
    for (auto _ : state)
    {
        future.emplace();
        isMade.release();
        benchmark::DoNotOptimize(future->wait());
        hasLeft.acquire(); // the promise may not go while it is being kept
    }
    isOver = true;
    isMade.release();
    partner.join();
}
}

BENCHMARK(futureLife<Own>)->Name("Future/life");
BENCHMARK(futureLife<Standard>)->Name("Future/life, std::future");
BENCHMARK(futureHandOver<Own>)->Name("Future/hand over")->UseRealTime();
BENCHMARK(futureHandOver<Standard>)->Name("Future/hand over, std::future")->UseRealTime();
#ifdef ZEKOVAR_BENCH_HAS_QT
BENCHMARK(futureLife<OfQt>)->Name("Future/life, QFuture");
BENCHMARK(futureHandOver<OfQt>)->Name("Future/hand over, QFuture")->UseRealTime();
#endif
