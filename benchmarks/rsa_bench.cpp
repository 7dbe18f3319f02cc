// RSA and its arithmetic beside libcrypto, where found. libcrypto is given the same key, without its primes, so that it
// too works modulo the whole number; it does so in Montgomery form, with windows, 64-bit words and assembler.

#include "zekovar/crypto/rsa.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_OPENSSL
// the functions on single keys, of which version 3 warns, take keys without primes
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/rsa.h>
#endif

namespace
{

using Bytes = std::vector<unsigned char>;

unsigned int randomWord()
{
    static std::mt19937 engine(23);
    return static_cast<unsigned int>(engine());
}

struct Key
{
    explicit Key(unsigned int bits) : modulus(bits / 8), publicExponent(bits / 8), privateExponent(bits / 8)
    {
        context.buildKeys(bits, randomWord);
        context.getKeys(modulus.data(), publicExponent.data(), privateExponent.data());
    }

    RSAEncryptionContext context;
    Bytes modulus, publicExponent, privateExponent;
};

/// The key of this width, made on the first call.
Key& keyOf(benchmark::State const& state)
{
    static Key small(512), usual(1024), large(2048);
    return state.range(0) == 512 ? small : state.range(0) == 1024 ? usual : large;
}

void privateOperation(benchmark::State& state)
{
    Key& key = keyOf(state);
    Bytes block(key.modulus.size(), 0x55);
    auto length = static_cast<unsigned int>(block.size());
    for (auto _ : state)
    {
        if (key.context.crypt(block.data(), &length, RSAKeyType::PRIVATE).isErr())
            state.SkipWithError("refused");
    }
}

void buildKeys(benchmark::State& state)
{
    RSAEncryptionContext context;
    for (auto _ : state)
    {
        if (context.buildKeys(static_cast<unsigned int>(state.range(0)), randomWord).isErr())
            state.SkipWithError("no keys");
    }
}

void multiply(benchmark::State& state)
{
    auto const bits = static_cast<unsigned int>(state.range(0));
    BigInteger a(bits), b(bits), product(2 * bits);
    a.setToRandomValue(randomWord);
    b.setToRandomValue(randomWord);
    for (auto _ : state)
        BigInteger::multiply(&product, &a, &b);
}

#ifdef ZEKOVAR_BENCH_HAS_OPENSSL

BIGNUM* numberOf(Bytes const& bytes)
{
    return BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr);
}

void privateOperationLibcrypto(benchmark::State& state)
{
    Key const& key = keyOf(state);
    RSA* const rsa = RSA_new();
    RSA_set0_key(rsa, numberOf(key.modulus), numberOf(key.publicExponent), numberOf(key.privateExponent));
    Bytes block(key.modulus.size(), 0x55);
    auto const size = static_cast<int>(block.size());
    for (auto _ : state)
    {
        if (RSA_private_decrypt(size, block.data(), block.data(), rsa, RSA_NO_PADDING) != size)
            state.SkipWithError("refused");
    }
    RSA_free(rsa);
}

void buildKeysLibcrypto(benchmark::State& state)
{
    BIGNUM* const exponent = BN_new();
    BN_set_word(exponent, 65537);
    for (auto _ : state)
    {
        RSA* const rsa = RSA_new();
        if (RSA_generate_key_ex(rsa, static_cast<int>(state.range(0)), exponent, nullptr) != 1)
            state.SkipWithError("no keys");
        RSA_free(rsa);
    }
    BN_free(exponent);
}

void multiplyLibcrypto(benchmark::State& state)
{
    BIGNUM* const a = BN_new();
    BIGNUM* const b = BN_new();
    BIGNUM* const product = BN_new();
    BN_CTX* const context = BN_CTX_new();
    BN_rand(a, static_cast<int>(state.range(0)), 0, 0);
    BN_rand(b, static_cast<int>(state.range(0)), 0, 0);
    for (auto _ : state)
        BN_mul(product, a, b, context);
    BN_CTX_free(context);
    for (BIGNUM* number : {a, b, product})
        BN_free(number);
}

BENCHMARK(privateOperationLibcrypto)
    ->Name("Rsa/Private/libcrypto")
    ->Arg(512)
    ->Arg(1024)
    ->Arg(2048)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(buildKeysLibcrypto)
    ->Name("Rsa/BuildKeys/libcrypto")
    ->Arg(512)
    ->Arg(1024)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(multiplyLibcrypto)->Name("Rsa/Multiply/libcrypto")->Arg(1024)->Arg(4096);

#endif

BENCHMARK(privateOperation)
    ->Name("Rsa/Private/RSAEncryptionContext")
    ->Arg(512)
    ->Arg(1024)
    ->Arg(2048)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(buildKeys)
    ->Name("Rsa/BuildKeys/RSAEncryptionContext")
    ->Arg(512)
    ->Arg(1024)
    ->Iterations(20)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(multiply)->Name("Rsa/Multiply/BigInteger")->Arg(1024)->Arg(4096);

}
