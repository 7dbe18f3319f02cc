#include "zekovar/net/ip_address.h"

namespace
{
constexpr unsigned int V4_LONGEST = 32;
constexpr unsigned int V6_LONGEST = 128;
constexpr unsigned int V6_MULTICAST_WORD =
    0xFF000000; // callers are written against the whole word, not against ff00::/8

bool isZero(Ipv6Address const& address)
{
    return (address.getWord(0) | address.getWord(1) | address.getWord(2) | address.getWord(3)) == 0;
}
}

bool IpAddress::hasV4TopBits(unsigned int mask, unsigned int bits) const
{
    return isV4() && (getV4Word() & mask) == bits;
}

bool IpAddress::isV4ClassA() const
{
    return hasV4TopBits(0x80000000, 0);
}

bool IpAddress::isV4ClassB() const
{
    return hasV4TopBits(0xC0000000, 0x80000000);
}

bool IpAddress::isV4ClassC() const
{
    return hasV4TopBits(0xE0000000, 0xC0000000);
}

bool IpAddress::isV4ClassD() const
{
    return hasV4TopBits(0xF0000000, 0xE0000000);
}

bool IpAddress::isV4ClassE() const
{
    return hasV4TopBits(0xF0000000, 0xF0000000);
}

bool IpAddress::isV4ClassABC() const
{
    return isV4() && !hasV4TopBits(0xE0000000, 0xE0000000);
}

bool IpAddress::isLoopback() const
{
    if (!isV6())
        return hasV4TopBits(0xFF000000, 0x7F000000);
    return (m_address.getWord(0) | m_address.getWord(1) | m_address.getWord(2)) == 0 && m_address.getWord(3) == 1;
}

bool IpAddress::isV4LocalGroup() const
{
    return hasV4TopBits(0xFFFFFF00, 0xE0000000);
}

bool IpAddress::isDefGwType() const
{
    return m_maskSize == 0 && (isV6() ? isZero(m_address) : hasV4TopBits(0xFFFFFFFF, 0));
}

bool IpAddress::isZeroHostAddress() const
{
    return isV6() ? m_maskSize == V6_LONGEST && isZero(m_address)
                  : m_maskSize == V4_LONGEST && hasV4TopBits(0xFFFFFFFF, 0);
}

/// Whether the prefix is that of a network which has room for hosts.
bool IpAddress::isWithinV4Network() const
{
    unsigned int const mask = getV4NetMaskAsBinaryUInt32();
    unsigned int const network = getV4Word() & mask;
    return isV4ClassABC() && !hasV4TopBits(0xFF000000, 0) && m_maskSize >= 2 && m_maskSize <= 30 && network != 0 &&
           network != mask;
}

/// For an IPv6 address.
bool IpAddress::isV6HostPartZero() const
{
    Ipv6Address network;
    getV6NetAddrAsBinaryString(network);
    return std::memcmp(&network, &m_address, sizeof network) == 0;
}

bool IpAddress::isNetType() const
{
    if (isV6())
        return isV6HostPartZero();
    return isDefGwType() || (isWithinV4Network() && getV4Word() == getV4NetAddrAsBinaryUInt32());
}

bool IpAddress::isValidSubnetMaskType() const
{
    if (isV6())
        return isV6HostPartZero();
    return isDefGwType() || (isV4ClassABC() && getV4Word() == getV4NetAddrAsBinaryUInt32());
}

bool IpAddress::isIfaceType() const
{
    if (isV6())
        return isV6HostPartZero();
    return isWithinV4Network() && getV4Word() != getV4NetAddrAsBinaryUInt32() && !isV4DirBcType();
}

bool IpAddress::isV4LimBcType() const
{
    return hasV4TopBits(0xFFFFFFFF, 0xFFFFFFFF);
}

bool IpAddress::isV4DirBcType() const
{
    return isWithinV4Network() && (getV4Word() | getV4NetMaskAsBinaryUInt32()) == 0xFFFFFFFF;
}

bool IpAddress::isV6UnicastOrAnycast() const
{
    return isV6() && m_maskSize == V6_LONGEST && m_address.getWord(0) != V6_MULTICAST_WORD;
}

bool IpAddress::isHostType() const
{
    if (isV6())
        return isV6UnicastOrAnycast();
    return isV4ClassABC() && !hasV4TopBits(0xFF000000, 0) && m_maskSize == V4_LONGEST;
}

bool IpAddress::isV6LinkLocal() const
{
    return isV6() && m_maskSize == V6_LONGEST && (m_address.getWord(0) & 0xFFC00000) == 0xFE800000;
}

bool IpAddress::isV6Multicast() const
{
    return isV6() && m_maskSize == V6_LONGEST && m_address.getWord(0) == V6_MULTICAST_WORD;
}

bool IpAddress::isValidAddress() const
{
    return isV6() || isHostType() || isNetType() || isIfaceType() || isV4LimBcType() || isV4DirBcType();
}
