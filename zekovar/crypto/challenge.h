#pragma once

#include "zekovar/foundation/xcode.h"

template <class T>
class TString;

namespace ZK
{
/// Login to the device's own accounts by a text that whoever holds the private key has signed elsewhere.
///
///     String challenge;
///     bool valid = false;
///     XCode code = ZK::Challenge::GET_CHALLENGE(ZK::Challenge::ChallengeMode::ROOT, challenge);
///     if (code) code = ZK::Challenge::VERIFY_PASSWORD(askForPassword(challenge), challenge, valid);
///     if (code && valid) logIn();
///
/// A start-up step calls `SETUP` before a foreign process can write to /tmp: whoever can change the files there can log
/// in. All other state is the challenge, which its caller holds between the two calls, and takes for one login only.
/// There is no lock: once the files are written all processes and threads may read them.
class Challenge
{
public:
    enum class ChallengeMode : unsigned int
    {
        ROOT = 0,
        ENGINEER = 1
    };

    /// Writes the beginning of all challenges, "otp:m=?:p=<p>:s=<s>:t=<t>", and the public key, whose parts are
    /// big-endian and of equal length, to "/tmp/challengePrefix", "/tmp/rsaContextModulus" and "/tmp/rsaContextPublic".
    /// The code of `errno` if one can't be written; those in front of it are written then.
    static XCode SETUP(String const& s, String const& p, String const& t, TString<unsigned char> const& modulus,
                       TString<unsigned char> const& publicExponent);

    /// Sets `out` to a new challenge for an account, different each time. Fails before `SETUP`, for another mode, and if
    /// the kernel gives no random bytes.
    static XCode GET_CHALLENGE(ChallengeMode mode, String& out);

    /// Sets `valid` to whether `password` is the Base64 text of the challenge's signature: the challenge behind the
    /// padding of block type 1 of PKCS #1 v1.5, without a digest. Whatever is wrong with the password is a success with
    /// `valid` false. Fails, with `valid` false too, if a part of the key can't be read, if the two differ in length,
    /// or if they are longer than 1024 bytes.
    static XCode VERIFY_PASSWORD(String const& password, String const& challenge, bool& valid);
};
}
