#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/timeout_event.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>
#include <unistd.h>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_ASIO
#include <asio.hpp>
#endif
#ifdef ZEKOVAR_BENCH_HAS_UV
#include <uv.h>
#endif

namespace
{
class TimerLoop : public ZKEventLoop
{
public:
    TimerLoop() : ZKEventLoop("Bench", 16, 100, 1000, 10000, 16) { start(); }

    ~TimerLoop() override { stop(); }
};

/// The timer under measurement is one of `others` + 1 of its kind.
void startStop(benchmark::State& state, unsigned int milliseconds)
{
    TimerLoop loop;
    std::vector<_ZKTimeoutEvent*> timers;
    for (int64_t i = 0; i <= state.range(0); i++)
    {
        timers.push_back(new _ZKTimeoutEvent(loop, EventPrio::NORMAL, nullptr, nullptr));
        timers.back()->start(milliseconds, true, false);
    }
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(timers.back()->start(milliseconds, true, false));
        timers.back()->stop();
    }
    loop.stop();
    for (_ZKTimeoutEvent* timer : timers)
        timer->destroy();
}

void timerOnTicker(benchmark::State& state)
{
    startStop(state, 500);
}

void timerOnDescriptor(benchmark::State& state)
{
    startStop(state, 60000);
}

#ifdef ZEKOVAR_BENCH_HAS_ASIO
void timerAsio(benchmark::State& state)
{
    asio::io_context context;
    std::vector<asio::steady_timer> others;
    for (int64_t i = 0; i < state.range(0); i++)
    {
        others.emplace_back(context, std::chrono::milliseconds(60000));
        others.back().async_wait([](asio::error_code) {});
    }
    asio::steady_timer timer(context);
    for (auto _ : state)
    {
        timer.expires_after(std::chrono::milliseconds(500));
        timer.async_wait([](asio::error_code) {});
        timer.cancel();
        context.poll();
    }
}
#endif

#ifdef ZEKOVAR_BENCH_HAS_UV
void timerUv(benchmark::State& state)
{
    uv_loop_t loop;
    uv_loop_init(&loop);
    std::vector<uv_timer_t> timers(static_cast<std::size_t>(state.range(0) + 1));
    for (uv_timer_t& timer : timers)
    {
        uv_timer_init(&loop, &timer);
        uv_timer_start(
            &timer, [](uv_timer_t*) {}, 60000, 60000);
    }
    for (auto _ : state)
    {
        uv_timer_start(
            &timers.back(), [](uv_timer_t*) {}, 500, 500);
        uv_timer_stop(&timers.back());
    }
    for (uv_timer_t& timer : timers)
        uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
}
#endif

void synchronize(benchmark::State& state)
{
    TimerLoop loop;
    ZKEventSync& sync = loop.getEventSync(EventPrio::NORMAL);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(sync.synchronize());
        sync.unsynchronize();
    }
}

void synchronizeNested(benchmark::State& state)
{
    TimerLoop loop;
    ZKEventSync& sync = loop.getEventSync(EventPrio::NORMAL);
    ZKAutoLock<ZKEventSync> stop(sync);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(sync.synchronize());
        sync.unsynchronize();
    }
}

/// What a stop costs at least: one byte to another thread and one back.
void pipeRoundTrip(benchmark::State& state)
{
    int there[2];
    int back[2];
    if (pipe(there) != 0 || pipe(back) != 0)
    {
        state.SkipWithError("no pipe");
        return;
    }
    std::thread echo(
        [&]
        {
            char byte;
            while (read(there[0], &byte, 1) == 1 && write(back[1], &byte, 1) == 1)
                continue;
        });
    char byte = 'x';
    for (auto _ : state)
    {
        if (write(there[1], &byte, 1) != 1 || read(back[0], &byte, 1) != 1)
            state.SkipWithError("pipe broken");
    }
    close(there[1]);
    echo.join();
    for (int fd : {there[0], back[0], back[1]})
        close(fd);
}

BENCHMARK(timerOnTicker)->Name("Timer/start and stop on a ticker")->Arg(0)->Arg(63);
BENCHMARK(timerOnDescriptor)->Name("Timer/start and stop on a descriptor")->Arg(0)->Arg(63);
#ifdef ZEKOVAR_BENCH_HAS_ASIO
BENCHMARK(timerAsio)->Name("Timer/start and stop, asio::steady_timer")->Arg(0)->Arg(63);
#endif
#ifdef ZEKOVAR_BENCH_HAS_UV
BENCHMARK(timerUv)->Name("Timer/start and stop, uv_timer")->Arg(0)->Arg(63);
#endif
BENCHMARK(synchronize)->Name("EventSync/stop and go")->UseRealTime();
BENCHMARK(pipeRoundTrip)->Name("EventSync/stop and go, bytes through two pipes")->UseRealTime();
BENCHMARK(synchronizeNested)->Name("EventSync/nested stop and go");
}
