#include "zekovar/net/ip_address.h"

#include "tests/string_printer.h"
#include "zekovar/foundation/xcode.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <random>
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
    return size <= longest && prefix == std::to_string(size)
               ? ::inet_ntop(family, bytes, printed, sizeof printed) + ("/" + prefix)
               : "";
}

std::string parsed(std::string const& text)
{
    return IpAddress(String(text.data(), static_cast<int>(text.size()), 0, static_cast<int>(text.size())))
        .getIpAddrAndMaskSizeAsString()
        .c_str();
}

std::string randomAddress(std::mt19937& random)
{
    unsigned char bytes[16];
    for (unsigned char& byte : bytes)
        byte = random() % 2 == 0 ? 0 : static_cast<unsigned char>(random());
    int const family = random() % 2 == 0 ? AF_INET : AF_INET6;
    char text[INET6_ADDRSTRLEN];
    std::string const address = ::inet_ntop(family, bytes, text, sizeof text);
    return random() % 2 == 0 ? address : address + "/" + std::to_string(random() % 140);
}
}

TEST(IpAddress, EmptyOnesAreZeroWithoutMask)
{
    IpAddress address("192.0.2.1/24");
    address.init();
    EXPECT_TRUE(address.isEmpty() && address == IpAddress::EMPTY() && &IpAddress::EMPTY() == &IpAddress::EMPTY());
    EXPECT_EQ(std::memcmp(&address.getV6IpAddrAsBinaryString(), &in6addr_any, 16), 0);
    EXPECT_EQ(address.getNetMaskSize(), 0xFFFFFFFFu);
    EXPECT_EQ(listed(address.getIpAddrAsString(), address.getIpAddrAndMaskSizeAsString(),
                     address.getNetAddressAsString(), address.getNetMaskAsString()),
              "|||");
    EXPECT_TRUE(address.setNetMaskSize(0).isErr());
    EXPECT_FALSE(address.contains(address) || address.isValidAddress());
}

TEST(IpAddress, KeepsTheFormThatDaemonsCopy)
{
    struct
    {
        unsigned int family;
        unsigned int word;
        unsigned char rest[12];
        unsigned int maskSize;
    } fields;

    IpAddress const address("192.0.2.1/24");
    static_assert(sizeof fields == sizeof address);
    std::memcpy(static_cast<void*>(&fields), &address, sizeof fields);
    EXPECT_EQ(listed(fields.family, fields.word, fields.maskSize), listed(1u, 0xC0000201u, 24u));
}

TEST(IpAddress, ReadsTheDialect)
{
    for (char const* text : {"1.2.3.4/24", "0.0.0.0/32", "0.0.0.0/0", "255.255.255.255/1", "::1/128", "::/0",
                             "2001:db8::1/64", "::ffff:1.2.3.4/96"})
        EXPECT_EQ(parsed(text), text);
    EXPECT_EQ(parsed("1.2.3.4") + parsed("::1"), "1.2.3.4/32::1/128");
    for (char const* text :
         {"",          "1.2.3",      "1.2.3.4/",   "1.2.3.4/33", "1.2.3.4/024", "1.2.3.4x", "1.2.3.4:",   "01.2.3.4",
          "1.2.3.256", "1.2.3.1111", " 1.2.3.4",   "1.2.3.4 ",   "/",           "/64",      "::/",        "::/129",
          "::1/024",   "::1/1111",   "::1/64/64",  "::1/6x",     "::1%eth0",    "[::1]",    "1.2.3.4/-1", "::/ 1",
          "1::2::3",   "0x1.2.3.4",  "::1.2.3.04", "12345::",    "1.2.3.4/2/2", "::/+1"})
        EXPECT_EQ(parsed(text), "") << text;
    for (std::string const& text : {"1.2.3.4\0"s, "::1\0"s, "::1\0/64"s, "::1/64\0"s, "1.2.3.4/2\0"s, "::1\0x"s})
        EXPECT_EQ(parsed(text), "") << "a zero is no end";
    EXPECT_EQ(parsed(std::string(100000, ':')), "");
}

TEST(IpAddress, ReadsAndPrintsWhatTheSystemDoes)
{
    std::mt19937 random(81);
    std::string const letters = "0123456789.:/abfxF %-\0"s + "100";
    int accepted = 0;
    for (int i = 0; i < 40000; i++)
    {
        std::string text = randomAddress(random);
        EXPECT_EQ(parsed(text), reference(text)) << text;
        for (unsigned int changes = random() % 3; changes > 0; changes--)
            text.replace(random() % (text.size() + 1), random() % 2, random() % 2, letters[random() % letters.size()]);
        std::string const expected = reference(text);
        ASSERT_EQ(parsed(text), expected) << text;
        accepted += expected.empty() ? 0 : 1;
    }
    EXPECT_GT(accepted, 10000);
    EXPECT_LT(accepted, 35000);
}

TEST(IpAddress, AFailingSetterChangesNothing)
{
    IpAddress address("192.0.2.1/24");
    IpAddress const before(address);
    EXPECT_EQ(address.setIpAddrAsString("::1/129"), XCODE_FAILURE);
    EXPECT_EQ(address.setIpAddrAsString("1.2.3.4/33"), XCODE_FAILURE);
    EXPECT_EQ(address.setNetMaskSize(33), XCODE_FAILURE);
    EXPECT_EQ(address.setV4NetMaskAsBinaryUInt32(0xFF00FF00), XCODE_FAILURE);
    EXPECT_EQ(address.setV6NetMaskAsBinaryString(bytesOf("ffff::1")), XCODE_FAILURE);
    for (char const* mask : {"", "255.0.255.0", "255.255.255.0x", "255.255.255.00", "ffff::1", "ffff::/16", "24"})
        EXPECT_EQ(address.setNetMaskAsString(mask), XCODE_FAILURE) << mask;
    EXPECT_EQ(address, before);
    EXPECT_TRUE(IpAddress("192.0.2.1", "255.0.255.0").isEmpty() && IpAddress("192.0.2", "255.0.0.0").isEmpty());
    EXPECT_TRUE(IpAddress(0xC0000201, 0xFF00FF00).isEmpty() && IpAddress(0xC0000201, 33).isEmpty());
    EXPECT_TRUE(IpAddress(bytesOf("::1"), 129).isEmpty() && IpAddress(bytesOf("::1"), bytesOf("::1")).isEmpty());
}

TEST(IpAddress, MasksOfEverySizeComeBackFromEachForm)
{
    for (unsigned int size = 0; size <= 32; size++)
    {
        IpAddress const address(0xC0A8FFFE, size);
        auto const mask = static_cast<unsigned int>(0xFFFFFFFF00000000 >> size);
        EXPECT_EQ(address.getV4NetMaskAsBinaryUInt32(), mask);
        EXPECT_EQ(address.getV4NetAddrAsBinaryUInt32(), 0xC0A8FFFE & mask);
        EXPECT_EQ(IpAddress("192.168.255.254", address.getNetMaskAsString()), address);
        EXPECT_EQ(IpAddress(0xC0A8FFFE, mask), address);
    }
    Ipv6Address const bytes = bytesOf("1234:5678:9abc:def0:fedc:ba98:7654:3210");
    for (unsigned int size = 0; size <= 128; size++)
    {
        IpAddress const address(bytes, size);
        Ipv6Address mask, network;
        address.getV6NetMaskAsBinaryString(mask);
        address.getV6NetAddrAsBinaryString(network);
        EXPECT_EQ(IpAddress(bytes, mask), address);
        EXPECT_EQ(IpAddress(bytes, 0).setNetMaskAsString(address.getNetMaskAsString()), XCODE_SUCCESS);
        for (unsigned int bit = 0; bit < 128; bit++)
        {
            unsigned int const own = bytes.bytes[bit / 8] >> (7 - bit % 8) & 1;
            ASSERT_EQ(mask.bytes[bit / 8] >> (7 - bit % 8) & 1, bit < size ? 1 : 0);
            ASSERT_EQ(network.bytes[bit / 8] >> (7 - bit % 8) & 1, bit < size ? static_cast<int>(own) : 0);
        }
    }
    EXPECT_EQ(listed(IpAddress("10.1.2.3/8").getNetAddressAsString(), IpAddress("10.1.2.3/8").getNetMaskAsString(),
                     IpAddress("2001:db8::1/32").getNetAddressAsString(),
                     IpAddress("2001:db8::1/32").getNetMaskAsString()),
              "10.0.0.0|255.0.0.0|2001:db8::|ffff:ffff::");
}

TEST(IpAddress, SettersLeaveTheOtherFieldsAlone)
{
    IpAddress address;
    address.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "192.0.2.1/4294967295");
    EXPECT_EQ(address.getNetMaskAsString(), "0.0.0.0");
    EXPECT_FALSE(address.isHostType());
    EXPECT_EQ(address.setNetMaskSize(0), XCODE_SUCCESS);
    EXPECT_EQ(address.setNetMaskAsString("255.255.255.0"), XCODE_SUCCESS);
    EXPECT_EQ(address, IpAddress("192.0.2.1/24"));

    address.setV6IpAddrAsBinaryString(bytesOf("::1"));
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "::1/24");
    EXPECT_EQ(address.setNetMaskSize(33), XCODE_SUCCESS);
    EXPECT_EQ(address.setV4NetMaskAsBinaryUInt32(0xFFFF0000), XCODE_SUCCESS);
    EXPECT_EQ(address.getIpAddrAndMaskSizeAsString(), "0.0.0.0/16") << "the mask takes its family along";

    IpAddress unset;
    unset.setV6IpAddrAsBinaryString(bytesOf("2001:db8::1"));
    EXPECT_EQ(unset.getNetAddressAsString(), "2001:db8::1");
    EXPECT_EQ(unset.getV4IpAddrAsBinaryUInt32(), 0x20010db8u);
}

TEST(IpAddress, EqualityAndContainmentLookAtWhatTheyShould)
{
    EXPECT_EQ(IpAddress(0xC0000201, 24), IpAddress(0xC0000201, 0xFFFFFF00));
    EXPECT_NE(IpAddress("192.0.2.1/24"), IpAddress("192.0.2.1"));
    EXPECT_NE(IpAddress("192.0.2.1"), IpAddress("192.0.2.2"));
    EXPECT_NE(IpAddress("::1"), IpAddress("::2"));
    EXPECT_NE(IpAddress("0.0.0.0/32"), IpAddress("::/32"));
    IpAddress reused("2001:db8::1/32");
    reused.setV4IpAddrAsBinaryUInt32(0xC0000201);
    EXPECT_EQ(reused, IpAddress("192.0.2.1")) << "bytes behind an IPv4 address don't count";

    EXPECT_TRUE(IpAddress("192.0.2.0/24").contains(IpAddress("192.0.2.255/8")));
    EXPECT_FALSE(IpAddress("192.0.2.0/24").contains(IpAddress("192.0.3.0")));
    EXPECT_TRUE(IpAddress("0.0.0.0/0").contains(IpAddress::EMPTY()));
    EXPECT_TRUE(IpAddress("32.1.13.0/24").contains(IpAddress("2001:dff::1"))) << "the first word, whatever the family";
    EXPECT_TRUE(IpAddress("2001:db8::/32").contains(IpAddress("32.1.13.184")));
    EXPECT_TRUE(IpAddress("2001:db8::/65").contains(IpAddress("2001:db8::7fff:0:0:1")));
    EXPECT_FALSE(IpAddress("2001:db8::/65").contains(IpAddress("2001:db8::8000:0:0:1")));
    EXPECT_TRUE(IpAddress("::/0").contains(IpAddress("ff02::1")));
}

TEST(IpAddress, EmbedsInTheCompatibleForm)
{
    EXPECT_EQ(IpAddress("192.0.2.1/24").embedIntoV6(), IpAddress("::192.0.2.1/120"));
    EXPECT_EQ(IpAddress("2001:db8::1/64").embedIntoV6(), IpAddress("2001:db8::1/64"));
    EXPECT_EQ(IpAddress().embedIntoV6(), IpAddress());
    IpAddress unset;
    unset.setV4IpAddrAsBinaryUInt32(1);
    EXPECT_EQ(unset.embedIntoV6().getNetMaskSize(), 95u);
}

// The rules again, in numbers from 0 to 2^32 instead of bits.
TEST(IpAddress, KindsOfV4AddressesEndWhereTheirRangesDo)
{
    using Number = unsigned long long;
    auto const in = [](Number number, char const* first, char const* last)
    { return number >= ntohl(::inet_addr(first)) && number <= ntohl(::inet_addr(last)); };
    unsigned int const starts[] = {0x01000000, 0x0A000000, 0x40000000, 0x7F000000, 0x80000000, 0xBFFFFF00,
                                   0xC0000000, 0xC0000200, 0xE0000000, 0xE0000100, 0xF0000000, 0xFFFFFF00};
    for (unsigned int start : starts)
        for (unsigned int size : {0u, 1u, 2u, 3u, 7u, 8u, 9u, 23u, 24u, 29u, 30u, 31u, 32u, 0xFFFFFFFFu})
            for (int step = -5; step <= 5; step++)
                for (unsigned int offset : {0u, 0xFFu, 0xFFFFFFu, 0x3FFFFFFFu})
                {
                    Number const number = static_cast<unsigned int>(start + offset + static_cast<unsigned int>(step));
                    IpAddress address(static_cast<unsigned int>(number), 0u);
                    if (size <= 32)
                        address.setNetMaskSize(size);
                    else
                        (address.init(), address.setV4IpAddrAsBinaryUInt32(static_cast<unsigned int>(number)));

                    Number const hosts = Number{1} << (size <= 32 ? 32 - size : 32);
                    Number const network = number / hosts;
                    bool const first = number % hosts == 0, last = number % hosts == hosts - 1;
                    bool const abc = in(number, "0.0.0.0", "223.255.255.255");
                    bool const usable = abc && number >= 1 << 24;
                    bool const within =
                        usable && size >= 2 && size <= 30 && network != 0 && (network + 1) * hosts != Number{1} << 32;
                    bool const gateway = number == 0 && size == 0;
                    bool const host = usable && size == 32, limited = number == 0xFFFFFFFF;
                    auto const expected = listed(
                        in(number, "0.0.0.0", "127.255.255.255"), in(number, "128.0.0.0", "191.255.255.255"),
                        in(number, "192.0.0.0", "223.255.255.255"), in(number, "224.0.0.0", "239.255.255.255"),
                        in(number, "240.0.0.0", "255.255.255.255"), abc, in(number, "127.0.0.0", "127.255.255.255"),
                        in(number, "224.0.0.0", "224.0.0.255"), gateway, number == 0 && size == 32,
                        gateway || (within && first), gateway || (abc && first), within && !first && !last, limited,
                        within && last, host, gateway || within || host || limited);
                    ASSERT_EQ(listed(address.isV4ClassA(), address.isV4ClassB(), address.isV4ClassC(),
                                     address.isV4ClassD(), address.isV4ClassE(), address.isV4ClassABC(),
                                     address.isLoopback(), address.isV4LocalGroup(), address.isDefGwType(),
                                     address.isZeroHostAddress(), address.isNetType(), address.isValidSubnetMaskType(),
                                     address.isIfaceType(), address.isV4LimBcType(), address.isV4DirBcType(),
                                     address.isHostType(), address.isValidAddress()),
                              expected)
                        << address.getIpAddrAndMaskSizeAsString().c_str();
                    ASSERT_FALSE(address.isV6UnicastOrAnycast() || address.isV6LinkLocal() || address.isV6Multicast());
                }
}

TEST(IpAddress, KindsOfV6Addresses)
{
    auto const kinds = [](IpAddress const& address)
    {
        std::string letters;
        auto const add = [&](char letter, bool is) { letters += is ? std::string(1, letter) : ""; };
        add('l', address.isLoopback());
        add('d', address.isDefGwType());
        add('z', address.isZeroHostAddress());
        add('n', address.isNetType() && address.isValidSubnetMaskType() && address.isIfaceType());
        add('u', address.isV6UnicastOrAnycast() && address.isHostType());
        add('k', address.isV6LinkLocal());
        add('m', address.isV6Multicast());
        bool const v4 = address.isV4ClassA() || address.isV4ClassB() || address.isV4ClassC() || address.isV4ClassD() ||
                        address.isV4ClassE() || address.isV4ClassABC() || address.isV4LocalGroup() ||
                        address.isV4LimBcType() || address.isV4DirBcType();
        add('?', v4 || !address.isValidAddress());
        return letters;
    };
    std::pair<char const*, char const*> const table[] = {
        {"::1", "lnu"},     {"::1/64", "l"},    {"::2", "nu"},        {"1::1", "nu"},         {"::", "znu"},
        {"::/0", "dn"},     {"::/1", "n"},      {"::1/0", "l"},       {"2001:db8::/32", "n"}, {"2001:db9::/31", ""},
        {"fe7f::1", "nu"},  {"fe80::1", "nuk"}, {"febf::1", "nuk"},   {"fec0::1", "nu"},      {"fe80::1/10", ""},
        {"fe80::/10", "n"}, {"ff00::1", "nm"},  {"ff00:0:1::", "nm"}, {"ff02::1", "nu"},      {"feff:ffff::", "nu"},
        {"ff00:1::", "nu"}, {"ff00::/16", "n"}, {"7f00:1::", "nu"},   {"e000:1::", "nu"},     {"::7f00:1", "nu"}};
    for (auto const& [text, expected] : table)
    {
        EXPECT_EQ(kinds(IpAddress(text)), expected) << text;
    }
    IpAddress unset;
    unset.setV6IpAddrAsBinaryString(bytesOf("fe80::1"));
    EXPECT_EQ(kinds(unset), "n");
}

TEST(IpAddress, NumbersAreReadInPieces)
{
    struct Row
    {
        char const* text;
        int digits, from;
        unsigned int maximum;
        bool result;
        int position;
        unsigned int value;
    };

    for (Row const& row :
         {Row{"123x", 3, 0, 255, true, 3, 123}, Row{"1234", 3, 0, 255, true, 3, 123},
          Row{"256", 3, 0, 255, false, 3, 256}, Row{"010", 3, 0, 255, true, 1, 0}, Row{"x", 3, 0, 255, false, 0, 0},
          Row{"a7", 3, 1, 255, true, 2, 7}, Row{"7", 3, -1, 255, false, -1, 0}, Row{"7", 3, 5, 255, false, 5, 0},
          Row{"99", 3, 0, 50, true, 2, 99}, Row{"99", 2, 0, 50, false, 2, 99}})
    {
        int position = row.from;
        unsigned int value = 77;
        bool const result = IpAddress::s_getNumberOfString(row.text, row.digits, row.maximum, position, value);
        EXPECT_EQ(listed(result, position, value), listed(row.result, row.position, row.value)) << row.text;
    }
    int position = 1;
    EXPECT_TRUE(IpAddress::s_getCharOfString("ab", position, 'b') && position == 2);
    EXPECT_FALSE(IpAddress::s_getCharOfString("ab", position, 'b') || position != 2);
    EXPECT_TRUE(IpAddress::s_getCharOfString("ab", position, '\0')) << "outside stands the character 0";
    unsigned int size = 7;
    EXPECT_TRUE(IpAddress::s_isV4MaskValid(0, size) && size == 0);
    EXPECT_FALSE(IpAddress::s_isV4MaskValid(0xF0000001, size) || size != 4);
    EXPECT_FALSE(IpAddress::s_isV6MaskValid(bytesOf("ffff:fff0:0:1::"), size));
}

TEST(IpAddress, PortsStandBehindAddresses)
{
    EXPECT_EQ(listed(hostPortStr(IpAddress("192.0.2.1/24"), 80), hostPortStr(IpAddress("2001:db8::1"), 65535),
                     hostPortStr(0xC0000201u, 4294967295u), hostPortStr(bytesOf("::1"), 1),
                     hostPortStr(String("10.0.0.1"), 8), hostPortStr("::1", 8)),
              "192.0.2.1:80|[2001:db8::1]:65535|192.0.2.1:4294967295|[::1]:1|10.0.0.1:8|[::1]:8");
    EXPECT_EQ(listed(hostPortStr("bad", 80), hostPortStr(String("bad"), 0), hostPortStr("::1", 0)), ":80||::1");
}
