// Any text is read as inet_pton and the rules for prefixes say, and what is printed reads back as the same address.

#include "zekovar/net/ip_address.h"
#include "zekovar/net/mac_address.h"

#include "zekovar/foundation/xcode.h"

#include <arpa/inet.h>

#include <string>

namespace
{
void require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

bool isAddress(std::string const& text)
{
    std::size_t const slash = text.find('/');
    std::string const head = text.substr(0, slash);
    if (head.find('\0') != std::string::npos)
        return false;
    unsigned char bytes[16];
    bool const v4 = ::inet_pton(AF_INET, head.c_str(), bytes) == 1;
    if (!v4 && ::inet_pton(AF_INET6, head.c_str(), bytes) != 1)
        return false;
    if (slash == std::string::npos)
        return true;
    unsigned long const size = std::strtoul(text.c_str() + slash + 1, nullptr, 10);
    return size <= (v4 ? 32 : 128) && text.substr(slash + 1) == std::to_string(size);
}

void checkForms(IpAddress const& address)
{
    require(IpAddress(address.getIpAddrAndMaskSizeAsString()) == address);
    require(IpAddress(address.getIpAddrAsString(), address.getNetMaskAsString()) == address);
    require(address.contains(address) && address.isValidAddress() >= address.isHostType());
    IpAddress network(address.getNetAddressAsString());
    require(network.setNetMaskSize(address.getNetMaskSize()).isSuccess() && network.contains(address));
    require(address.embedIntoV6().getNetMaskSize() <= 128);
    require(!hostPortStr(address, 80).isEmpty());
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    String const text(bytes.data(), static_cast<int>(size), 0, static_cast<int>(size));

    IpAddress const address(text);
    require(address.isEmpty() != isAddress(bytes));
    if (!address.isEmpty())
        checkForms(address);
    IpAddress masked(1, 8);
    if (masked.setNetMaskAsString(text).isSuccess())
        require(masked.getNetMaskAsString() == IpAddress(text).getIpAddrAsString());

    int position = size > 0 ? static_cast<signed char>(data[0]) : 0;
    int const start = position;
    unsigned int value = 0;
    IpAddress::s_getNumberOfString(text, 12, 1000, position, value);
    require(position == start || (position > start && position <= text.length()));
    IpAddress::s_getV4IpAddrTokenOfString(text, position, value);
    IpAddress::s_getCharOfString(text, position, '.');

    MacAddr mac;
    if (mac.set(text))
        require(MacAddr(mac.toString()) == mac);
    return 0;
}
