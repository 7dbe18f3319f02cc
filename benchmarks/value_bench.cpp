#include "zekovar/property/value.h"

#include <benchmark/benchmark.h>

#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
#include <nlohmann/json.hpp>
#endif

#include <string>
#include <utility>

using ZK::Property::Value;

namespace
{
std::string keyOf(int number)
{
    return "member" + std::to_string(number);
}

Value makeObject(int members)
{
    Value object;
    for (int i = 0; i < members; i++)
        object.setMember(keyOf(i).c_str(), i);
    return object;
}

void valueCopy(benchmark::State& state)
{
    Value const object = makeObject(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        Value const copy = object;
        benchmark::DoNotOptimize(&copy);
    }
}

void valueFind(benchmark::State& state)
{
    int const members = static_cast<int>(state.range(0));
    Value const object = makeObject(members);
    String const key(keyOf(members / 2).c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(object.find(key));
}

void valueBuildBySetMember(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(makeObject(static_cast<int>(state.range(0))));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void valueBuildBySubscript(benchmark::State& state)
{
    for (auto _ : state)
    {
        Value object;
        for (int i = 0; i < state.range(0); i++)
            object[keyOf(i).c_str()] = i;
        benchmark::DoNotOptimize(&object);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(valueCopy)->Arg(10)->Arg(10000);
BENCHMARK(valueFind)->Arg(10)->Arg(10000);
BENCHMARK(valueBuildBySetMember)->Arg(10)->Arg(10000);
BENCHMARK(valueBuildBySubscript)->Arg(10)->Arg(10000);

#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
nlohmann::json makePeer(int members)
{
    nlohmann::json object;
    for (int i = 0; i < members; i++)
        object[keyOf(i)] = i;
    return object;
}

void nlohmannCopy(benchmark::State& state)
{
    nlohmann::json const object = makePeer(static_cast<int>(state.range(0)));
    for (auto _ : state)
    {
        nlohmann::json const copy = object;
        benchmark::DoNotOptimize(&copy);
    }
}

void nlohmannFind(benchmark::State& state)
{
    int const members = static_cast<int>(state.range(0));
    nlohmann::json const object = makePeer(members);
    std::string const key = keyOf(members / 2);
    for (auto _ : state)
        benchmark::DoNotOptimize(object.find(key));
}

void nlohmannBuild(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(makePeer(static_cast<int>(state.range(0))));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(nlohmannCopy)->Arg(10)->Arg(10000);
BENCHMARK(nlohmannFind)->Arg(10)->Arg(10000);
BENCHMARK(nlohmannBuild)->Arg(10)->Arg(10000);
#endif
}
