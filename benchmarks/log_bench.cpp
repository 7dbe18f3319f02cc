// An enabled line of the log, formatted, up to the call of syslog, beside spdlog up to its sink. Neither writes anything:
// this program's own syslog, which comes before the C library's, and spdlog's null sink drop what they get.

#include "zekovar/diagnostics/syslog.h"

#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <syslog.h>

#ifdef ZEKOVAR_BENCH_HAS_SPDLOG
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#endif

namespace
{
unsigned long s_lines;

void keepLine(void const* text)
{
    s_lines++;
    benchmark::DoNotOptimize(text);
}

/// The text that a line shows behind its numbers, of the length that the benchmark's argument asks for.
std::string textOf(benchmark::State const& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}
}

extern "C" __attribute__((used)) void syslog(int, char const* format, ...)
{
    keepLine(format);
}

namespace
{
__attribute__((format(printf, 3, 4))) void writeLine(String const& prompt, String const& extra, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    RTD::VSYSLOG_PREFIX(prompt, LOG_INFO, extra, format, arguments);
    va_end(arguments);
}

void BM_LogLine_Zekovar(benchmark::State& state)
{
    String const prompt("SIP-TR:2   # ");
    std::string const text = textOf(state);
    int call = 0;
    s_lines = 0;
    for (auto _ : state)
        writeLine(prompt, String::s_empty, "call %d, %d bytes from %s", ++call, 1200, text.c_str());
    if (s_lines < static_cast<unsigned long>(state.iterations()))
        state.SkipWithError("lines are missing");
}

void BM_LogLineWithExtraText_Zekovar(benchmark::State& state)
{
    String const prompt("SIP-TR:2   # ");
    String const extra("[call 00000007] ");
    std::string const text = textOf(state);
    int call = 0;
    for (auto _ : state)
        writeLine(prompt, extra, "call %d, %d bytes from %s", ++call, 1200, text.c_str());
}

/// What the C library takes for the text alone.
void BM_LogLine_Snprintf(benchmark::State& state)
{
    std::string const text = textOf(state);
    char line[2048];
    int call = 0;
    for (auto _ : state)
    {
        std::snprintf(line, sizeof line, "call %d, %d bytes from %s", ++call, 1200, text.c_str());
        keepLine(line);
    }
}

BENCHMARK(BM_LogLine_Zekovar)->Arg(10)->Arg(80)->Arg(1500);
BENCHMARK(BM_LogLineWithExtraText_Zekovar)->Arg(10);
BENCHMARK(BM_LogLine_Snprintf)->Arg(10)->Arg(80)->Arg(1500);

#ifdef ZEKOVAR_BENCH_HAS_SPDLOG
class CountingSink : public spdlog::sinks::null_sink_mt
{
protected:
    void sink_it_(spdlog::details::log_msg const& message) override { keepLine(message.payload.data()); }
};

void BM_LogLine_Spdlog(benchmark::State& state)
{
    spdlog::logger logger("SIP-TR", std::make_shared<CountingSink>());
    std::string const text = textOf(state);
    int call = 0;
    s_lines = 0;
    for (auto _ : state)
        logger.info("call {}, {} bytes from {}", ++call, 1200, text.c_str());
    if (s_lines < static_cast<unsigned long>(state.iterations()))
        state.SkipWithError("lines are missing");
}

BENCHMARK(BM_LogLine_Spdlog)->Arg(10)->Arg(80)->Arg(1500);
#endif
}
