#include "zekovar/net/ip_address.h"

#include "zekovar/foundation/xcode.h"

#include <arpa/inet.h>

namespace
{
constexpr int V4_OCTETS = 4;

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

bool readDottedQuad(String const& text, int& position, unsigned int& word)
{
    word = 0;
    for (int i = 0; i < V4_OCTETS; i++)
    {
        unsigned int octet = 0;
        if ((i > 0 && !IpAddress::s_getCharOfString(text, position, '.')) ||
            !IpAddress::s_getV4IpAddrTokenOfString(text, position, octet))
            return false;
        word = word << 8 | octet;
    }
    return true;
}

/// Reads "/" and a number of up to `maxDigits` digits that ends the text.
bool readPrefix(String const& text, int position, int maxDigits, unsigned int maxValue, unsigned int& size)
{
    return IpAddress::s_getCharOfString(text, position, '/') &&
           IpAddress::s_getNumberOfString(text, maxDigits, maxValue, position, size) && position == text.length();
}

/// Reads all of `length` characters; a zero among them is no end.
bool readV6(char const* text, int length, Ipv6Address& address)
{
    char copy[INET6_ADDRSTRLEN]; // no address is longer
    auto const size = static_cast<std::size_t>(length);
    if (size >= sizeof copy || std::memchr(text, '\0', size) != nullptr)
        return false;
    std::memcpy(copy, text, size);
    copy[size] = '\0';
    return ::inet_pton(AF_INET6, copy, address.bytes) == 1;
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
    int position = 0;
    unsigned int word = 0;
    if (readDottedQuad(text, position, word))
    {
        unsigned int size = 32;
        if (position != text.length() && !readPrefix(text, position, 2, 32, size))
            return XCODE_FAILURE;
        *this = IpAddress(word, size);
        return XCODE_SUCCESS;
    }

    auto const* const slash =
        static_cast<char const*>(std::memchr(text.c_str(), '/', static_cast<std::size_t>(text.length())));
    int const length = slash != nullptr ? static_cast<int>(slash - text.c_str()) : text.length();
    unsigned int size = 128;
    Ipv6Address address;
    if ((slash != nullptr && !readPrefix(text, length, 3, 128, size)) || !readV6(text.c_str(), length, address))
        return XCODE_FAILURE;
    *this = IpAddress(address, size);
    return XCODE_SUCCESS;
}

XCode IpAddress::setNetMaskAsString(String const& text)
{
    int position = 0;
    unsigned int word = 0;
    if (readDottedQuad(text, position, word) && position == text.length())
        return setV4NetMaskAsBinaryUInt32(word);
    Ipv6Address mask;
    return readV6(text.c_str(), text.length(), mask) ? setV6NetMaskAsBinaryString(mask) : XCode(XCODE_FAILURE);
}

bool IpAddress::s_getNumberOfString(String const& text, int maxDigits, unsigned int maxValue, int& position,
                                    unsigned int& value)
{
    value = 0;
    for (int i = 0; i < maxDigits; i++)
    {
        char const digit = text[position];
        if (digit < '0' || digit > '9')
            return i > 0;
        position++;
        if (i == 0 && digit == '0')
            return true;
        value = value * 10 + static_cast<unsigned int>(digit - '0');
    }
    return value <= maxValue;
}

bool IpAddress::s_getV4IpAddrTokenOfString(String const& text, int& position, unsigned int& value)
{
    return s_getNumberOfString(text, 3, 255, position, value);
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
