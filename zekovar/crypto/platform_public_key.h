#pragma once

#include "zekovar/foundation/xcode.h"

namespace ZK
{
/// The public key of the challenge login, in a form that other programs read.
class PlatformPublicKey
{
public:
    /// Writes the key to "/tmp/platformPublicKey" as PEM (SubjectPublicKeyInfo). Both parts are big-endian and `length`
    /// bytes long. Fails with a text if the file can't be written, which may leave a part of it, and always in a
    /// library that was built without libcrypto; `XCODE_FAILURE` for a null pointer, a length of 0 or one that libcrypto
    /// can't count.
    static XCode SETUP(unsigned char const* modulus, unsigned char const* exponent, unsigned int length);
};
}
