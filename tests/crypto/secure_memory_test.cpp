#include "zekovar/crypto/secure_memory.h"

#include "tests/crypto/number.h"
#include "zekovar/crypto/des.h"
#include "zekovar/crypto/hmac.h"
#include "zekovar/crypto/password.h"
#include "zekovar/crypto/rsa.h"
#include "zekovar/crypto/sum_helper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>

/// What no freed array may hold. It reads the same as words of either byte order.
static char const SECRET[] = "noonnoonnoonnoonnoonnoon";
static bool s_secretStays = false;

void* operator new[](std::size_t size, std::nothrow_t const&) noexcept
{
    return std::malloc(size + (size == 0));
}

void* operator new[](std::size_t size)
{
    if (void* const memory = ::operator new[](size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}

void operator delete[](void* memory) noexcept
{
    if (memory != nullptr && ::memmem(memory, ::malloc_usable_size(memory), SECRET, sizeof(SECRET) - 1) != nullptr)
        s_secretStays = true;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    ::operator delete[](memory);
}

namespace
{
unsigned char const KEY[] = "a key of many characters, none of which is a zero byte";

/// Lets `use` give a key to an object, of which only pointers and lengths may be left in memory when it is gone.
template <class T, class Use, class... Arguments>
void expectWiped(Use const& use, Arguments... arguments)
{
    alignas(T) static unsigned char memory[sizeof(T)];
    auto const used = [] { return static_cast<long>(sizeof(T)) - std::count(memory, memory + sizeof(T), 0); };
    T* const object = new (memory) T(arguments...);
    use(*object);
    EXPECT_GT(used(), 65);
    object->~T();
    EXPECT_LT(used(), 30);
}
}

TEST(SecureMemory, KeysDoNotOutliveTheirObjects)
{
    auto const hash = [](HashContext& context) { context.hash(KEY, 50); };
    Md5HashContext md5;
    expectWiped<Md5HashContext>(hash);
    expectWiped<Sha1HashContext>(hash);
    expectWiped<HmacContext>([](HmacContext& hmac) { hmac.initialize(KEY, 50, 0); }, &md5);
    expectWiped<DESEncryptionContext>([](auto& cipher)
                                      { cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::CBC, 8, KEY, 8); });
    expectWiped<TripleDESEncryptionContext>(
        [](auto& cipher) { cipher.initialize(CryptoDirection::ENCRYPT, CryptoMode::CBC, 24, KEY, 8); });
}

TEST(SecureMemory, SecretsDoNotStayInFreedArrays)
{
    std::string const secret = SECRET, larger(secret.size(), '\xFF');
    std::string data = secret;
    unsigned int length = sizeOf(secret);
    s_secretStays = false;
    {
        RSAEncryptionContext rsa;
        Number number(secret), modulus(larger);
        EXPECT_TRUE(rsa.setKeys(length * 8, raw(larger), raw(secret), raw(secret)));
        EXPECT_TRUE(rsa.crypt(raw(data), &length, RSAKeyType::PRIVATE));
        EXPECT_TRUE(BigInteger::gcd(&modulus, &number, &modulus));
        String stored, password = SECRET;
        EXPECT_TRUE(encryptPassword(SECRET, stored) && decryptPassword(stored, password));
    }
    EXPECT_FALSE(s_secretStays);
}

TEST(SecureMemory, ComparisonSeesEveryByte)
{
    EXPECT_TRUE(ZK::Detail::equalSecrets("same", "same", 4));
    for (char const* other : {"Same", "sAme", "saMe", "samE"})
        EXPECT_FALSE(ZK::Detail::equalSecrets("same", other, 4)) << other;
}
