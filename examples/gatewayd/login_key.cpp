#include "login_key.h"

#include <fcntl.h>

namespace
{
/// Reads all digits of `hex` into `bytes` bytes, with zeros in front.
XCode readNumber(String const& hex, int bytes, TString<unsigned char>& number)
{
    String digits = hex;
    while (digits.length() < 2 * bytes)
    {
        digits.insert(0, "0");
    }
    number.setLength(bytes);
    return CryptoUtilities().parseHex2Char(digits.c_str(), digits.length(), number.data(), bytes);
}
}

XCode setUpLogin(String const& path)
{
    TString<char> text;
    if (XCode code = ZKFile::READ_TSTRING(path, text, O_RDONLY, true); code.isErr())
    {
        return code;
    }
    StringTokenizer lines(String(text.data(), text.length(), 0, text.length()));
    String modulusHex;
    String exponentHex;
    TString<unsigned char> modulus;
    TString<unsigned char> exponent;
    lines.nextToken(modulusHex);
    lines.nextToken(exponentHex);
    int const bytes = (modulusHex.length() + 1) / 2;
    if (bytes == 0 || exponentHex.isEmpty() || lines.hasMoreTokens() ||
        readNumber(modulusHex, bytes, modulus).isErr() || readNumber(exponentHex, bytes, exponent).isErr())
    {
        XCode code = XCODE_FAILURE;
        code.setString("it isn't a modulus and an exponent in two lines of hexadecimal digits");
        return code;
    }
    return ZK::Challenge::SETUP("1", "gatewayd", "demo", modulus, exponent);
}
