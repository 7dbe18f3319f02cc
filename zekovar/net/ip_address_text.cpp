#include "zekovar/net/ip_address.h"

#include "zekovar/foundation/xcode.h"

#include <arpa/inet.h>

namespace
{
constexpr unsigned int V4_BITS = 32;
constexpr unsigned int V6_BITS = 128;
constexpr int V4_OCTETS = 4;
constexpr int OCTET_DIGITS = 3;
constexpr unsigned int OCTET_MAXIMUM = 255;

void printV4(String& text, unsigned int address)
{
    char buffer[INET_ADDRSTRLEN];
    char* end = buffer;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        unsigned int const octet = address >> shift & 0xFF;
        if (octet >= 100)
            *end++ = static_cast<char>('0' + octet / 100);
        if (octet >= 10)
            *end++ = static_cast<char>('0' + octet / 10 % 10);
        *end++ = static_cast<char>('0' + octet % 10);
        *end++ = '.';
    }
    end[-1] = '\0';
    text = buffer;
}

void printV6(String& text, Ipv6Address const& address)
{
    char buffer[64];
    text = ::inet_ntop(AF_INET6, address.bytes, buffer, sizeof buffer - 1);
}

/// As `IpAddress::s_getNumberOfString`, in text that ends with a zero.
inline bool readNumber(char const*& at, int maxDigits, unsigned int maxValue, unsigned int& value)
{
    value = 0;
    for (int i = 0; i < maxDigits; i++)
    {
        auto const digit = static_cast<unsigned int>(*at - '0');
        if (digit > 9)
            return i > 0;
        at++;
        if (i == 0 && digit == 0)
            return true;
        value = value * 10 + digit;
    }
    return value <= maxValue;
}

inline bool readOctet(char const*& at, unsigned int& octet)
{
    return readNumber(at, OCTET_DIGITS, OCTET_MAXIMUM, octet);
}

bool readDottedQuad(char const*& at, unsigned int& word)
{
    unsigned int octet = 0;
    if (!readOctet(at, word))
        return false;
    for (int i = 1; i < V4_OCTETS; i++)
    {
        if (*at != '.' || !readOctet(++at, octet))
            return false;
        word = word << 8 | octet;
    }
    return true;
}

/// Reads an IPv6 address that ends at a zero or at '/', and moves `at` there.
bool readV6(char const*& at, Ipv6Address& address)
{
    char copy[INET6_ADDRSTRLEN]; // no address is longer
    std::size_t size = 0;
    while (at[size] != '\0' && at[size] != '/' && size < sizeof copy - 1)
    {
        copy[size] = at[size];
        size++;
    }
    copy[size] = '\0';
    at += size;
    return ::inet_pton(AF_INET6, copy, address.bytes) == 1;
}

/// Reads "/" and a number of up to `maxDigits` digits, unless `at` is the end. False if the text goes on behind it; a
/// zero within the text is no end.
bool readPrefix(char const* at, char const* end, int maxDigits, unsigned int maxValue, unsigned int& size)
{
    return at == end || (*at == '/' && readNumber(++at, maxDigits, maxValue, size) && at == end);
}
}

void IpAddress::getIpAddrAsString(String& text) const
{
    if (isV4())
        printV4(text, getV4Word());
    else if (isV6())
        printV6(text, m_address);
    else
        text.deleteRegion(0);
}

String IpAddress::getIpAddrAsString() const
{
    String text;
    getIpAddrAsString(text);
    return text;
}

void IpAddress::getIpAddrAndMaskSizeAsString(String& text) const
{
    getIpAddrAsString(text);
    if (!isEmpty())
        text.concatf("/%u", m_maskSize);
}

String IpAddress::getIpAddrAndMaskSizeAsString() const
{
    String text;
    getIpAddrAndMaskSizeAsString(text);
    return text;
}

void IpAddress::getNetAddressAsString(String& text) const
{
    IpAddress network(*this);
    if (isV4())
        network.setV4Word(getV4NetAddrAsBinaryUInt32());
    else
        getV6NetAddrAsBinaryString(network.m_address);
    network.getIpAddrAsString(text);
}

String IpAddress::getNetAddressAsString() const
{
    String text;
    getNetAddressAsString(text);
    return text;
}

void IpAddress::getNetMaskAsString(String& text) const
{
    IpAddress mask(*this);
    if (isV4())
        mask.setV4Word(getV4NetMaskAsBinaryUInt32());
    else
        getV6NetMaskAsBinaryString(mask.m_address);
    mask.getIpAddrAsString(text);
}

String IpAddress::getNetMaskAsString() const
{
    String text;
    getNetMaskAsString(text);
    return text;
}

XCode IpAddress::setIpAddrAsString(String const& text)
{
    char const* at = text.c_str();
    char const* const end = at + text.length();
    unsigned int word = 0;
    unsigned int size = V4_BITS;
    if (readDottedQuad(at, word))
    {
        if (!readPrefix(at, end, 2, V4_BITS, size))
            return XCODE_FAILURE;
        m_address = {};
        setV4IpAddrAsBinaryUInt32(word);
        m_maskSize = size;
        return XCODE_SUCCESS;
    }

    at = text.c_str();
    size = V6_BITS;
    Ipv6Address address;
    if (!readV6(at, address) || !readPrefix(at, end, 3, V6_BITS, size))
        return XCODE_FAILURE;
    setV6IpAddrAsBinaryString(address);
    m_maskSize = size;
    return XCODE_SUCCESS;
}

XCode IpAddress::setNetMaskAsString(String const& text)
{
    char const* at = text.c_str();
    char const* const end = at + text.length();
    unsigned int word = 0;
    if (readDottedQuad(at, word) && at == end)
        return setV4NetMaskAsBinaryUInt32(word);
    at = text.c_str();
    Ipv6Address mask;
    return readV6(at, mask) && at == end ? setV6NetMaskAsBinaryString(mask) : XCode(XCODE_FAILURE);
}

bool IpAddress::s_getNumberOfString(String const& text, int maxDigits, unsigned int maxValue, int& position,
                                    unsigned int& value)
{
    bool const inside = position >= 0 && position < text.length();
    char const* const start = inside ? text.c_str() + position : "";
    char const* at = start;
    bool const result = readNumber(at, maxDigits, maxValue, value);
    position += static_cast<int>(at - start);
    return result;
}

bool IpAddress::s_getV4IpAddrTokenOfString(String const& text, int& position, unsigned int& value)
{
    return s_getNumberOfString(text, OCTET_DIGITS, OCTET_MAXIMUM, position, value);
}

bool IpAddress::s_getCharOfString(String const& text, int& position, char c)
{
    if (text[position] != c)
        return false;
    position++;
    return true;
}

String hostPortStr(IpAddress const& address, unsigned int port)
{
    String text = address.getIpAddrAsString();
    if (port == 0)
        return text;
    bool const isV6 = address.getNetAddressType() == IpAddress::NetAddressType::IPV6;
    return String::stringOfFormat(isV6 ? "[%s]:%u" : "%s:%u", text.c_str(), port);
}

String hostPortStr(Ipv6Address const& address, unsigned int port)
{
    return hostPortStr(IpAddress(address, 128), port);
}

String hostPortStr(unsigned int address, unsigned int port)
{
    return hostPortStr(IpAddress(address, 32), port);
}

String hostPortStr(String const& address, unsigned int port)
{
    return hostPortStr(IpAddress(address), port);
}

String hostPortStr(char const* address, unsigned int port)
{
    return hostPortStr(IpAddress(address), port);
}
