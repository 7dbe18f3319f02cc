// Reading and writing JSON and UBJSON, beside nlohmann/json, Qt's and RapidJSON: a configuration, an array of records, a
// mixed document, one object of 1,000 keys, and a list of the shortest numbers. `peak` is the memory that reading takes at
// most, as a multiple of the text's size, as far as the allocator counts it. Qt's reader checks its input for UTF-8, ours
// takes any bytes; RapidJSON leaves everything in one pool and doesn't look for repeated keys.

#include "zekovar/property/json.h"
#include "zekovar/property/ubjson.h"

#include <benchmark/benchmark.h>
#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QJsonDocument>
#endif
#ifdef ZEKOVAR_BENCH_HAS_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#include <string>
#include <vector>

// jemalloc's, if it is there
extern "C" int mallctl(char const* name, void* old, size_t* oldSize, void* value, size_t size) __attribute__((weak));

namespace
{
using ZK::Property::JSON;
using ZK::Property::UBJSON;
using ZK::Property::Value;

/// Small repeatable numbers.
class Numbers
{
public:
    unsigned int next(unsigned int end)
    {
        m_state = m_state * 1103515245 + 12345;
        return (m_state >> 8) % end;
    }

private:
    unsigned int m_state = 1;
};

std::string nameOf(char const* stem, unsigned int number)
{
    return stem + std::to_string(number);
}

std::string makeConfiguration()
{
    std::string text = R"({"version":3,"hostname":"gateway-17","description":"building 4, second floor","ports":[)";
    for (unsigned int i = 0; i < 8; ++i)
    {
        text += i > 0 ? "," : "";
        text += "{\"name\":\"eth" + std::to_string(i) + R"(","enabled":true,"speed":1000,"mtu":1500,"vlan":null,)";
        text += "\"address\":\"192.168." + std::to_string(i) + R"(.1","duplex":"full"})";
    }
    return text + R"(],"log":{"level":"warning","facility":"local0","limit":0.75}})";
}

std::string makeRecord(Numbers& numbers, unsigned int id)
{
    std::string text = "{\"id\":" + std::to_string(id) + ",\"time\":" + std::to_string(1600000000 + id * 7);
    text += ",\"source\":\"" + nameOf("sensor-", numbers.next(100)) + "\",\"value\":";
    text += std::to_string(numbers.next(100000)) + "." + std::to_string(numbers.next(100)) + ",\"ok\":";
    text += numbers.next(4) > 0 ? "true" : "false";
    return text + ",\"note\":\"" + (numbers.next(3) > 0 ? "" : R"(over \"limit\" again)") + "\"}";
}

std::string makeRecords(size_t size)
{
    Numbers numbers;
    std::string text = "[" + makeRecord(numbers, 0);
    for (unsigned int id = 1; text.size() < size; ++id)
        text += "," + makeRecord(numbers, id);
    return text + "]";
}

/// Records, lists of numbers, long texts and deeper objects.
std::string makeMixed(size_t size)
{
    Numbers numbers;
    std::string text = "{\"first\":null";
    for (unsigned int section = 0; text.size() < size; ++section)
    {
        text += ",\"" + nameOf("section", section) + R"(":{"settings":{"mode":{"name":"auto","rate":)";
        text += std::to_string(numbers.next(1000)) + "}},\"points\":[0";
        for (unsigned int i = 0; i < 20; ++i)
            text += "," + std::to_string(numbers.next(2000000)) + (i % 2 > 0 ? ".5" : "");
        text += "],\"text\":\"";
        for (unsigned int i = 0; i < 30; ++i)
            text += nameOf("word", numbers.next(50)) + (i % 10 < 9 ? " " : "\\n");
        text += "\",\"records\":[" + makeRecord(numbers, section);
        for (unsigned int i = 0; i < 4; ++i)
            text += "," + makeRecord(numbers, section + i);
        text += "]}";
    }
    return text + "}";
}

std::string makeThousandKeys()
{
    std::string text = "{\"key\":0";
    for (unsigned int i = 1; i < 1000; ++i)
        text += ",\"" + nameOf("some_key_", i * 37) + "\":" + std::to_string(i);
    return text + "}";
}

std::string makeOnes(size_t size)
{
    std::string text = "[1";
    while (text.size() < size)
        text += ",1";
    return text + "]";
}

struct Document
{
    char const* name;
    std::string text;
};

std::vector<Document> const& documents()
{
    static std::vector<Document> const all = {{"1K_configuration", makeConfiguration()},
                                              {"64K_records", makeRecords(64 * 1024)},
                                              {"1500K_mixed", makeMixed(1500 * 1024)},
                                              {"1000_keys", makeThousandKeys()},
                                              {"1M_ones", makeOnes(1 << 20)}};
    return all;
}

/// What `work` allocates and hasn't freed again at most.
template <class Work>
double peakOf(Work const& work)
{
    if (mallctl == nullptr || mallctl("thread.peak.reset", nullptr, nullptr, nullptr, 0) != 0)
        return 0;
    work();
    uint64_t peak = 0;
    size_t size = sizeof(peak);
    mallctl("thread.peak.read", &peak, &size, nullptr, 0);
    return static_cast<double>(peak);
}

/// Runs `work`, which makes and destroys a document of `text`.
template <class Work>
void measure(benchmark::State& state, std::string const& text, Work const& work)
{
    for (auto _ : state)
        work();
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    state.counters["peak"] = peakOf(work) / static_cast<double>(text.size());
}

TString<char> bytesOf(std::string const& text)
{
    return {text.data(), static_cast<int>(text.size())};
}

void readOurs(benchmark::State& state, std::string const& text)
{
    TString<char> const bytes = bytesOf(text);
    measure(state, text,
            [&]
            {
                Value value;
                if (JSON::decode(value, bytes).isErr())
                    state.SkipWithError("not read");
            });
}

void writeOurs(benchmark::State& state, std::string const& text)
{
    Value value;
    JSON::decode(value, bytesOf(text));
    measure(state, text,
            [&]
            {
                String out;
                JSON::encode(out, value, false, 0, 2);
                benchmark::DoNotOptimize(out.c_str());
            });
}

/// The document in UBJSON; rates are those of its bytes.
std::string ubjsonOf(std::string const& text)
{
    Value value;
    JSON::decode(value, bytesOf(text));
    TString<char> const bytes = value.toUbjson();
    return {bytes.data(), static_cast<size_t>(bytes.length())};
}

void readOurUbjson(benchmark::State& state, std::string const& text)
{
    std::string const document = ubjsonOf(text);
    TString<char> const bytes = bytesOf(document);
    measure(state, document,
            [&]
            {
                Value value;
                if (UBJSON::decode(value, bytes).isErr())
                    state.SkipWithError("not read");
            });
}

void writeOurUbjson(benchmark::State& state, std::string const& text)
{
    Value value;
    JSON::decode(value, bytesOf(text));
    measure(state, ubjsonOf(text),
            [&]
            {
                TString<char> out;
                UBJSON::encode(out, value);
                benchmark::DoNotOptimize(out.data());
            });
}

#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
void readNlohmann(benchmark::State& state, std::string const& text)
{
    measure(state, text, [&] { benchmark::DoNotOptimize(nlohmann::json::parse(text).size()); });
}

void writeNlohmann(benchmark::State& state, std::string const& text)
{
    nlohmann::json const value = nlohmann::json::parse(text);
    measure(state, text, [&] { benchmark::DoNotOptimize(value.dump().size()); });
}

void readNlohmannUbjson(benchmark::State& state, std::string const& text)
{
    std::string const document = ubjsonOf(text);
    measure(state, document, [&] { benchmark::DoNotOptimize(nlohmann::json::from_ubjson(document).size()); });
}

void writeNlohmannUbjson(benchmark::State& state, std::string const& text)
{
    nlohmann::json const value = nlohmann::json::parse(text);
    measure(state, ubjsonOf(text), [&] { benchmark::DoNotOptimize(nlohmann::json::to_ubjson(value).size()); });
}
#endif

#ifdef ZEKOVAR_BENCH_HAS_QT
void readQt(benchmark::State& state, std::string const& text)
{
    QByteArray const bytes(text.data(), static_cast<int>(text.size()));
    measure(state, text,
            [&]
            {
                if (QJsonDocument::fromJson(bytes).isNull())
                    state.SkipWithError("not read");
            });
}

void writeQt(benchmark::State& state, std::string const& text)
{
    QJsonDocument const document = QJsonDocument::fromJson(QByteArray(text.data(), static_cast<int>(text.size())));
    measure(state, text, [&] { benchmark::DoNotOptimize(document.toJson(QJsonDocument::Compact).size()); });
}
#endif

#ifdef ZEKOVAR_BENCH_HAS_RAPIDJSON
void readRapid(benchmark::State& state, std::string const& text)
{
    measure(state, text,
            [&]
            {
                rapidjson::Document document;
                if (document.Parse(text.data(), text.size()).HasParseError())
                    state.SkipWithError("not read");
            });
}

void writeRapid(benchmark::State& state, std::string const& text)
{
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    measure(state, text,
            [&]
            {
                rapidjson::StringBuffer out;
                rapidjson::Writer<rapidjson::StringBuffer> writer(out);
                document.Accept(writer);
                benchmark::DoNotOptimize(out.GetSize());
            });
}
#endif

using Run = void (*)(benchmark::State&, std::string const&);

struct Case
{
    char const* name;
    Run run;
};

constexpr Case CASES[] = {{"JsonDecode/zekovar", readOurs},
#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
                          {"JsonDecode/nlohmann", readNlohmann},
#endif
#ifdef ZEKOVAR_BENCH_HAS_QT
                          {"JsonDecode/qt", readQt},
#endif
#ifdef ZEKOVAR_BENCH_HAS_RAPIDJSON
                          {"JsonDecode/rapidjson", readRapid},
#endif
                          {"JsonEncode/zekovar", writeOurs},
#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
                          {"JsonEncode/nlohmann", writeNlohmann},
#endif
#ifdef ZEKOVAR_BENCH_HAS_QT
                          {"JsonEncode/qt", writeQt},
#endif
#ifdef ZEKOVAR_BENCH_HAS_RAPIDJSON
                          {"JsonEncode/rapidjson", writeRapid},
#endif
#ifdef ZEKOVAR_BENCH_HAS_NLOHMANN
                          {"UbjsonDecode/nlohmann", readNlohmannUbjson},
                          {"UbjsonEncode/nlohmann", writeNlohmannUbjson},
#endif
                          {"UbjsonDecode/zekovar", readOurUbjson},
                          {"UbjsonEncode/zekovar", writeOurUbjson}};

[[maybe_unused]] bool const registered = []
{
    for (Document const& document : documents())
    {
        for (Case const& each : CASES)
            benchmark::RegisterBenchmark((std::string(each.name) + "/" + document.name).c_str(), each.run,
                                         std::cref(document.text));
    }
    return true;
}();
}
