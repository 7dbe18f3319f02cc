// Any text is split or refused with a reason, what was split builds the text again, and decoding stays within its text.

#include "zekovar/net/uri.h"

#include "zekovar/foundation/string.h"

#include <cctype>

namespace
{
void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

bool isEncoded(String const& text, char const* others)
{
    for (int i = 0; i < text.length(); i++)
        if (!std::isalnum(static_cast<unsigned char>(text[i])) && String(others).indexOf(text[i]) < 0)
            return false;
    return true;
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    String const text(reinterpret_cast<char const*>(data), static_cast<int>(size), 0, static_cast<int>(size));
    String protocol, host, path, error, directory, file;
    unsigned int port = 0;
    bool const valid = UriUtil::splitUri(text, protocol, host, port, path, error).isSuccess();
    require(valid == error.isEmpty() && port <= 65535);
    if (valid)
    {
        String const uri = UriUtil::buildUri(protocol, host, port, path);
        require(uri.startsWith(String(protocol).concat(":")) && uri.endsWith(path));
    }
    require(UriUtil::splitUri(text, protocol, host, port, directory, file, error).isSuccess() == valid);
    require(UriUtil::buildPath(directory, file).length() <= path.length() + 1);

    String decoded;
    bool const decodes = UriUtil::urlDecode(decoded, text).isSuccess();
    require(decoded.length() <= text.length());
    String const encoded = UriUtil::urlEncodeRfc3986(text);
    require(isEncoded(encoded, "-._~%") && isEncoded(UriUtil::urlEncodeHtml5(text), "-._*%+"));
    String again(text);
    require(UriUtil::urlDecode(again, again).isSuccess() == decodes && again == decoded);
    return 0;
}
