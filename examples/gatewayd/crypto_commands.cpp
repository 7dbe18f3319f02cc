#include "crypto_commands.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

using CommandLine::takeWord;

namespace
{
/// Adds all bytes of the file.
XCode crc32Of(String const& path, String& sum)
{
    ZKFile file(path, true, false);
    if (XCode code = file.open(O_RDONLY, 0, ZKFile::XO_NONE); code.isErr())
    {
        return code;
    }
    Crc32 crc;
    unsigned int state = crc.addBuff("", 0u);
    char buffer[65536];
    unsigned int count = 0;
    do
    {
        if (XCode code = file.readOnce(buffer, sizeof(buffer), count, true); code.isErr())
        {
            return code;
        }
        state = crc.addBuff(buffer, count);
    } while (count > 0);
    sum = String(String::Formatted(), "%8.8x", state);
    return XCODE_SUCCESS;
}

using Calculation = XCode (*)(String const& path, String& sum);

template <class Helper>
XCode digestOf(String const& path, String& sum)
{
    Helper helper;
    XCode code = helper.calculate(path);
    sum = helper.getResult();
    return code;
}

/// The checksum, or why there is none. A device or a fifo, whose content need not end, is refused.
String checksumOf(Calculation calculate, String const& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        return "no regular file";
    }
    String sum;
    XCode const code = calculate(path, sum);
    if (code.getValue() == XCODE_FAILURE)
    {
        return "no content";
    }
    return code.isErr() ? code.toString() : sum;
}
}

CryptoCommands::CryptoCommands() : m_hashers("Hasher")
{
    add("hash", "md5|sha1|crc32 FILE", "shows the checksum of a file", &CryptoCommands::hash);
    add("password", "encrypt|decrypt TEXT", "shows the stored form of a password, or what is stored",
        &CryptoCommands::password);
    add("login", "[SIGNATURE]", "shows a challenge, or takes the signature of it in Base64", &CryptoCommands::login);
}

void CryptoCommands::end()
{
    m_hashers.join();
}

void CryptoCommands::hash(Call const& call, String const& arguments)
{
    String path = arguments;
    String const kind = takeWord(path);
    Calculation calculate = nullptr;
    if (kind == "md5")
    {
        calculate = &digestOf<MD5SumHelper>;
    }
    else if (kind == "sha1")
    {
        calculate = &digestOf<Sha1SumHelper>;
    }
    else if (kind == "crc32")
    {
        calculate = &crc32Of;
    }
    if (calculate == nullptr || path.isEmpty())
    {
        refuse(call, "it takes a kind of checksum and a file");
        return;
    }
    auto const report = [call, calculate, path]
    {
        String const answer = checksumOf(calculate, path);
        call.say(String(String::Formatted(), "%s  %s", answer.c_str(), path.c_str()));
    };
    if (m_hashers.run(report).isErr())
    {
        call.say("too many checksums are under way");
    }
}

void CryptoCommands::password(Call const& call, String const& arguments)
{
    String text = arguments;
    String const direction = takeWord(text);
    String result;
    if (text.isEmpty())
    {
        refuse(call, "it takes a direction and a text");
    }
    else if (direction == "encrypt")
    {
        call.say(encryptPassword(text, result).isErr() ? String("the password can't be stored") : result);
    }
    else if (direction == "decrypt")
    {
        // a damaged one leaves the result as it was
        XCode const code = decryptPassword(text, result);
        call.say(code.isErr() || result.isEmpty() ? String("that is no stored password") : result);
    }
    else
    {
        refuse(call, "it takes a direction and a text");
    }
}

void CryptoCommands::login(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        XCode const code = ZK::Challenge::GET_CHALLENGE(ZK::Challenge::ChallengeMode::ROOT, m_challenge);
        call.say(code.isErr() ? String(String::Formatted(), "%s; --login-key sets it up", code.toString().c_str())
                              : m_challenge);
        return;
    }
    if (m_challenge.isEmpty())
    {
        call.say("ask for a challenge first, by 'login' alone");
        return;
    }
    // each is good for one try
    String const challenge = std::exchange(m_challenge, String());
    bool isValid = false;
    XCode const code = ZK::Challenge::VERIFY_PASSWORD(arguments, challenge, isValid);
    call.say(code.isErr() ? code.toString() : String(isValid ? "welcome" : "refused"));
}
