#include "zekovar/net/uri.h"

#include "zekovar/foundation/string.h"
#include "zekovar/net/ip_address.h"
#include "zekovar/net/text_view.h"

#include <algorithm>
#include <array>
#include <charconv>

using ZK::Detail::textOf;
using ZK::Detail::viewOf;

namespace
{
constexpr unsigned int HIGHEST_PORT = 65535;
constexpr std::string_view BRACKETS = "[]";

/// Takes everything in front of `end` off the front of `rest`; all of it for an `end` behind the text.
std::string_view take(std::string_view& rest, std::size_t end)
{
    std::string_view const front = rest.substr(0, end);
    rest.remove_prefix(front.size());
    return front;
}

/// Takes a user with its '@' off the front of a host.
std::string_view takeUser(std::string_view& host)
{
    return take(host, host.find('@') + 1); // nothing if there is none
}

/// Takes a ':' and what follows it off the end of `net`, unless they stand within brackets. False if they are no port.
bool takePort(std::string_view& net, unsigned int& port)
{
    std::size_t const at = net.find_last_of(":]");
    if (at == std::string_view::npos || net[at] != ':')
        return true;
    // read with 64 bits: a number that is too long for 32 mustn't turn into a small one
    unsigned long long number = 0;
    textOf(net.substr(at + 1)).toUInt64(number);
    net = net.substr(0, at);
    if (number == 0 || number > HIGHEST_PORT)
        return false;
    port = static_cast<unsigned int>(number);
    return true;
}

std::string_view withoutBrackets(std::string_view host)
{
    host.remove_prefix(std::min(host.find_first_not_of(BRACKETS), host.size()));
    return host.substr(0, host.find_last_not_of(BRACKETS) + 1);
}

/// Fills the outputs, which are empty. Returns what is wrong, or null.
char const* split(std::string_view rest, String& protocol, String& host, unsigned int& port, String& path)
{
    std::size_t const colon = rest.find_first_of(":[/");
    if (colon == std::string_view::npos || rest[colon] != ':')
        return "No Protocol specified in URI";
    if (colon == 0)
        return "URI is invalid as it starts with ':'";
    protocol = textOf(take(rest, colon));
    rest.remove_prefix(1);

    if (rest.starts_with("//"))
    {
        rest.remove_prefix(2);
        if (rest.starts_with('/'))
            return "Empty NetPath in URI";
        std::string_view net = take(rest, rest.find('/'));
        std::string_view const user = takeUser(net);
        if (!takePort(net, port))
            return "Port number in URI is invalid";
        host = textOf(user);
        host += textOf(withoutBrackets(net));
    }
    if (rest.empty())
        return nullptr;
    if (rest[0] != '/')
        return "Invalid URI";
    if (!host.isEmpty())
        rest.remove_prefix(1);
    path = textOf(rest);
    return path.isEmpty() ? "Empty FilePath in URI" : nullptr;
}

/// For each byte the one that is written for it, or 0 for one to be encoded.
using Kept = std::array<char, 256>;

constexpr Kept keeping(std::string_view others)
{
    Kept kept{};
    for (std::string_view group : {std::string_view("abcdefghijklmnopqrstuvwxyz"),
                                   std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"), others})
        for (char const character : group)
            kept[static_cast<unsigned char>(character)] = character;
    return kept;
}

constexpr Kept withPlus(Kept kept)
{
    kept[' '] = '+';
    return kept;
}

constexpr Kept RFC3986 = keeping("-._~");
constexpr Kept HTML5 = withPlus(keeping("-._*"));

String encode(String const& text, Kept const& kept)
{
    constexpr char DIGITS[] = "0123456789ABCDEF";
    auto const keptFor = [&](char character) { return kept[static_cast<unsigned char>(character)]; };
    std::string_view const source = viewOf(text);
    auto const escaped = std::count_if(source.begin(), source.end(), [&](char each) { return keptFor(each) == 0; });
    long long const length = text.length() + 2LL * escaped;
    String encoded;
    if (length > String::Store::MAX_LENGTH || !encoded.native_alloc(static_cast<int>(length)))
        return encoded;

    char* out = encoded.data();
    for (char const character : source)
    {
        auto const byte = static_cast<unsigned char>(character);
        if (keptFor(character) != 0)
        {
            *out++ = keptFor(character);
            continue;
        }
        *out++ = '%';
        *out++ = DIGITS[byte >> 4];
        *out++ = DIGITS[byte & 0xF];
    }
    return encoded;
}
}

XCode UriUtil::splitUri(String const& uri, String& protocol, String& host, unsigned int& port, String& path,
                        String& error)
{
    String const text(uri); // an output may be the URI itself
    for (String* output : {&protocol, &host, &path, &error})
        *output = String();
    port = 0;
    error = split(viewOf(text), protocol, host, port, path);
    return testExpression(error.isEmpty());
}

XCode UriUtil::splitUri(String const& uri, String& protocol, String& host, unsigned int& port, String& directory,
                        String& file, String& error)
{
    String path;
    XCode const code = splitUri(uri, protocol, host, port, path, error);
    int const slash = path.lastIndexOf('/');
    directory = path.substring(0, slash);
    file = path.substring(slash + 1);
    return code;
}

String UriUtil::buildUri(String const& protocol, String const& host, unsigned int port, String const& path)
{
    String uri(protocol);
    uri += ':';
    if (!host.isEmpty())
    {
        std::string_view rest = viewOf(host);
        String const user = textOf(takeUser(rest));
        String const address = textOf(rest);
        bool const isV6 = IpAddress(address).getNetAddressType() == IpAddress::NetAddressType::IPV6;
        uri.concat("//").concat(user).concat(isV6 ? "[" : "").concat(address).concat(isV6 ? "]" : "");
        if (port != 0)
            uri.concatf(":%u", port);
        if (!path.isEmpty() && !path.startsWith("/"))
            uri += '/';
    }
    return uri.concat(path);
}

String UriUtil::buildUri(String const& protocol, String const& host, unsigned int port, String const& directory,
                         String const& file)
{
    return buildUri(protocol, host, port, buildPath(directory, file));
}

String UriUtil::buildPath(String const& directory, String const& file)
{
    String path(directory);
    if (!directory.isEmpty())
        path += '/';
    return path.concat(file);
}

String UriUtil::urlEncodeRfc3986(String const& text)
{
    return encode(text, RFC3986);
}

String UriUtil::urlEncodeHtml5(String const& text)
{
    return encode(text, HTML5);
}

XCode UriUtil::urlDecode(String& out, String const& in)
{
    String const text(in); // it may be the output
    out = String();
    out.reserve(text.length());
    char decoded = '\0';
    for (char const *each = text.c_str(), *const end = each + text.length(); each != end; ++each)
    {
        if (*each == '+')
            decoded = ' ';
        if (*each == '%')
        {
            unsigned char byte = 0;
            if (end - each < 3 || std::from_chars(each + 1, each + 3, byte, 16).ptr != each + 3 || byte == 0)
                return XCODE_FAILURE;
            decoded = static_cast<char>(byte);
        }
        out += decoded; // which appends no zero
    }
    return XCODE_SUCCESS;
}
