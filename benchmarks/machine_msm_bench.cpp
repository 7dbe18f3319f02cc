// Boost.MSM of Debian 12 doesn't compile as C++20, so this file is compiled as C++17 and stands apart from
// machine_bench.cpp, whose machines it has too.
#ifdef ZEKOVAR_BENCH_HAS_BOOST
#include <benchmark/benchmark.h>
#include <boost/mpl/vector.hpp>
#include <boost/msm/back/state_machine.hpp>
#include <boost/msm/front/functor_row.hpp>
#include <boost/msm/front/state_machine_def.hpp>

namespace
{
unsigned int s_count;

struct Count
{
};

struct Switch
{
};

namespace msm = boost::msm;
using msm::front::none;
using msm::front::Row;

struct MsmState : msm::front::state<>
{
    template <class Event, class Machine>
    void on_entry(Event const&, Machine&)
    {
        s_count++;
    }

    template <class Event, class Machine>
    void on_exit(Event const&, Machine&)
    {
        s_count++;
    }
};

/// A state with one state inside.
template <class Inner>
struct MsmOuterDef : msm::front::state_machine_def<MsmOuterDef<Inner>>
{
    using initial_state = Inner;

    struct transition_table : boost::mpl::vector<>
    {
    };

    template <class Event, class Machine>
    void on_entry(Event const&, Machine&)
    {
        s_count++;
    }

    template <class Event, class Machine>
    void on_exit(Event const&, Machine&)
    {
        s_count++;
    }
};

template <class Inner>
using MsmOuter = msm::back::state_machine<MsmOuterDef<Inner>>;

struct MsmLeft : MsmState
{
};

struct MsmRight : MsmState
{
};

struct CountAction
{
    template <class Event, class Machine, class Source, class Target>
    void operator()(Event const&, Machine&, Source&, Target&)
    {
        s_count++;
    }
};

struct MsmBranchesDef : msm::front::state_machine_def<MsmBranchesDef>
{
    using Left = MsmOuter<MsmOuter<MsmLeft>>;
    using Right = MsmOuter<MsmOuter<MsmRight>>;
    using initial_state = Left;

    struct transition_table : boost::mpl::vector<Row<Left, Switch, Right>, Row<Right, Switch, Left>>
    {
    };
};

struct MsmFlatDef : msm::front::state_machine_def<MsmFlatDef>
{
    using initial_state = MsmLeft;

    struct transition_table : boost::mpl::vector<Row<MsmLeft, Count, none, CountAction>>
    {
    };
};

template <class Definition, class Event>
void runMsm(benchmark::State& state)
{
    msm::back::state_machine<Definition> machine;
    machine.start();
    for (auto _ : state)
    {
        machine.process_event(Event());
        benchmark::DoNotOptimize(s_count);
    }
}

void machineDispatchFlatMsm(benchmark::State& state)
{
    runMsm<MsmFlatDef, Count>(state);
}

void machineTransitionAcross3LevelsMsm(benchmark::State& state)
{
    runMsm<MsmBranchesDef, Switch>(state);
}

BENCHMARK(machineDispatchFlatMsm)->Name("Machine/dispatch in a flat state, Boost.MSM");
BENCHMARK(machineTransitionAcross3LevelsMsm)->Name("Machine/transition across 3 levels, Boost.MSM");
}
#endif
