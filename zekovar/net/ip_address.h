#pragma once

#include "zekovar/foundation/string.h"

#include <bit>
#include <cstdint>
#include <cstring>

class XCode;

/// The 16 bytes of an IPv6 address or netmask in network order, as in an `in6_addr`.
struct Ipv6Address
{
    alignas(uint32_t) uint8_t bytes[16];

    /// 32 of the 128 bits as a number, `index` 0 to 3 from the top.
    unsigned int getWord(int index) const
    {
        uint8_t const* const at = bytes + 4 * index;
        return static_cast<unsigned int>(at[0]) << 24 | static_cast<unsigned int>(at[1]) << 16 |
               static_cast<unsigned int>(at[2]) << 8 | at[3];
    }

    void setWord(int index, unsigned int word)
    {
        for (int i = 0; i < 4; i++)
            bytes[4 * index + i] = static_cast<uint8_t>(word >> (24 - 8 * i));
    }
};

static_assert(sizeof(Ipv6Address) == 16, "daemons are compiled against this layout");

/// An IPv4 or IPv6 address with the length of its network prefix (the mask size), or empty.
///
/// A plain value of 24 bytes without a lock and without memory of its own, for any thread. Bad text makes an empty
/// value, or `XCODE_FAILURE` and no change in a setter; nothing logs.
///
///     IpAddress const network("192.0.2.0/24");
///     if (network.contains(IpAddress("192.0.2.17"))) ...
///     network.getNetMaskAsString();               // "255.255.255.0"
///
/// The predicates follow the address classes of RFC 791 and the daemons' rules for interfaces; each is false for an
/// address of the other family.
class IpAddress
{
public:
    enum class NetAddressType : uint32_t
    {
        EMPTY = 0,
        IPV4 = 1,
        IPV6 = 2
    };

    /// The mask size of an address that none was set for.
    static constexpr unsigned int NO_MASK_SIZE = 0xFFFFFFFF;

    constexpr IpAddress() noexcept : m_type(NetAddressType::EMPTY), m_address{}, m_maskSize(NO_MASK_SIZE) {}

    /// Empty for a prefix above 128.
    IpAddress(Ipv6Address const& address, unsigned int prefix);

    /// Up to 32 `mask` is a prefix, above that a netmask; empty if that has a one behind a zero.
    IpAddress(unsigned int address, unsigned int mask);

    /// Empty if `mask` has a one behind a zero.
    IpAddress(Ipv6Address const& address, Ipv6Address const& mask);

    /// As `setIpAddrAsString`.
    IpAddress(String const& text);

    /// As `setIpAddrAsString` and `setNetMaskAsString`; empty if either fails.
    IpAddress(String const& address, String const& mask);

    /// Makes the address empty, its mask size unset.
    void init() { *this = IpAddress(); }

    /// The shared empty address.
    static IpAddress const& EMPTY();

    bool isEmpty() const { return m_type == NetAddressType::EMPTY; }

    NetAddressType getNetAddressType() const { return m_type; }

    /// 0 to 32 or 0 to 128, or `NO_MASK_SIZE`.
    unsigned int getNetMaskSize() const { return m_maskSize; }

    /// @name Text
    /// "192.0.2.1" or "2001:db8::1"; empty for an empty address.
    /// @{
    void getIpAddrAsString(String& text) const;
    String getIpAddrAsString() const;

    /// With "/" and the mask size behind it, which is "4294967295" if none was set.
    void getIpAddrAndMaskSizeAsString(String& text) const;
    String getIpAddrAndMaskSizeAsString() const;

    /// The address with the bits behind the prefix cleared.
    void getNetAddressAsString(String& text) const;
    String getNetAddressAsString() const;

    void getNetMaskAsString(String& text) const;
    String getNetMaskAsString() const;

    /// Reads an address with an optional "/" and prefix; without one the mask size is 32 or 128. No number begins with
    /// a superfluous 0, and nothing may stand around the text. IPv6 is what `inet_pton` takes.
    XCode setIpAddrAsString(String const& text);

    /// Reads a netmask, "255.255.255.0" or "ffff:ffff::", which also decides the family. The address bytes stay.
    XCode setNetMaskAsString(String const& text);

    /// @}

    /// @name Binary form
    /// IPv4 addresses and masks are numbers: 192.0.2.1 is 0xC0000201.
    /// @{

    /// The address; of an IPv6 one the first 32 bits, 0 if empty.
    unsigned int getV4IpAddrAsBinaryUInt32() const
    {
        return m_type == NetAddressType::IPV6 ? m_address.getWord(0) : getV4Word();
    }

    /// Makes it an IPv4 address; the mask size stays. Always succeeds.
    XCode setV4IpAddrAsBinaryUInt32(unsigned int address);

    /// The stored bytes. Of an IPv4 address the first four are the number in the machine's order.
    Ipv6Address const& getV6IpAddrAsBinaryString() const { return m_address; }

    /// Makes it an IPv6 address; the mask size stays. Always succeeds.
    XCode setV6IpAddrAsBinaryString(Ipv6Address const& address);

    /// 0 also for a mask size that no IPv4 address has.
    unsigned int getV4NetMaskAsBinaryUInt32() const;

    unsigned int getV4NetAddrAsBinaryUInt32() const
    {
        return getV4IpAddrAsBinaryUInt32() & getV4NetMaskAsBinaryUInt32();
    }

    /// All ones for an unset mask size.
    void getV6NetMaskAsBinaryString(Ipv6Address& mask) const;
    void getV6NetAddrAsBinaryString(Ipv6Address& network) const;

    /// 0 to 32 for IPv4, 0 to 128 for IPv6; an empty address takes none.
    XCode setNetMaskSize(unsigned int size);

    /// Makes it an IPv4 address with this mask; the address bytes stay. Fails if `mask` has a one behind a zero.
    XCode setV4NetMaskAsBinaryUInt32(unsigned int mask);

    /// Makes it an IPv6 address with this mask; the address bytes stay. Fails if `mask` has a one behind a zero.
    XCode setV6NetMaskAsBinaryString(Ipv6Address const& mask);
    /// @}

    /// An IPv4 address as an IPv4-compatible IPv6 address (RFC 4291, section 2.5.5.1: ::192.0.2.1, without ffff), its
    /// mask size 96 larger, modulo 2^32 like every `unsigned int` (an unset one becomes 95). Others as they are.
    IpAddress embedIntoV6() const;

    /// Whether `other` begins with this address's prefix; false if this one is empty. The family and mask size of `other`
    /// don't matter: an IPv4 network is compared with the first 32 bits of an IPv6 address.
    bool contains(IpAddress const& other) const;

    /// Equal in family, mask size and address.
    friend bool operator==(IpAddress const& left, IpAddress const& right);

    /// @name Kinds of addresses
    /// The host part is what stands behind the prefix.
    /// @{
    bool isV4ClassA() const;
    bool isV4ClassB() const;
    bool isV4ClassC() const;
    bool isV4ClassD() const;
    bool isV4ClassE() const;

    bool isV4ClassABC() const;

    /// 127.x.x.x or ::1.
    bool isLoopback() const;

    /// 224.0.0.x.
    bool isV4LocalGroup() const;

    /// 0.0.0.0/0 or ::/0.
    bool isDefGwType() const;

    /// 0.0.0.0/32 or ::/128.
    bool isZeroHostAddress() const;

    /// IPv4: a network with a prefix of 2 to 30, its host part 0, or the default gateway's. IPv6: host part 0.
    bool isNetType() const;

    /// IPv4: class A, B or C and host part 0, or the default gateway's. IPv6: host part 0.
    bool isValidSubnetMaskType() const;

    /// IPv4: a host within a network as of `isNetType`. IPv6: host part 0, as for a network.
    bool isIfaceType() const;

    /// 255.255.255.255.
    bool isV4LimBcType() const;

    /// A network as of `isNetType`, but with all ones as the host part.
    bool isV4DirBcType() const;

    /// Prefix 128, and not ff00:0: in front, the only multicast addresses that are told apart here.
    bool isV6UnicastOrAnycast() const;

    /// IPv4: class A, B or C without 0.x.x.x, prefix 32. IPv6: as `isV6UnicastOrAnycast`.
    bool isHostType() const;

    /// fe80::/10, prefix 128.
    bool isV6LinkLocal() const;

    /// Prefix 128, and ff00:0: in front; so ff02::1 isn't.
    bool isV6Multicast() const;

    /// IPv4: a host, a network, an interface or a broadcast address. IPv6: always.
    bool isValidAddress() const;
    /// @}

    /// @name Reading addresses within other texts
    /// `position` is moved behind what was read. A position outside the text reads the character 0.
    /// @{

    /// Reads up to `maxDigits` decimal digits; a 0 in front ends the number, and without a digit there is none. Only a
    /// number of all `maxDigits` digits is compared with `maxValue`, which is to be above all shorter ones.
    static bool s_getNumberOfString(String const& text, int maxDigits, unsigned int maxValue, int& position,
                                    unsigned int& value);

    /// A number of up to three digits, at most 255.
    static bool s_getV4IpAddrTokenOfString(String const& text, int& position, unsigned int& value);

    static bool s_getCharOfString(String const& text, int& position, char c);

    /// Whether no one stands behind a zero; `size` is the number of leading ones in any case.
    static bool s_isV4MaskValid(unsigned int mask, unsigned int& size)
    {
        size = static_cast<unsigned int>(std::countl_one(mask));
        return size == 32 || mask << size == 0;
    }

    /// As above; for a mask that isn't valid `size` may be anything.
    static bool s_isV6MaskValid(Ipv6Address const& mask, unsigned int& size);
    /// @}

private:
    bool isV4() const { return m_type == NetAddressType::IPV4; }

    bool isV6() const { return m_type == NetAddressType::IPV6; }

    unsigned int getV4Word() const
    {
        unsigned int word;
        std::memcpy(&word, m_address.bytes, sizeof word);
        return word;
    }

    void setV4Word(unsigned int word) { std::memcpy(m_address.bytes, &word, sizeof word); }

    bool hasV4TopBits(unsigned int mask, unsigned int bits) const;
    bool isWithinV4Network() const;
    bool isV6HostPartZero() const;

    NetAddressType m_type;
    Ipv6Address m_address; // IPv4: the first four bytes are the number, in the machine's order
    unsigned int m_maskSize;
};

static_assert(sizeof(IpAddress) == 24, "daemons are compiled against this layout");

/// @name Addresses with a port
/// "192.0.2.1:80" or "[2001:db8::1]:80", as log lines have it; for port 0 just the address. Text that isn't an address
/// prints as an empty one.
/// @{
String hostPortStr(IpAddress const& address, unsigned int port);
String hostPortStr(Ipv6Address const& address, unsigned int port);
String hostPortStr(unsigned int address, unsigned int port);
String hostPortStr(String const& address, unsigned int port);
String hostPortStr(char const* address, unsigned int port);
/// @}
