#include "zekovar/diagnostics/qhsm.h"
#include "zekovar/diagnostics/repository.h"

#include <benchmark/benchmark.h>

#ifdef ZEKOVAR_BENCH_HAS_BOOST
#include <boost/statechart/event.hpp>
#include <boost/statechart/in_state_reaction.hpp>
#include <boost/statechart/simple_state.hpp>
#include <boost/statechart/state_machine.hpp>
#include <boost/statechart/transition.hpp>
#endif

// Two branches of three states each. An event is handled by a state without a transition, or leads from one branch to the
// other: three exits and three entries, which count.

namespace
{
enum : uint16_t
{
    COUNT_SIG = Q_USER_SIG,
    SWITCH_SIG
};

class Machine : public ZK::QHsmRtd
{
public:
    explicit Machine(RTD::Monitor* monitor, QStateHandler first) : QHsmRtd(&BEGIN, monitor, 1), m_first(first)
    {
        init(nullptr);
    }

    char const* getEventName(unsigned short signal) override { return EVENT_NAME(signal); }

    char const* getStateName(QStateHandler) override { return "state"; }

    char const* getLogPrefix() override { return "bench"; }

    static unsigned char FLAT(void* machine, QEvent const* event) { return of(machine)->serve(event, &QHsm::top); }

    static unsigned char LEFT1(void* machine, QEvent const* event) { return of(machine)->serve(event, &QHsm::top); }

    static unsigned char LEFT2(void* machine, QEvent const* event) { return of(machine)->serve(event, &LEFT1); }

    static unsigned char RIGHT1(void* machine, QEvent const* event) { return of(machine)->serve(event, &QHsm::top); }

    static unsigned char RIGHT2(void* machine, QEvent const* event) { return of(machine)->serve(event, &RIGHT1); }

    static unsigned char LEFT3(void* machine, QEvent const* event)
    {
        return event->sig == SWITCH_SIG ? of(machine)->transitionTo(&RIGHT3) : of(machine)->serve(event, &LEFT2);
    }

    static unsigned char RIGHT3(void* machine, QEvent const* event)
    {
        return event->sig == SWITCH_SIG ? of(machine)->transitionTo(&LEFT3) : of(machine)->serve(event, &RIGHT2);
    }

    unsigned int count = 0;

private:
    static Machine* of(void* machine) { return static_cast<Machine*>(static_cast<QHsm*>(machine)); }

    static unsigned char BEGIN(void* machine, QEvent const*) { return of(machine)->transitionTo(of(machine)->m_first); }

    unsigned char serve(QEvent const* event, QStateHandler outer)
    {
        switch (event->sig)
        {
        case Q_ENTRY_SIG:
        case Q_EXIT_SIG:
        case COUNT_SIG:
            count++;
            return Q_HANDLED;
        default:
            return superstate(outer);
        }
    }

    QStateHandler m_first;
};

/// With a monitor that is off.
void run(benchmark::State& state, QStateHandler first, uint16_t signal)
{
    RTD::Monitor* const monitor = RTD::REPOSITORY::_INSTANCE()->addMonitor(MON_CCTEST, 1, 1);
    {
        Machine machine(monitor, first);
        QEvent const event(signal);
        for (auto _ : state)
        {
            machine.dispatch(&event);
            benchmark::DoNotOptimize(machine.count);
        }
    }
    RTD::REPOSITORY::_INSTANCE()->removeMonitor(monitor);
}

void machineDispatchFlat(benchmark::State& state)
{
    run(state, &Machine::FLAT, COUNT_SIG);
}

void machineTransitionAcross3Levels(benchmark::State& state)
{
    run(state, &Machine::LEFT3, SWITCH_SIG);
}

#ifdef ZEKOVAR_BENCH_HAS_BOOST
unsigned int s_count;

namespace sc = boost::statechart;

struct Count : sc::event<Count>
{
};

struct Switch : sc::event<Switch>
{
};

struct Counter
{
    Counter() { s_count++; }

    ~Counter() { s_count++; }
};

struct ChartLeft1;
struct ChartLeft2;
struct ChartLeft3;
struct ChartRight1;
struct ChartRight2;
struct ChartRight3;

struct Chart : sc::state_machine<Chart, ChartLeft1>
{
};

struct ChartLeft1 : sc::simple_state<ChartLeft1, Chart, ChartLeft2>, Counter
{
    using reactions = sc::transition<Switch, ChartRight1>;
};

struct ChartLeft2 : sc::simple_state<ChartLeft2, ChartLeft1, ChartLeft3>, Counter
{
};

struct ChartLeft3 : sc::simple_state<ChartLeft3, ChartLeft2>, Counter
{
};

struct ChartRight1 : sc::simple_state<ChartRight1, Chart, ChartRight2>, Counter
{
    using reactions = sc::transition<Switch, ChartLeft1>;
};

struct ChartRight2 : sc::simple_state<ChartRight2, ChartRight1, ChartRight3>, Counter
{
};

struct ChartRight3 : sc::simple_state<ChartRight3, ChartRight2>, Counter
{
};

struct FlatState;

struct FlatChart : sc::state_machine<FlatChart, FlatState>
{
};

struct FlatState : sc::simple_state<FlatState, FlatChart>
{
    void onCount(Count const&) { s_count++; }

    using reactions = sc::in_state_reaction<Count, FlatState, &FlatState::onCount>;
};

template <class Machine, class Event>
void runStatechart(benchmark::State& state)
{
    Machine chart;
    chart.initiate();
    for (auto _ : state)
    {
        chart.process_event(Event());
        benchmark::DoNotOptimize(s_count);
    }
}

void machineDispatchFlatStatechart(benchmark::State& state)
{
    runStatechart<FlatChart, Count>(state);
}

void machineTransitionAcross3LevelsStatechart(benchmark::State& state)
{
    runStatechart<Chart, Switch>(state);
}
#endif

BENCHMARK(machineDispatchFlat)->Name("Machine/dispatch in a flat state");
BENCHMARK(machineTransitionAcross3Levels)->Name("Machine/transition across 3 levels");
#ifdef ZEKOVAR_BENCH_HAS_BOOST
BENCHMARK(machineDispatchFlatStatechart)->Name("Machine/dispatch in a flat state, Boost.Statechart");
BENCHMARK(machineTransitionAcross3LevelsStatechart)->Name("Machine/transition across 3 levels, Boost.Statechart");
#endif
}
