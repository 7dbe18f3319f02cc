#include "zekovar/net/ip_address.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/xcode.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <random>
#include <sstream>
#include <string>

using namespace std::string_literals;

namespace
{
Ipv6Address bytesOf(char const* text)
{
    Ipv6Address bytes{};
    EXPECT_EQ(::inet_pton(AF_INET6, text, bytes.bytes), 1) << text;
    return bytes;
}

/// What the system's own functions and the rules for prefixes make of a text: "address/size", or "" if it is refused.
std::string reference(std::string const& text)
{
    std::size_t const slash = text.find('/');
    std::string const head = text.substr(0, slash);
    unsigned char bytes[16];
    int const family = ::inet_pton(AF_INET, head.c_str(), bytes) == 1 ? AF_INET : AF_INET6;
    if (head.find('\0') != std::string::npos || ::inet_pton(family, head.c_str(), bytes) != 1)
        return "";
    unsigned long const longest = family == AF_INET ? 32 : 128;
    std::string const prefix = slash != std::string::npos ? text.substr(slash + 1) : std::to_string(longest);
    unsigned long const size = std::strtoul(prefix.c_str(), nullptr, 10);
    char printed[INET6_ADDRSTRLEN];
    bool const valid = size <= longest && prefix == std::to_string(size);
    return valid ? ::inet_ntop(family, bytes, printed, sizeof printed) + ("/" + prefix) : "";
}

std::string parsed(std::string const& text)
{
    int const size = static_cast<int>(text.size());
    return IpAddress(String(text.data(), size, 0, size)).getIpAddrAndMaskSizeAsString().c_str();
}

std::string randomAddress(std::mt19937& random)
{
    unsigned char bytes[16];
    for (unsigned char& byte : bytes)
        byte = random() % 2 == 0 ? 0 : static_cast<unsigned char>(random());
    char text[INET6_ADDRSTRLEN];
    std::string const address = ::inet_ntop(random() % 2 == 0 ? AF_INET : AF_INET6, bytes, text, sizeof text);
    return random() % 2 == 0 ? address : address + "/" + std::to_string(random() % 140);
}

constexpr std::pair<char, bool (IpAddress::*)() const> KINDS[] = {
    {'a', &IpAddress::isV4ClassA},    {'b', &IpAddress::isV4ClassB},     {'c', &IpAddress::isV4ClassC},
    {'d', &IpAddress::isV4ClassD},    {'e', &IpAddress::isV4ClassE},     {'A', &IpAddress::isV4ClassABC},
    {'l', &IpAddress::isLoopback},    {'g', &IpAddress::isV4LocalGroup}, {'D', &IpAddress::isDefGwType},
    {'n', &IpAddress::isNetType},     {'i', &IpAddress::isIfaceType},    {'s', &IpAddress::isValidSubnetMaskType},
    {'L', &IpAddress::isV4LimBcType}, {'B', &IpAddress::isV4DirBcType},  {'z', &IpAddress::isZeroHostAddress},
    {'h', &IpAddress::isHostType},    {'v', &IpAddress::isValidAddress}, {'u', &IpAddress::isV6UnicastOrAnycast},
    {'k', &IpAddress::isV6LinkLocal}, {'m', &IpAddress::isV6Multicast},
};

std::string kindsOf(IpAddress const& address)
{
    std::string letters;
    for (auto const& [letter, predicate] : KINDS)
        letters += (address.*predicate)() ? std::string(1, letter) : "";
    return letters;
}

/// The rules again, in numbers from 0 to 2^32 instead of bits; the hosts of the network are numbers next to each other.
std::string v4KindsOf(unsigned long long number, unsigned int size)
{
    auto const in = [&](unsigned long long first, unsigned long long last)
    { return number >> 24 >= first && number >> 24 <= last; };
    unsigned long long const all = 1ULL << 32, hosts = size <= 32 ? all >> size : all;
    unsigned long long const network = number / hosts;
    bool const first = number % hosts == 0, last = number % hosts == hosts - 1;
    bool const abc = in(0, 223), usable = in(1, 223);
    bool const within = usable && size >= 2 && size <= 30 && network != 0 && (network + 1) * hosts != all;
    bool const gateway = number == 0 && size == 0, host = usable && size == 32, limited = number == all - 1;
    return std::string(in(0, 127) ? "a" : "") + (in(128, 191) ? "b" : "") + (in(192, 223) ? "c" : "") +
           (in(224, 239) ? "d" : "") + (in(240, 255) ? "e" : "") + (abc ? "A" : "") + (in(127, 127) ? "l" : "") +
           (number >> 8 == 0xE00000 ? "g" : "") + (gateway ? "D" : "") + (gateway || (within && first) ? "n" : "") +
           (within && !first && !last ? "i" : "") + (gateway || (abc && first) ? "s" : "") + (limited ? "L" : "") +
           (within && last ? "B" : "") + (number == 0 && size == 32 ? "z" : "") + (host ? "h" : "") +
           (gateway || within || host || limited ? "v" : "");
}
}

TEST(IpAddress, KeepsTheFormThatDaemonsCopy)
{
    auto const words = [](IpAddress const& address)
    {
        unsigned int copy[6];
        static_assert(sizeof copy == sizeof address);
        std::memcpy(copy, static_cast<void const*>(&address), sizeof copy);
        return listed(copy[0], copy[1], copy[2], copy[3], copy[4], copy[5]);
    };
    IpAddress address("192.0.2.1/24");
    EXPECT_EQ(words(address), "1|3221225985|0|0|0|24");
    address.init();
    EXPECT_EQ(words(address), "0|0|0|0|0|4294967295");
    EXPECT_TRUE(address.isEmpty() && address == IpAddress::EMPTY() && !address.contains(address));
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString() += address.getNetMaskAsString(), "");
}

TEST(IpAddress, ReadsTheDialect)
{
    std::string const longest = "0000:0000:0000:0000:0000:0000:255.255.255.255";
    EXPECT_EQ(parsed("1.2.3.4") + parsed("::1") + parsed(longest), "1.2.3.4/32::1/128::255.255.255.255/128");
    std::istringstream good("1.2.3.4/24 0.0.0.0/32 0.0.0.0/0 255.255.255.255/1 ::1/128 ::/0 ::ffff:1.2.3.4/96");
    for (std::string text; good >> text;)
        EXPECT_EQ(parsed(text), text);
    std::istringstream bad(
        "1.2.3 1.2.3.4/ 1.2.3.4/33 1.2.3.4/024 1.2.3.4x 1.2.3.4: 01.2.3.4 1.2.3.256 1.2.3.1111 / /64 "
        "::/ ::/129 ::1/024 ::1/1111 ::1/64/64 ::1/6x ::1%eth0 [::1] 1.2.3.4/-1 1::2::3 12345:: ::/+1");
    for (std::string text; bad >> text;)
        EXPECT_EQ(parsed(text), "") << text;
    for (std::string const& text : {""s, " 1.2.3.4"s, "1.2.3.4 "s, "::/ 1"s, longest + "x", longest + "5/8",
                                    std::string(100000, ':'), "1.2.3.4\0"s, "::1\0"s, "::1\0/64"s, "::1/64\0"s})
        EXPECT_EQ(parsed(text), "") << text;
}

TEST(IpAddress, ReadsAndPrintsWhatTheSystemDoes)
{
    std::mt19937 random(81);
    std::string const letters = "0123456789.:/abfxF %-\0"s;
    int accepted = 0;
    for (int i = 0; i < 20000; i++)
    {
        std::string text = randomAddress(random);
        EXPECT_EQ(parsed(text), reference(text)) << text;
        for (unsigned int changes = random() % 3; changes > 0; changes--)
            text.replace(random() % (text.size() + 1), random() % 2, random() % 2, letters[random() % letters.size()]);
        std::string const expected = reference(text);
        ASSERT_EQ(parsed(text), expected) << text;
        accepted += expected.empty() ? 0 : 1;
    }
    EXPECT_TRUE(accepted > 5000 && accepted < 18000) << accepted;
}

TEST(IpAddress, AFailingSetterChangesNothing)
{
    IpAddress address("192.0.2.1/24");
    EXPECT_TRUE(address.setIpAddrAsString("::1/129").isErr() && address.setIpAddrAsString("1.2.3.4/33").isErr());
    EXPECT_TRUE(address.setNetMaskSize(33).isErr() && address.setV4NetMaskAsBinaryUInt32(0xFF00FF00).isErr());
    EXPECT_TRUE(address.setV6NetMaskAsBinaryString(bytesOf("ffff::1")).isErr());
    for (char const* mask : {"", "255.0.255.0", "255.255.255.0x", "255.255.255.00", "ffff::1", "ffff::/16", "24"})
        EXPECT_TRUE(address.setNetMaskAsString(mask).isErr()) << mask;
    EXPECT_EQ(address, IpAddress("192.0.2.1/24"));
    EXPECT_TRUE(IpAddress("192.0.2.1", "255.0.255.0").isEmpty() && IpAddress("192.0.2", "255.0.0.0").isEmpty());
    EXPECT_TRUE(IpAddress(0xC0000201, 0xFF00FF00).isEmpty() && IpAddress(0xC0000201, 33).isEmpty());
    EXPECT_TRUE(IpAddress(bytesOf("::1"), 129).isEmpty() && IpAddress(bytesOf("::1"), bytesOf("::1")).isEmpty());
}

TEST(IpAddress, MasksOfEverySizeComeBackFromEachForm)
{
    Ipv6Address const bytes = bytesOf("1234:5678:9abc:def0:fedc:ba98:7654:3210");
    for (unsigned int size = 0; size <= 128; size++)
    {
        auto const mask = static_cast<unsigned int>(0xFFFFFFFF00000000 >> std::min(size, 32u));
        IpAddress const v4(0xC0A8FFFE, size <= 32 ? size : mask), v6(bytes, size);
        EXPECT_EQ(v4.getV4NetMaskAsBinaryUInt32(), mask);
        EXPECT_EQ(v4.getV4NetAddrAsBinaryUInt32(), 0xC0A8FFFE & mask);
        EXPECT_EQ(IpAddress(0xC0A8FFFE, mask), v4);
        EXPECT_EQ(IpAddress("192.168.255.254", v4.getNetMaskAsString()), v4);

        Ipv6Address v6Mask, network;
        v6.getV6NetMaskAsBinaryString(v6Mask);
        v6.getV6NetAddrAsBinaryString(network);
        EXPECT_EQ(IpAddress(bytes, v6Mask), v6);
        EXPECT_EQ(IpAddress("1234:5678:9abc:def0:fedc:ba98:7654:3210", v6.getNetMaskAsString()), v6);
        for (unsigned int bit = 0; bit < 128; bit++)
            ASSERT_EQ((network.bytes[bit / 8] ^ (bit < size ? bytes.bytes[bit / 8] : 0)) >> (7 - bit % 8) & 1, 0);
    }
}

TEST(IpAddress, SettersLeaveTheOtherFieldsAlone)
{
    IpAddress address;
    address.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "192.0.2.1/4294967295");
    EXPECT_EQ(address.getNetMaskAsString(), "0.0.0.0");
    EXPECT_EQ(address.embedIntoV6().getIpAddrAndMaskSizeAsString(), "::192.0.2.1/95");
    EXPECT_EQ(address.setNetMaskSize(0), XCODE_SUCCESS);
    EXPECT_EQ(address.embedIntoV6(), IpAddress("::192.0.2.1/96"));
    EXPECT_EQ(address.setNetMaskAsString("255.255.255.0"), XCODE_SUCCESS);
    EXPECT_EQ(address, IpAddress("192.0.2.1/24"));
    address.setV6IpAddrAsBinaryString(bytesOf("::1"));
    EXPECT_EQ(address.embedIntoV6(), IpAddress("::1/24"));
    EXPECT_EQ(address.setNetMaskSize(33), XCODE_SUCCESS);
    EXPECT_EQ(address.setV4NetMaskAsBinaryUInt32(0xFFFF0000), XCODE_SUCCESS);
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "0.0.0.0/16") << "the mask takes its family along";
    address.init();
    address.setV6IpAddrAsBinaryString(bytesOf("2001:db8::1"));
    EXPECT_EQ(address.getNetAddressAsString(), "2001:db8::1");
    EXPECT_EQ(address.getV4IpAddrAsBinaryUInt32(), 0x20010db8u);
    EXPECT_EQ(kindsOf(address), "nisv");
}

TEST(IpAddress, EqualityAndContainmentLookAtWhatTheyShould)
{
    EXPECT_TRUE(IpAddress("192.0.2.1/24") != IpAddress("192.0.2.1") && IpAddress("0.0.0.0/32") != IpAddress("::/32"));
    EXPECT_TRUE(IpAddress("192.0.2.1") != IpAddress("192.0.2.2") && IpAddress("::1") != IpAddress("::2"));
    IpAddress reused("2001:db8::1/32");
    reused.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(reused, IpAddress("192.0.2.1")) << "bytes behind an IPv4 address don't count";

    auto const contains = [](char const* network, char const* other)
    { return IpAddress(network).contains(IpAddress(other)); };
    EXPECT_TRUE(contains("192.0.2.0/24", "192.0.2.255/8") && !contains("192.0.2.0/24", "192.0.3.0"));
    EXPECT_TRUE(contains("2001:db8::/65", "2001:db8::7fff:0:0:1") &&
                !contains("2001:db8::/65", "2001:db8::8000:0:0:1"));
    EXPECT_TRUE(contains("32.1.13.0/24", "2001:dff::1") && contains("2001:db8::/32", "32.1.13.184")) << "first words";
    EXPECT_TRUE(contains("0.0.0.0/0", "") && contains("::/0", "ff02::1") && !contains("::/1", "ff02::1"));
}

TEST(IpAddress, KindsEndWhereTheirRangesDo)
{
    for (unsigned int start : {0u, 0x01000000u, 0x0A000000u, 0x40000000u, 0x7F000000u, 0x80000000u, 0xBFFFFF00u,
                               0xC0000000u, 0xC0000200u, 0xE0000000u, 0xE0000100u, 0xF0000000u, 0xFFFFFF00u})
        for (unsigned int size : {0u, 1u, 2u, 3u, 7u, 8u, 9u, 23u, 24u, 29u, 30u, 31u, 32u, 0xFFFFFFFFu})
            for (unsigned int offset : {0u, 0xFFu, 0xFFFFFFu, 0x3FFFFFFFu})
                for (unsigned int number = start + offset - 5; number != start + offset + 6; number++)
                {
                    IpAddress address;
                    address.setV4IpAddrAsBinaryUInt32(number);
                    address.setNetMaskSize(size);
                    ASSERT_EQ(kindsOf(address), v4KindsOf(number, size))
                        << address.getIpAddrAndMaskSizeAsString().c_str();
                }
    std::istringstream table(
        "::1 lnishvu ::1/64 lv ::2 nishvu 1::1 nishvu :: niszhvu ::/0 Dnisv ::/1 nisv ::1/0 lv 2001:db8::/32 nisv "
        "2001:db9::/31 v fe7f:ffff:: nishvu fe80::1 nishvuk febf:ffff:: nishvuk fec0::1 nishvu fe80::1/10 v "
        "ff00::1 nisvm ff00:0:1:: nisvm ff00:1:: nishvu ff02::1 nishvu ff00::/16 nisv 7f00:1:: nishvu");
    for (std::string text, kinds; table >> text >> kinds;)
        EXPECT_EQ(kindsOf(IpAddress(text.c_str())), kinds) << text;
}

TEST(IpAddress, NumbersAreReadInPieces)
{
    auto const read = [](char const* text, int digits, unsigned int maximum, int position)
    {
        unsigned int value = 77;
        bool const result = IpAddress::s_getNumberOfString(text, digits, maximum, position, value);
        return listed(result, position, value);
    };
    EXPECT_EQ(listed(read("1234", 3, 255, 0), read("010", 3, 255, 0), read("a7", 3, 255, 1), read("99", 3, 50, 0)),
              "true|3|123|true|1|0|true|2|7|true|2|99");
    EXPECT_EQ(listed(read("256", 3, 255, 0), read("x", 3, 255, 0), read("7", 3, 255, -1), read("7", 3, 255, 5)),
              "false|3|256|false|0|0|false|-1|0|false|5|0");
    int position = 1;
    EXPECT_TRUE(IpAddress::s_getCharOfString("ab", position, 'b') && position == 2);
    EXPECT_FALSE(IpAddress::s_getCharOfString("ab", position, 'b') || position != 2);
}

TEST(IpAddress, PortsStandBehindAddresses)
{
    EXPECT_EQ(listed(hostPortStr(IpAddress("192.0.2.1/24"), 80), hostPortStr(IpAddress("2001:db8::1"), 65535),
                     hostPortStr(0xC0000201u, 4294967295u), hostPortStr(bytesOf("::1"), 1),
                     hostPortStr(String("10.0.0.1"), 8), hostPortStr("::1", 0), hostPortStr("bad", 80)),
              "192.0.2.1:80|[2001:db8::1]:65535|192.0.2.1:4294967295|[::1]:1|10.0.0.1:8|::1|:80");
}
