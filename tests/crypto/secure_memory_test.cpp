#include "zekovar/crypto/secure_memory.h"

#include "zekovar/crypto/des.h"
#include "zekovar/crypto/hmac.h"
#include "zekovar/crypto/sum_helper.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

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

TEST(SecureMemory, ComparisonSeesEveryByte)
{
    EXPECT_TRUE(ZK::Detail::equalSecrets("same", "same", 4));
    for (char const* other : {"Same", "sAme", "saMe", "samE"})
        EXPECT_FALSE(ZK::Detail::equalSecrets("same", other, 4)) << other;
}
