#include "zekovar/events/sig.h"

#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QObject>
#endif
#ifdef ZEKOVAR_BENCH_HAS_SIGCPP
#include <sigc++/sigc++.h>
#endif

namespace
{
int s_sum = 0;

void addTo(int value)
{
    s_sum += value;
    benchmark::ClobberMemory();
}

void signalEmit(benchmark::State& state)
{
    ZK::Sig::Signal<void(int)> signal;
    for (int slot = 0; slot < state.range(0); slot++)
        signal.connect(ZK::bindArgs(ZK::directCall(), &addTo));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(signal);
        signal(1);
    }
}

void signalEmitStdFunctions(benchmark::State& state)
{
    std::vector<std::function<void(int)>> slots(static_cast<std::size_t>(state.range(0)), &addTo);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(slots);
        for (std::function<void(int)> const& slot : slots)
            slot(1);
    }
}

void signalConnect(benchmark::State& state)
{
    ZK::Sig::Signal<void(int)> signal;
    for (auto _ : state)
        ZK::Sig::ScopedConnection const connection = signal.connect(ZK::bindArgs(ZK::directCall(), &addTo));
}

#ifdef ZEKOVAR_BENCH_HAS_SIGCPP
void signalEmitSigcpp(benchmark::State& state)
{
    sigc::signal<void, int> signal;
    for (int slot = 0; slot < state.range(0); slot++)
        signal.connect(sigc::ptr_fun(&addTo));
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(signal);
        signal(1);
    }
}

void signalConnectSigcpp(benchmark::State& state)
{
    sigc::signal<void, int> signal;
    for (auto _ : state)
        sigc::connection(signal.connect(sigc::ptr_fun(&addTo))).disconnect();
}
#endif
}

#ifdef ZEKOVAR_BENCH_HAS_QT
class SigBenchObject : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void changed(int value);
};

namespace
{
void signalEmitQt(benchmark::State& state)
{
    SigBenchObject sender;
    for (int slot = 0; slot < state.range(0); slot++)
        QObject::connect(&sender, &SigBenchObject::changed, &sender, &addTo, Qt::DirectConnection);
    for (auto _ : state)
        Q_EMIT sender.changed(1);
}

void signalConnectQt(benchmark::State& state)
{
    SigBenchObject sender;
    for (auto _ : state)
        QObject::disconnect(QObject::connect(&sender, &SigBenchObject::changed, &sender, &addTo, Qt::DirectConnection));
}
}
#endif

BENCHMARK(signalEmit)->Name("Signal/emit/zekovar")->Arg(0)->Arg(1)->Arg(10);
BENCHMARK(signalEmitStdFunctions)->Name("Signal/emit/vector_of_std_function")->Arg(0)->Arg(1)->Arg(10);
#ifdef ZEKOVAR_BENCH_HAS_QT
BENCHMARK(signalEmitQt)->Name("Signal/emit/qt")->Arg(0)->Arg(1)->Arg(10);
#endif
#ifdef ZEKOVAR_BENCH_HAS_SIGCPP
BENCHMARK(signalEmitSigcpp)->Name("Signal/emit/sigcpp")->Arg(0)->Arg(1)->Arg(10);
#endif
BENCHMARK(signalConnect)->Name("Signal/connect_and_disconnect/zekovar");
#ifdef ZEKOVAR_BENCH_HAS_QT
BENCHMARK(signalConnectQt)->Name("Signal/connect_and_disconnect/qt");
#endif
#ifdef ZEKOVAR_BENCH_HAS_SIGCPP
BENCHMARK(signalConnectSigcpp)->Name("Signal/connect_and_disconnect/sigcpp");
#endif

#ifdef ZEKOVAR_BENCH_HAS_QT
#include "sig_bench.moc"
#endif
