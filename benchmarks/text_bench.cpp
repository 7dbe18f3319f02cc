// String beside std::string, snprintf, std::to_string and, where found, QString, which holds UTF-16 and shares its text
// between copies. Text comes from arrays that the compiler can't see through.

#include "zekovar/foundation/string.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <type_traits>

#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QString>
#endif

namespace
{

char const* const SHORT_TEXT = "gateway";
char const* const LONG_TEXT = "a line of the length that most of the log messages of a device have";

/// Text of the length that the benchmark's argument asks for.
std::string textOf(benchmark::State const& state)
{
    return std::string(static_cast<std::size_t>(state.range(0)), 'x');
}

std::string haystack()
{
    std::string text;
    for (int i = 0; i < 40; ++i)
        text += "key" + std::to_string(i) + "=some value of it;";
    return text;
}

void replaceAll(std::string& text, std::string const& what, std::string const& by)
{
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

template <class Text>
void construct(benchmark::State& state)
{
    std::string const source = textOf(state);
    char const* text = source.c_str();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(text);
        Text built(text);
        benchmark::DoNotOptimize(built);
    }
}

template <class Text>
void copy(benchmark::State& state)
{
    Text source(textOf(state).c_str());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(source);
        Text built(source);
        benchmark::DoNotOptimize(built);
    }
}

template <class Text>
void move(benchmark::State& state)
{
    Text source(textOf(state).c_str());
    for (auto _ : state)
    {
        Text target(std::move(source));
        benchmark::DoNotOptimize(target);
        source = std::move(target);
        benchmark::DoNotOptimize(source);
    }
}

/// Appends to an empty text, so that up to 7 characters stay inline.
template <class Text>
void append(benchmark::State& state)
{
    std::string const source = textOf(state);
    char const* text = source.c_str();
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(text);
        Text built;
        built += text;
        benchmark::DoNotOptimize(built);
    }
}

template <class Text>
void appendText(benchmark::State& state)
{
    Text const source(textOf(state).c_str());
    for (auto _ : state)
    {
        Text built;
        built += source;
        benchmark::DoNotOptimize(built);
    }
}

template <class Text>
void appendCharacters(benchmark::State& state)
{
    for (auto _ : state)
    {
        Text built;
        for (int i = 0; i < state.range(0); ++i)
            built += 'x';
        benchmark::DoNotOptimize(built);
    }
}

void findText(benchmark::State& state)
{
    String const text(haystack().c_str());
    String const what("key39=");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(what));
}

void findStd(benchmark::State& state)
{
    std::string const text = haystack();
    std::string const what = "key39=";
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(what));
}

void replaceText(benchmark::State& state)
{
    String const text(haystack().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(String(text).replace(";", "\r\n"));
}

void replaceStd(benchmark::State& state)
{
    std::string const text = haystack();
    for (auto _ : state)
    {
        std::string changed(text);
        replaceAll(changed, ";", "\r\n");
        benchmark::DoNotOptimize(changed);
    }
}

void formatText(benchmark::State& state)
{
    String text;
    for (auto _ : state)
    {
        text.format("[%s] %d: %s", SHORT_TEXT, 1234, LONG_TEXT);
        benchmark::DoNotOptimize(text);
    }
}

void formatSnprintf(benchmark::State& state)
{
    char text[256];
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, "[%s] %d: %s", SHORT_TEXT, 1234, LONG_TEXT));
        benchmark::DoNotOptimize(text);
    }
}

/// Numbers of all lengths; the doubles have a fraction.
template <class T>
T const* numbers()
{
    static T values[64];
    for (int i = 0; i < 64; ++i)
        values[i] = static_cast<T>(static_cast<T>(0x1234567ll >> (i % 24)) / static_cast<T>(1 + i % 3));
    return values;
}

template <class T>
void numberText(benchmark::State& state)
{
    T const* const values = numbers<T>();
    unsigned int i = 0;
    for (auto _ : state)
    {
        String text = String::stringOf(values[i++ % 64]);
        benchmark::DoNotOptimize(text);
    }
}

template <class T>
void numberStd(benchmark::State& state)
{
    T const* const values = numbers<T>();
    unsigned int i = 0;
    for (auto _ : state)
    {
        std::string text = std::to_string(values[i++ % 64]);
        benchmark::DoNotOptimize(text);
    }
}

template <class T>
constexpr char const* formatOf()
{
    if constexpr (std::is_same_v<T, double>)
        return "%g";
    else if constexpr (std::is_same_v<T, long long>)
        return "%lld";
    else
        return std::is_signed_v<T> ? "%d" : "%u";
}

template <class T>
void numberSnprintf(benchmark::State& state)
{
    T const* const values = numbers<T>();
    unsigned int i = 0;
    char text[31];
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(std::snprintf(text, sizeof text, formatOf<T>(), values[i++ % 64]));
        benchmark::DoNotOptimize(text);
    }
}

#ifdef ZEKOVAR_BENCH_HAS_QT

void findQt(benchmark::State& state)
{
    QString const text(haystack().c_str());
    QString const what("key39=");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.indexOf(what));
}

void replaceQt(benchmark::State& state)
{
    QString const text(haystack().c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(QString(text).replace(";", "\r\n"));
}

void formatQt(benchmark::State& state)
{
    for (auto _ : state)
    {
        QString text = QString::asprintf("[%s] %d: %s", SHORT_TEXT, 1234, LONG_TEXT);
        benchmark::DoNotOptimize(text);
    }
}

template <class T>
void numberQt(benchmark::State& state)
{
    T const* const values = numbers<T>();
    unsigned int i = 0;
    for (auto _ : state)
    {
        QString text = QString::number(values[i++ % 64]);
        benchmark::DoNotOptimize(text);
    }
}

BENCHMARK_TEMPLATE(construct, QString)->Name("Text/Construct/QString")->Arg(0)->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(copy, QString)->Name("Text/Copy/QString")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(move, QString)->Name("Text/Move/QString")->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(append, QString)->Name("Text/Append/QString")->DenseRange(1, 7)->Arg(64);
BENCHMARK_TEMPLATE(appendText, QString)->Name("Text/AppendText/QString")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(appendCharacters, QString)->Name("Text/AppendCharacters/QString")->Arg(1)->Arg(7)->Arg(64);
BENCHMARK(findQt)->Name("Text/Find/QString");
BENCHMARK(replaceQt)->Name("Text/Replace/QString");
BENCHMARK(formatQt)->Name("Text/Format/QString");
BENCHMARK_TEMPLATE(numberQt, int)->Name("Text/Number/int/QString");
BENCHMARK_TEMPLATE(numberQt, unsigned int)->Name("Text/Number/unsigned/QString");
BENCHMARK_TEMPLATE(numberQt, long long)->Name("Text/Number/longlong/QString");
BENCHMARK_TEMPLATE(numberQt, double)->Name("Text/Number/double/QString");

#endif

BENCHMARK_TEMPLATE(construct, String)->Name("Text/Construct/String")->Arg(0)->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(construct, std::string)->Name("Text/Construct/std")->Arg(0)->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(copy, String)->Name("Text/Copy/String")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(copy, std::string)->Name("Text/Copy/std")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(move, String)->Name("Text/Move/String")->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(move, std::string)->Name("Text/Move/std")->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(append, String)->Name("Text/Append/String")->DenseRange(1, 7)->Arg(64);
BENCHMARK_TEMPLATE(append, std::string)->Name("Text/Append/std")->DenseRange(1, 7)->Arg(64);
BENCHMARK_TEMPLATE(appendText, String)->Name("Text/AppendText/String")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(appendText, std::string)->Name("Text/AppendText/std")->Arg(3)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(appendCharacters, String)->Name("Text/AppendCharacters/String")->Arg(1)->Arg(7)->Arg(64);
BENCHMARK_TEMPLATE(appendCharacters, std::string)->Name("Text/AppendCharacters/std")->Arg(1)->Arg(7)->Arg(64);
BENCHMARK(findText)->Name("Text/Find/String");
BENCHMARK(findStd)->Name("Text/Find/std");
BENCHMARK(replaceText)->Name("Text/Replace/String");
BENCHMARK(replaceStd)->Name("Text/Replace/std");
BENCHMARK(formatText)->Name("Text/Format/String");
BENCHMARK(formatSnprintf)->Name("Text/Format/snprintf");
BENCHMARK_TEMPLATE(numberText, int)->Name("Text/Number/int/String");
BENCHMARK_TEMPLATE(numberStd, int)->Name("Text/Number/int/std");
BENCHMARK_TEMPLATE(numberSnprintf, int)->Name("Text/Number/int/snprintf");
BENCHMARK_TEMPLATE(numberText, unsigned int)->Name("Text/Number/unsigned/String");
BENCHMARK_TEMPLATE(numberStd, unsigned int)->Name("Text/Number/unsigned/std");
BENCHMARK_TEMPLATE(numberSnprintf, unsigned int)->Name("Text/Number/unsigned/snprintf");
BENCHMARK_TEMPLATE(numberText, long long)->Name("Text/Number/longlong/String");
BENCHMARK_TEMPLATE(numberStd, long long)->Name("Text/Number/longlong/std");
BENCHMARK_TEMPLATE(numberSnprintf, long long)->Name("Text/Number/longlong/snprintf");
BENCHMARK_TEMPLATE(numberText, double)->Name("Text/Number/double/String");
BENCHMARK_TEMPLATE(numberStd, double)->Name("Text/Number/double/std");
BENCHMARK_TEMPLATE(numberSnprintf, double)->Name("Text/Number/double/snprintf");

}
