// What a debug line costs while it is off: by id, through a monitor, and with other monitors and threads about.

#include "zekovar/diagnostics/log.h"
#include "zekovar/diagnostics/repository.h"

#include <benchmark/benchmark.h>

#ifdef ZEKOVAR_BENCH_HAS_SPDLOG
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace
{
RTD::Monitor* addMonitor(RtdMonitorID id, unsigned int slot, unsigned int port)
{
    return RTD::REPOSITORY::_INSTANCE()->addMonitor(id, slot, port);
}

/// The argument is the number of further monitors.
void DisabledLine_ZekovarById(benchmark::State& state)
{
    if (state.thread_index() == 0)
    {
        addMonitor(MON_JOB, RTD::NO_SLOT, RTD::NO_PORT);
        for (unsigned int port = 0; port < state.range(0); port++)
            addMonitor(MON_SIP_TRANSPORT, 1, port);
    }
    int number = 0;
    for (auto _ : state)
    {
        RTD_DEBUG(MON_JOB, 2, "job %d", ++number);
        benchmark::ClobberMemory();
    }
    if (state.thread_index() != 0)
        return;
    for (unsigned int port = 0; port < state.range(0); port++)
        RTD::REPOSITORY::_INSTANCE()->removeMonitor(MON_SIP_TRANSPORT, 1, port);
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(MON_JOB, RTD::NO_SLOT, RTD::NO_PORT);
}

BENCHMARK(DisabledLine_ZekovarById)->Arg(0)->Arg(1000)->Threads(1)->Threads(2)->Threads(8);

void DisabledLine_ZekovarByMonitor(benchmark::State& state)
{
    RTD::Monitor* monitor = addMonitor(MON_JOB, RTD::NO_SLOT, RTD::NO_PORT);
    int number = 0;
    for (auto _ : state)
    {
        RTD_DEBUG_MONITOR(monitor, 2, "job %d", ++number);
        benchmark::ClobberMemory();
    }
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(monitor);
}

BENCHMARK(DisabledLine_ZekovarByMonitor);

#ifdef ZEKOVAR_BENCH_HAS_SPDLOG
void DisabledLine_Spdlog(benchmark::State& state)
{
    spdlog::logger logger("job", std::make_shared<spdlog::sinks::null_sink_mt>());
    int number = 0;
    for (auto _ : state)
    {
        logger.debug("job {}", ++number);
        benchmark::ClobberMemory();
    }
}

BENCHMARK(DisabledLine_Spdlog);
#endif
}
