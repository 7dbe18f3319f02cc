#include "zekovar/net/ip_address.h"

#include "zekovar/foundation/xcode.h"

#include <algorithm>

namespace
{
constexpr unsigned int V4_BITS = 32;
constexpr unsigned int V6_BITS = 128;
constexpr int V6_WORDS = 4;

/// A word with `count` ones, 0 to 32, from the top bit down.
unsigned int leadingOnes(unsigned int count)
{
    return count > 0 ? 0xFFFFFFFF << (32 - count) : 0;
}
}

IpAddress::IpAddress(Ipv6Address const& address, unsigned int prefix) : IpAddress()
{
    if (prefix > V6_BITS)
        return;
    setV6IpAddrAsBinaryString(address);
    m_maskSize = prefix;
}

IpAddress::IpAddress(unsigned int address, unsigned int mask) : IpAddress()
{
    unsigned int size = mask;
    if (mask > V4_BITS && !s_isV4MaskValid(mask, size))
        return;
    setV4IpAddrAsBinaryUInt32(address);
    m_maskSize = size;
}

IpAddress::IpAddress(Ipv6Address const& address, Ipv6Address const& mask) : IpAddress()
{
    if (setV6NetMaskAsBinaryString(mask).isSuccess())
        m_address = address;
}

IpAddress::IpAddress(String const& text) : IpAddress()
{
    setIpAddrAsString(text);
}

IpAddress::IpAddress(String const& address, String const& mask) : IpAddress(address)
{
    if (isEmpty() || setNetMaskAsString(mask).isErr())
        init();
}

IpAddress const& IpAddress::EMPTY()
{
    static constinit IpAddress const ADDRESS;
    return ADDRESS;
}

XCode IpAddress::setV4IpAddrAsBinaryUInt32(unsigned int address)
{
    m_type = NetAddressType::IPV4;
    setV4Word(address);
    return XCODE_SUCCESS;
}

XCode IpAddress::setV6IpAddrAsBinaryString(Ipv6Address const& address)
{
    m_type = NetAddressType::IPV6;
    m_address = address;
    return XCODE_SUCCESS;
}

unsigned int IpAddress::getV4NetMaskAsBinaryUInt32() const
{
    return m_maskSize <= V4_BITS ? leadingOnes(m_maskSize) : 0;
}

void IpAddress::getV6NetMaskAsBinaryString(Ipv6Address& mask) const
{
    unsigned int left = m_maskSize;
    for (int i = 0; i < V6_WORDS; i++)
    {
        unsigned int const count = std::min(left, 32U);
        mask.setWord(i, leadingOnes(count));
        left -= count;
    }
}

void IpAddress::getV6NetAddrAsBinaryString(Ipv6Address& network) const
{
    Ipv6Address mask;
    getV6NetMaskAsBinaryString(mask);
    for (int i = 0; i < V6_WORDS; i++)
        network.setWord(i, mask.getWord(i) & m_address.getWord(i));
}

XCode IpAddress::setNetMaskSize(unsigned int size)
{
    if (isEmpty() || size > (isV4() ? V4_BITS : V6_BITS))
        return XCODE_FAILURE;
    m_maskSize = size;
    return XCODE_SUCCESS;
}

XCode IpAddress::setV4NetMaskAsBinaryUInt32(unsigned int mask)
{
    unsigned int size = 0;
    if (!s_isV4MaskValid(mask, size))
        return XCODE_FAILURE;
    m_type = NetAddressType::IPV4;
    m_maskSize = size;
    return XCODE_SUCCESS;
}

XCode IpAddress::setV6NetMaskAsBinaryString(Ipv6Address const& mask)
{
    unsigned int size = 0;
    if (!s_isV6MaskValid(mask, size))
        return XCODE_FAILURE;
    m_type = NetAddressType::IPV6;
    m_maskSize = size;
    return XCODE_SUCCESS;
}

IpAddress IpAddress::embedIntoV6() const
{
    if (!isV4())
        return *this;
    IpAddress embedded;
    embedded.m_type = NetAddressType::IPV6;
    embedded.m_address.setWord(V6_WORDS - 1, getV4Word());
    embedded.m_maskSize = m_maskSize + (V6_BITS - V4_BITS);
    return embedded;
}

bool IpAddress::contains(IpAddress const& other) const
{
    if (isEmpty())
        return false;
    unsigned int const difference = getV4IpAddrAsBinaryUInt32() ^ other.getV4IpAddrAsBinaryUInt32();
    if (isV4())
        return (difference & getV4NetMaskAsBinaryUInt32()) == 0;

    Ipv6Address mask;
    getV6NetMaskAsBinaryString(mask);
    unsigned int rest = difference & mask.getWord(0);
    for (int i = 1; i < V6_WORDS; i++)
        rest |= (m_address.getWord(i) ^ other.m_address.getWord(i)) & mask.getWord(i);
    return rest == 0;
}

bool operator==(IpAddress const& left, IpAddress const& right)
{
    if (left.m_type != right.m_type || left.m_maskSize != right.m_maskSize)
        return false;
    if (left.isV4())
        return left.getV4Word() == right.getV4Word();
    return left.isEmpty() || std::memcmp(&left.m_address, &right.m_address, sizeof left.m_address) == 0;
}

bool IpAddress::s_isV6MaskValid(Ipv6Address const& mask, unsigned int& size)
{
    size = 0;
    bool ended = false;
    for (int i = 0; i < V6_WORDS; i++)
    {
        unsigned int ones = 0;
        if (!s_isV4MaskValid(mask.getWord(i), ones) || (ended && ones > 0))
            return false;
        size += ones;
        ended = ones < 32;
    }
    return true;
}
