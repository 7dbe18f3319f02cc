// Templates beside kainjow's Mustache, where found, and beside a program that writes the same text by hand. Each template
// is parsed once. Mustache escapes what it renders unless it is told not to, as here.

#include "zekovar/property/template.h"

#include <benchmark/benchmark.h>

#include <string>

#ifdef ZEKOVAR_BENCH_HAS_MUSTACHE
#include <kainjow/mustache.hpp>
#endif

namespace
{

constexpr unsigned ROWS = 100;

std::string nameOf(unsigned row)
{
    return "GigabitEthernet0/" + std::to_string(row);
}

ZK::Property::Value makeData(unsigned rows)
{
    ZK::Property::Value data;
    for (unsigned i = 0; i < rows; i++)
    {
        ZK::Property::Value row;
        row.setMember("name", nameOf(i).c_str());
        row.setMember("speed", i % 4 * 100);
        row.setMember("up", i % 4 != 0);
        data["rows"].add(row);
    }
    return data;
}

void finish(benchmark::State& state, std::string const& expected, std::string const& actual)
{
    if (actual != expected)
        state.SkipWithError("the text differs");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(expected.size()));
}

std::string writeRows(unsigned rows)
{
    std::string text;
    for (unsigned i = 0; i < rows; i++)
    {
        text += "<tr><td>" + nameOf(i) + "</td><td>" + std::to_string(i % 4 * 100) + " Mbit/s</td><td>";
        text += i % 4 != 0 ? "up" : "down";
        text += "</td></tr>\n";
    }
    return text;
}

void Template_RenderRows(benchmark::State& state)
{
    ZK::Property::Template::Template page;
    page.parse(
        "{{#each rows}}<tr><td>{{name}}</td><td>{{speed}} Mbit/s</td><td>{{#if up}}up{{else}}down{{/if}}</td></tr>\n"
        "{{/each}}");
    ZK::Property::Value const data = makeData(ROWS);
    String text;
    for (auto _ : state)
    {
        text = page.render(data);
        benchmark::DoNotOptimize(text.c_str());
    }
    finish(state, writeRows(ROWS), text.c_str());
}

#ifdef ZEKOVAR_BENCH_HAS_MUSTACHE
void Template_RenderRows_Mustache(benchmark::State& state)
{
    using kainjow::mustache::data;
    kainjow::mustache::mustache page("{{#rows}}<tr><td>{{{name}}}</td><td>{{{speed}}} Mbit/s</td><td>{{#up}}up{{/up}}"
                                     "{{^up}}down{{/up}}</td></tr>\n{{/rows}}");
    data rows(data::type::list);
    for (unsigned i = 0; i < ROWS; i++)
    {
        data row;
        row.set("name", nameOf(i));
        row.set("speed", std::to_string(i % 4 * 100));
        row.set("up", i % 4 != 0);
        rows << row;
    }
    data const all("rows", rows);
    std::string text;
    for (auto _ : state)
    {
        text = page.render(all);
        benchmark::DoNotOptimize(text.data());
    }
    finish(state, writeRows(ROWS), text);
}
#endif

/// Reads no values, finds no names: what no template can reach.
void Template_RenderRows_ByHand(benchmark::State& state)
{
    std::string text;
    for (auto _ : state)
    {
        text = writeRows(ROWS);
        benchmark::DoNotOptimize(text.data());
    }
    finish(state, writeRows(ROWS), text);
}

void Template_Auto(benchmark::State& state)
{
    ZK::Property::Template::Template page;
    page.parse("{{auto rows}}");
    ZK::Property::Value const data = makeData(static_cast<unsigned>(state.range(0)));
    String text;
    for (auto _ : state)
    {
        text = page.render(data);
        benchmark::DoNotOptimize(text.c_str());
    }
    finish(state, page.render(data).c_str(), text.c_str());
}

void Template_Parse(benchmark::State& state)
{
    String const unit("<p>\n{{#if a}}\n{{auto b.c}} {{bold \"text\" 1}}{{else}}\n<b>nothing</b>\n{{/if}}\n</p>\n");
    String const text = String::repeat(unit, static_cast<unsigned>(state.range(0)));
    ZK::Property::Template::Template page;
    for (auto _ : state)
        benchmark::DoNotOptimize(page.parse(text).isErr());
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * text.length());
}
}

BENCHMARK(Template_RenderRows);
#ifdef ZEKOVAR_BENCH_HAS_MUSTACHE
BENCHMARK(Template_RenderRows_Mustache);
#endif
BENCHMARK(Template_RenderRows_ByHand);
BENCHMARK(Template_Auto)->Arg(100)->Arg(10000);
BENCHMARK(Template_Parse)->Arg(10)->Arg(10000);
