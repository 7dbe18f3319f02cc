// Digests, checksums and ciphers beside libcrypto, zlib and mbedtls, where found. libcrypto's MD5 is assembler, and its
// SHA-1 uses the processor's own instructions where there are some; mbedtls is plain C.

#include "zekovar/crypto/crc32.h"
#include "zekovar/crypto/des.h"
#include "zekovar/crypto/hmac.h"
#include "zekovar/crypto/md5.h"
#include "zekovar/crypto/sha1.h"

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_OPENSSL
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif
#ifdef ZEKOVAR_BENCH_HAS_MBEDTLS
#include <mbedtls/des.h>
#include <mbedtls/md.h>
#endif
#ifdef ZEKOVAR_BENCH_HAS_ZLIB
#include <zlib.h>
#endif

namespace
{

using Bytes = std::vector<unsigned char>;

unsigned char const KEY[24] = {1, 35, 69, 103, 137, 171, 205, 239, 254, 220, 186, 152,
                               8, 16, 24, 32,  40,  48,  56,  64,  72,  80,  88,  96};
unsigned char const VECTOR[8] = {9, 8, 7, 6, 5, 4, 3, 2};

/// Runs `work` on as many bytes as the benchmark's argument says.
template <class Work>
void measure(benchmark::State& state, Work&& work)
{
    Bytes data(static_cast<std::size_t>(state.range(0)));
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(i * 131 + (i >> 8));
    auto const size = static_cast<unsigned int>(data.size());
    for (auto _ : state)
    {
        work(data.data(), size);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

template <class Hash>
void digest(benchmark::State& state)
{
    Hash hash;
    unsigned char out[64];
    measure(state,
            [&](unsigned char const* data, unsigned int size)
            {
                hash.initialize(0);
                hash.hash(data, size);
                hash.getHash(out);
            });
}

void hmac(benchmark::State& state)
{
    Sha1HashContext hash;
    HmacContext context(&hash);
    unsigned char out[64];
    measure(state,
            [&](unsigned char const* data, unsigned int size)
            {
                context.initialize(KEY, sizeof(KEY), 0);
                context.hash(data, size);
                context.getHash(out);
            });
}

template <class Crc>
void crc(benchmark::State& state)
{
    Crc sum;
    measure(state, [&](unsigned char const* data, unsigned int size)
            { benchmark::DoNotOptimize(sum.addBuff(reinterpret_cast<char const*>(data), size)); });
}

template <class Cipher, unsigned int KEY_LENGTH>
void encrypt(benchmark::State& state)
{
    Cipher cipher;
    cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::CBC, KEY_LENGTH, KEY, 8);
    cipher.setInitializationVector(VECTOR);
    measure(state, [&](unsigned char* data, unsigned int size) { cipher.encrypt(data, size / 8); });
}

template <class Cipher, unsigned int KEY_LENGTH>
void decrypt(benchmark::State& state)
{
    Cipher cipher;
    cipher.initialize(CryptoDirection::DECRYPT, CryptoMode::CBC, KEY_LENGTH, KEY, 8);
    cipher.setInitializationVector(VECTOR);
    measure(state, [&](unsigned char* data, unsigned int size) { cipher.decrypt(data, size / 8); });
}

void setUpKey(benchmark::State& state)
{
    TripleDESEncryptionContext cipher;
    for (auto _ : state)
        cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::CBC, 24, KEY, 8);
}

void sizes(benchmark::internal::Benchmark* benchmark)
{
    for (int size : {64, 1024, 4096, 65536})
        benchmark->Arg(size);
}

#ifdef ZEKOVAR_BENCH_HAS_OPENSSL

template <EVP_MD const* (*TYPE)()>
void digestLibcrypto(benchmark::State& state)
{
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    unsigned char out[EVP_MAX_MD_SIZE];
    measure(state,
            [&](unsigned char const* data, unsigned int size)
            {
                EVP_DigestInit_ex(context, TYPE(), nullptr);
                EVP_DigestUpdate(context, data, size);
                EVP_DigestFinal_ex(context, out, nullptr);
            });
    EVP_MD_CTX_free(context);
}

void hmacLibcrypto(benchmark::State& state)
{
    unsigned char out[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    measure(state, [&](unsigned char const* data, unsigned int size)
            { HMAC(EVP_sha1(), KEY, sizeof(KEY), data, size, out, &length); });
}

void cipherLibcrypto(benchmark::State& state, int encrypts)
{
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EVP_CipherInit_ex(context, EVP_des_ede3_cbc(), nullptr, KEY, VECTOR, encrypts);
    EVP_CIPHER_CTX_set_padding(context, 0);
    int length = 0;
    measure(state, [&](unsigned char* data, unsigned int size)
            { EVP_CipherUpdate(context, data, &length, data, static_cast<int>(size)); });
    EVP_CIPHER_CTX_free(context);
}

BENCHMARK_TEMPLATE(digestLibcrypto, EVP_md5)->Name("Crypto/Md5/libcrypto")->Apply(sizes);
BENCHMARK_TEMPLATE(digestLibcrypto, EVP_sha1)->Name("Crypto/Sha1/libcrypto")->Apply(sizes);
BENCHMARK(hmacLibcrypto)->Name("Crypto/HmacSha1/libcrypto")->Apply(sizes);
BENCHMARK_CAPTURE(cipherLibcrypto, encrypt, 1)->Name("Crypto/TripleDes/Encrypt/libcrypto")->Arg(4096);
BENCHMARK_CAPTURE(cipherLibcrypto, decrypt, 0)->Name("Crypto/TripleDes/Decrypt/libcrypto")->Arg(4096);

#endif

#ifdef ZEKOVAR_BENCH_HAS_MBEDTLS

template <mbedtls_md_type_t TYPE>
void digestMbedtls(benchmark::State& state)
{
    mbedtls_md_info_t const* const type = mbedtls_md_info_from_type(TYPE);
    unsigned char out[MBEDTLS_MD_MAX_SIZE];
    measure(state, [&](unsigned char const* data, unsigned int size) { mbedtls_md(type, data, size, out); });
}

void encryptMbedtls(benchmark::State& state)
{
    mbedtls_des3_context context;
    mbedtls_des3_init(&context);
    mbedtls_des3_set3key_enc(&context, KEY);
    Bytes vector(VECTOR, VECTOR + sizeof(VECTOR));
    measure(state, [&](unsigned char* data, unsigned int size)
            { mbedtls_des3_crypt_cbc(&context, MBEDTLS_DES_ENCRYPT, size, vector.data(), data, data); });
    mbedtls_des3_free(&context);
}

BENCHMARK_TEMPLATE(digestMbedtls, MBEDTLS_MD_MD5)->Name("Crypto/Md5/mbedtls")->Apply(sizes);
BENCHMARK_TEMPLATE(digestMbedtls, MBEDTLS_MD_SHA1)->Name("Crypto/Sha1/mbedtls")->Apply(sizes);
BENCHMARK(encryptMbedtls)->Name("Crypto/TripleDes/Encrypt/mbedtls")->Arg(4096);

#endif

#ifdef ZEKOVAR_BENCH_HAS_ZLIB

void crcZlib(benchmark::State& state)
{
    unsigned long sum = 0;
    measure(state, [&](unsigned char const* data, unsigned int size)
            { benchmark::DoNotOptimize(sum = ::crc32(sum, data, size)); });
}

BENCHMARK(crcZlib)->Name("Crypto/Crc32/zlib")->Apply(sizes);

#endif

BENCHMARK_TEMPLATE(digest, Md5HashContext)->Name("Crypto/Md5/Md5HashContext")->Apply(sizes);
BENCHMARK_TEMPLATE(digest, Sha1HashContext)->Name("Crypto/Sha1/Sha1HashContext")->Apply(sizes);
BENCHMARK(hmac)->Name("Crypto/HmacSha1/HmacContext")->Apply(sizes);
BENCHMARK_TEMPLATE(crc, Crc32)->Name("Crypto/Crc32/Crc32")->Apply(sizes);
BENCHMARK_TEMPLATE(crc, Crc32Reflected)->Name("Crypto/Crc32/Crc32Reflected")->Apply(sizes);
BENCHMARK_TEMPLATE(encrypt, DESEncryptionContext, 8)->Name("Crypto/Des/Encrypt/DESEncryptionContext")->Arg(4096);
BENCHMARK_TEMPLATE(encrypt, TripleDESEncryptionContext, 24)
    ->Name("Crypto/TripleDes/Encrypt/TripleDESEncryptionContext")
    ->Arg(4096);
BENCHMARK_TEMPLATE(decrypt, TripleDESEncryptionContext, 24)
    ->Name("Crypto/TripleDes/Decrypt/TripleDESEncryptionContext")
    ->Arg(4096);
BENCHMARK(setUpKey)->Name("Crypto/TripleDes/SetUp/TripleDESEncryptionContext");

}
