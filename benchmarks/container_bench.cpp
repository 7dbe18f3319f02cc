#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"

#include <benchmark/benchmark.h>

#include <list>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{
constexpr int ELEMENTS = 1000;

constexpr char const* KEYS[] = {"name",     "address",     "port",    "priority", "timeout", "interval",
                                "state",    "owner",       "length",  "checksum", "uptime",  "version",
                                "hostname", "description", "counter", "mode"};

template <class Text>
std::vector<Text> keys()
{
    return {std::begin(KEYS), std::end(KEYS)};
}

void vectorAdd(benchmark::State& state)
{
    for (auto _ : state)
    {
        ZKVector<int> vector(256);
        for (int i = 0; i < ELEMENTS; i++)
            vector.add(i);
        benchmark::DoNotOptimize(vector.begin());
    }
    state.SetItemsProcessed(state.iterations() * ELEMENTS);
}

void vectorAddStd(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::vector<int> vector;
        for (int i = 0; i < ELEMENTS; i++)
            vector.push_back(i);
        benchmark::DoNotOptimize(vector.data());
    }
    state.SetItemsProcessed(state.iterations() * ELEMENTS);
}

void listAddPop(benchmark::State& state)
{
    ZKList<int> list;
    for (auto _ : state)
    {
        for (int i = 0; i < 16; i++)
            list.add(i);
        int value = 0;
        while (list.pop(value))
            benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations() * 16);
}

void listAddPopStd(benchmark::State& state)
{
    std::list<int> list;
    for (auto _ : state)
    {
        for (int i = 0; i < 16; i++)
            list.push_back(i);
        while (!list.empty())
        {
            int value = list.front();
            list.pop_front();
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(state.iterations() * 16);
}

void textTableGet(benchmark::State& state)
{
    std::vector<String> const texts = keys<String>();
    ZKStringHashTable<int> table;
    for (String const& text : texts)
        table.add(text, text.length());
    for (auto _ : state)
    {
        for (String const& text : texts)
        {
            int value = 0;
            benchmark::DoNotOptimize(table.get(text, value));
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(texts.size()));
}

void textTableGetStd(benchmark::State& state)
{
    std::vector<std::string> const texts = keys<std::string>();
    std::unordered_map<std::string, int> table;
    for (std::string const& text : texts)
        table.emplace(text, static_cast<int>(text.length()));
    for (auto _ : state)
    {
        for (std::string const& text : texts)
        {
            auto const found = table.find(text);
            benchmark::DoNotOptimize(found->second);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(texts.size()));
}

void textTableFill(benchmark::State& state)
{
    std::vector<String> const texts = keys<String>();
    for (auto _ : state)
    {
        ZKStringHashTable<int> table;
        for (String const& text : texts)
            table.set(text, 1);
        benchmark::DoNotOptimize(table.size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(texts.size()));
}

void textTableFillStd(benchmark::State& state)
{
    std::vector<std::string> const texts = keys<std::string>();
    for (auto _ : state)
    {
        std::unordered_map<std::string, int> table;
        for (std::string const& text : texts)
            table[text] = 1;
        benchmark::DoNotOptimize(table.size());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int>(texts.size()));
}

void intTableGet(benchmark::State& state)
{
    ZKIntHashTable<int> table;
    for (int key = 0; key < 16; key++)
        table.add(key * 37, key);
    for (auto _ : state)
    {
        for (int key = 0; key < 16; key++)
        {
            int value = 0;
            benchmark::DoNotOptimize(table.get(key * 37, value));
            benchmark::DoNotOptimize(value);
        }
    }
    state.SetItemsProcessed(state.iterations() * 16);
}

void intTableGetStd(benchmark::State& state)
{
    std::unordered_map<int, int> table;
    for (int key = 0; key < 16; key++)
        table.emplace(key * 37, key);
    for (auto _ : state)
    {
        for (int key = 0; key < 16; key++)
        {
            auto const found = table.find(key * 37);
            benchmark::DoNotOptimize(found->second);
        }
    }
    state.SetItemsProcessed(state.iterations() * 16);
}
}

BENCHMARK(vectorAdd)->Name("Container/vector add");
BENCHMARK(vectorAddStd)->Name("Container/vector add, std::vector");
BENCHMARK(listAddPop)->Name("Container/list add and pop");
BENCHMARK(listAddPopStd)->Name("Container/list add and pop, std::list");
BENCHMARK(textTableGet)->Name("Container/16 text keys get");
BENCHMARK(textTableGetStd)->Name("Container/16 text keys get, std::unordered_map");
BENCHMARK(textTableFill)->Name("Container/16 text keys fill");
BENCHMARK(textTableFillStd)->Name("Container/16 text keys fill, std::unordered_map");
BENCHMARK(intTableGet)->Name("Container/16 int keys get");
BENCHMARK(intTableGetStd)->Name("Container/16 int keys get, std::unordered_map");
