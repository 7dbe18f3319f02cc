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
}

TEST(IpAddress, ReadsTheDialect)
{
    std::string const longest = "0000:0000:0000:0000:0000:0000:255.255.255.255";
    EXPECT_EQ(parsed("1.2.3.4") + parsed("::1") + parsed(longest), "1.2.3.4/32::1/128::255.255.255.255/128");
    for (char const* text : {"1.2.3.4/24", "0.0.0.0/0", "255.255.255.255/1", "::/0", "::ffff:1.2.3.4/96"})
        EXPECT_EQ(parsed(text), text);
    std::istringstream bad("1.2.3.4/ 1.2.3.4/33 1.2.3.4/024 1.2.3.4x 1.2.3.4: 01.2.3.4 1.2.3.256 1.2.3.1111 / /64 ::/ "
                           "::/129 ::1/024 ::1/1111 ::1/64/64 ::1%eth0 [::1] 1.2.3.4/-1 12345::");
    for (std::string text; bad >> text;)
        EXPECT_EQ(parsed(text), "") << text;
    for (std::string const& text :
         {""s, " 1.2.3.4"s, "1.2.3.4 "s, longest + "x", longest + "5/8", "1.2.3.4\0"s, "::1\0"s, "::1\0/64"s})
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
        EXPECT_EQ(v4.getV4NetAddrAsBinaryUInt32(), 0xC0A8FFFE & mask);
        EXPECT_EQ(IpAddress(0xC0A8FFFE, mask), v4);
        EXPECT_EQ(IpAddress("192.168.255.254", v4.getNetMaskAsString()), v4);

        Ipv6Address v6Mask, network;
        v6.getV6NetMaskAsBinaryString(v6Mask);
        v6.getV6NetAddrAsBinaryString(network);
        EXPECT_EQ(IpAddress(bytes, v6Mask), v6);
        for (unsigned int bit = 0; bit < 128; bit++)
            ASSERT_EQ((network.bytes[bit / 8] ^ (bit < size ? bytes.bytes[bit / 8] : 0)) >> (7 - bit % 8) & 1, 0);
    }
}

TEST(IpAddress, SettersLeaveTheOtherFieldsAlone)
{
    IpAddress address;
    address.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(listed(address.getIpAddrAndMaskSizeAsString(), address.getNetMaskAsString()),
              "192.0.2.1/4294967295|0.0.0.0");
    EXPECT_TRUE(address.setNetMaskSize(0) && address.embedIntoV6() == IpAddress("::192.0.2.1/96"));
    EXPECT_TRUE(address.setNetMaskAsString("255.255.255.0") && address == IpAddress("192.0.2.1/24"));
    address.setV6IpAddrAsBinaryString(bytesOf("::1"));
    EXPECT_EQ(address.embedIntoV6(), IpAddress("::1/24"));
    EXPECT_TRUE(address.setNetMaskSize(33) && address.setV4NetMaskAsBinaryUInt32(0xFFFF0000));
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "0.0.0.0/16") << "the mask takes its family along";
    address.init();
    EXPECT_TRUE(address.isEmpty() && address == IpAddress::EMPTY() && !address.contains(address));
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString() += address.getNetMaskAsString(), "");
    address.setV6IpAddrAsBinaryString(bytesOf("2001:db8::1"));
    EXPECT_EQ(listed(address.getNetAddressAsString(), address.getV4IpAddrAsBinaryUInt32()), "2001:db8::1|536939960");
}

TEST(IpAddress, EqualityAndContainmentLookAtWhatTheyShould)
{
    EXPECT_TRUE(IpAddress("192.0.2.1/24") != IpAddress("192.0.2.1") && IpAddress("0.0.0.0/32") != IpAddress("::/32"));
    IpAddress reused("2001:db8::1/32");
    reused.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(reused, IpAddress("192.0.2.1")) << "bytes behind an IPv4 address don't count";

    auto const contains = [](char const* network, char const* other)
    { return IpAddress(network).contains(IpAddress(other)); };
    EXPECT_TRUE(contains("192.0.2.0/24", "192.0.2.255/8") && !contains("192.0.2.0/24", "192.0.3.0"));
    EXPECT_TRUE(contains("2001:db8::/65", "2001:db8::1:0:0:1") && !contains("2001:db8::/65", "2001:db8::8000:0:0:1"));
    EXPECT_TRUE(contains("32.1.13.0/24", "2001:dff::1") && contains("2001:db8::/32", "32.1.13.184")) << "first words";
    EXPECT_TRUE(contains("0.0.0.0/0", "") && contains("::/0", "ff02::1") && !contains("::/1", "ff02::1"));
}

TEST(IpAddress, KindsEndWhereTheirRangesDo)
{
    std::istringstream table(
        "0.0.0.0/0 aADnsv 0.0.0.0/1 aAs 0.0.0.0/8 aAs 0.0.0.0/32 aAsz 0.0.0.1/0 aA 0.255.255.255/8 aA "
        "0.255.255.255/32 aAs 1.0.0.0/1 aA 1.0.0.0/2 aA 1.0.0.0/8 aAnsv 1.0.0.0/30 aAnsv 1.0.0.0/31 aAs "
        "1.0.0.0/32 aAshv 1.0.0.1/30 aAiv 1.0.0.3/30 aABv 1.0.0.1/31 aA 10.0.0.1/8 aAiv 10.255.255.254/8 aAiv "
        "10.255.255.255/8 aABv 63.255.255.255/2 aA 64.0.0.0/1 aA 64.0.0.0/2 aAnsv 64.0.0.1/2 aAiv "
        "126.255.255.255/32 aAshv 127.0.0.0/8 aAlnsv 127.255.255.255/2 aAlBv 128.0.0.0/1 bAs 128.0.0.0/2 bAnsv "
        "191.255.255.255/2 bABv 192.0.0.0/2 cAs 192.0.0.1/2 cA 192.0.0.0/3 cAnsv 223.255.255.254/24 cAiv "
        "223.255.255.255/3 cABv 223.255.255.255/32 cAshv 224.0.0.0/24 dg 224.0.0.255/32 dg 224.0.1.0/24 d "
        "239.255.255.255/32 d 240.0.0.0/4 e 255.255.255.254/32 e 255.255.255.255/0 eLv "
        "::1 lnishvu ::1/64 lv ::2 nishvu 1::1 nishvu :: niszhvu ::/0 Dnisv ::/1 nisv ::1/0 lv 2001:db8::/32 nisv "
        "2001:db9::/31 v fe7f:ffff:: nishvu fe80::1 nishvuk febf:ffff:: nishvuk fec0::1 nishvu fe80::1/10 v "
        "ff00::1 nisvm ff00:0:1:: nisvm ff00:1:: nishvu ff02::1 nishvu ff00::/16 nisv 7f00:1:: nishvu");
    for (std::string text, kinds; table >> text >> kinds;)
        EXPECT_EQ(kindsOf(IpAddress(text.c_str())), kinds) << text;
    IpAddress unset;
    unset.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(kindsOf(unset), "cA");
}

TEST(IpAddress, NumbersAreReadInPieces)
{
    auto const read = [](char const* text, int position)
    {
        unsigned int value = 77;
        bool const result = IpAddress::s_getNumberOfString(text, 3, 255, position, value);
        return listed(result, position, value);
    };
    EXPECT_EQ(listed(read("1234", 0), read("010", 0), read("a7", 1)), "true|3|123|true|1|0|true|2|7");
    EXPECT_EQ(listed(read("256", 0), read("x", 0), read("7", -1), read("7", 5)),
              "false|3|256|false|0|0|false|-1|0|false|5|0");
    int position = 1;
    EXPECT_TRUE(IpAddress::s_getCharOfString("ab", position, 'b') && position == 2);
    EXPECT_FALSE(IpAddress::s_getCharOfString("ab", position, 'b') || position != 2);
}

TEST(IpAddress, PortsStandBehindAddresses)
{
    EXPECT_EQ(listed(hostPortStr(IpAddress("2001:db8::1"), 65535), hostPortStr(0xC0000201u, 4294967295u),
                     hostPortStr(bytesOf("::1"), 1), hostPortStr("::1", 0), hostPortStr(String("bad"), 80)),
              "[2001:db8::1]:65535|192.0.2.1:4294967295|[::1]:1|::1|:80");
}
