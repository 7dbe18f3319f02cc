#include "zekovar/events/event_loop.h"
#include "zekovar/events/function.h"
#include "zekovar/foundation/string.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <future>

namespace
{
constexpr int BURST = 1000;

/// A loop that runs while the benchmark does.
struct Loop
{
    Loop() { loop.start(); }

    ~Loop() { loop.stop(); }

    ZK::FunctionContext context(ZK::FunctionContext::Type type) { return {type, &loop}; }

    ZKEventLoop loop{"Bench", 16, 1000, 10000, 100000, 16};
};

void directCall(benchmark::State& state)
{
    int sum = 0;
    ZK::Function<void(int)> function = ZK::bindArgs(ZK::directCall(), [&](int value) { sum += value; });
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(function);
        function(1);
        benchmark::DoNotOptimize(sum);
    }
}

void directCallStd(benchmark::State& state)
{
    int sum = 0;
    std::function<void(int)> function = [&](int value) { sum += value; };
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(function);
        function(1);
        benchmark::DoNotOptimize(sum);
    }
}

template <class F>
void callWithText(benchmark::State& state, F function)
{
    String const text("a text that is too long to stand inline");
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(function);
        function(text);
    }
}

void directCallWithText(benchmark::State& state)
{
    callWithText(state, ZK::Function<void(String)>(
                            ZK::bindArgs(ZK::directCall(), [](String text) { benchmark::DoNotOptimize(text); })));
}

void directCallWithTextStd(benchmark::State& state)
{
    callWithText(state, std::function<void(String)>([](String text) { benchmark::DoNotOptimize(text); }));
}

void syncCall(benchmark::State& state)
{
    Loop loop;
    int sum = 0;
    ZK::Function<void(int)> const function =
        ZK::bindArgs(loop.context(ZK::FunctionContext::Type::SYNC), [&](int value) { sum += value; });
    for (auto _ : state)
        function(1);
}

void syncCallOnOwnThread(benchmark::State& state)
{
    Loop loop;
    int sum = 0;
    ZK::Function<void(int)> const function =
        ZK::bindArgs(loop.context(ZK::FunctionContext::Type::SYNC), [&](int value) { sum += value; });
    std::promise<void> done;
    ZK::Function<void()> const run = ZK::bindArgs(loop.context(ZK::FunctionContext::Type::ASYNC),
                                                  [&]
                                                  {
                                                      for (auto _ : state)
                                                          function(1);
                                                      done.set_value();
                                                  });
    run();
    done.get_future().wait();
}

void asyncCalls(benchmark::State& state)
{
    Loop loop;
    int left = 0;
    std::promise<void>* done = nullptr;
    ZK::Function<void(int)> const function = ZK::bindArgs(loop.context(ZK::FunctionContext::Type::ASYNC),
                                                          [&](int)
                                                          {
                                                              if (--left == 0)
                                                                  done->set_value();
                                                          });
    for (auto _ : state)
    {
        std::promise<void> served;
        left = BURST;
        done = &served;
        for (int i = 0; i < BURST; i++)
            function(i);
        served.get_future().wait();
    }
    state.SetItemsProcessed(state.iterations() * BURST);
}
}

BENCHMARK(directCall)->Name("Function/direct/zekovar");
BENCHMARK(directCallStd)->Name("Function/direct/std_function");
BENCHMARK(directCallWithText)->Name("Function/direct_with_text/zekovar");
BENCHMARK(directCallWithTextStd)->Name("Function/direct_with_text/std_function");
BENCHMARK(syncCall)->Name("Function/sync/from_another_thread")->UseRealTime();
BENCHMARK(syncCallOnOwnThread)->Name("Function/sync/on_the_loops_thread");
BENCHMARK(asyncCalls)->Name("Function/async/burst_from_another_thread")->UseRealTime();
