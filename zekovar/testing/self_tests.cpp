#include "zekovar/testing/self_tests.h"

#include "zekovar/crypto/des.h"
#include "zekovar/crypto/md5.h"
#include "zekovar/crypto/rsa.h"
#include "zekovar/crypto/sha1.h"

#include <random>

namespace
{
template <class Context>
XCode testContext()
{
    Context context;
    return context.test();
}

/// Numbers for keys that protect nothing.
unsigned int randomNumber()
{
    static thread_local std::random_device device;
    return device();
}

XCode testRsa()
{
    RSAEncryptionContext context;
    return context.test(&randomNumber);
}
}

std::vector<ZK::Test::Fixture> ZK::Test::Detail::selfTests()
{
    Fixture hash("Hash");
    hash.add("md5", &testContext<Md5HashContext>);
    hash.add("sha1", &testContext<Sha1HashContext>);
    Fixture encryption("Encryption");
    encryption.add("des", &testContext<DESEncryptionContext>);
    encryption.add("tripleDes", &testContext<TripleDESEncryptionContext>);
    Fixture rsa("RSA");
    rsa.add("keys", &testRsa);

    return {hash, encryption, rsa};
}
