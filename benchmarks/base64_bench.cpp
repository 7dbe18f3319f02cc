// Base64 of blocks of three sizes, beside libcrypto's block functions. Those write to a buffer that is there already and
// take one unbroken line; ours make a `String` or `TString` and take any line ends.

#include "zekovar/foundation/base64.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/tstring.h"

#include <benchmark/benchmark.h>
#ifdef ZEKOVAR_BENCH_HAS_OPENSSL
#include <openssl/evp.h>
#endif
#include <string>
#include <vector>

namespace
{
using Bytes = TString<unsigned char>;

Bytes bytesOf(benchmark::State const& state)
{
    Bytes bytes;
    for (unsigned int i = 0, value = 1; i < state.range(0); ++i, value = value * 1103515245 + 12345)
        bytes += static_cast<unsigned char>(value >> 16);
    return bytes;
}

String textOf(benchmark::State const& state, unsigned int lineLength)
{
    String text;
    Base64::encode(text, bytesOf(state), lineLength);
    return text;
}

void countBytes(benchmark::State& state)
{
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void encode(benchmark::State& state, unsigned int lineLength)
{
    Bytes const bytes = bytesOf(state);
    String text;
    for (auto _ : state)
    {
        Base64::encode(text, bytes, lineLength);
        benchmark::DoNotOptimize(text.c_str());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void decode(benchmark::State& state, unsigned int lineLength)
{
    String const text = textOf(state, lineLength);
    Bytes bytes;
    for (auto _ : state)
    {
        Base64::decode(bytes, text);
        benchmark::DoNotOptimize(bytes.data());
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

#ifdef ZEKOVAR_BENCH_HAS_OPENSSL
void encodeOpenSsl(benchmark::State& state)
{
    Bytes const bytes = bytesOf(state);
    std::vector<unsigned char> text(static_cast<std::size_t>(state.range(0)) * 2);
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(EVP_EncodeBlock(text.data(), bytes.data(), bytes.length()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void decodeOpenSsl(benchmark::State& state)
{
    String const text = textOf(state, 0);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(state.range(0)) + 3);
    auto const* const characters = reinterpret_cast<unsigned char const*>(text.c_str());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(), characters, text.length()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}
#endif

void sizes(benchmark::internal::Benchmark* benchmark)
{
    benchmark->Arg(24)->Arg(3000)->Arg(300000);
}
}

BENCHMARK_CAPTURE(encode, one_line, 0)->Name("Base64/Encode/zekovar")->Apply(sizes);
BENCHMARK_CAPTURE(encode, lines, 76)->Name("Base64/EncodeLines/zekovar")->Apply(sizes);
BENCHMARK_CAPTURE(decode, one_line, 0)->Name("Base64/Decode/zekovar")->Apply(sizes);
BENCHMARK_CAPTURE(decode, lines, 76)->Name("Base64/DecodeLines/zekovar")->Apply(sizes);
#ifdef ZEKOVAR_BENCH_HAS_OPENSSL
BENCHMARK(encodeOpenSsl)->Name("Base64/Encode/OpenSSL")->Apply(sizes);
BENCHMARK(decodeOpenSsl)->Name("Base64/Decode/OpenSSL")->Apply(sizes);
#endif
