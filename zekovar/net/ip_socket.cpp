#include "zekovar/net/ip_socket.h"

#include <arpa/inet.h>
#include <cstring>
#include <netinet/in.h>

namespace ZK
{
namespace
{
XCode failure(char const* message)
{
    XCode code(XCODE_FAILURE);
    code.setString(message);
    return code;
}

XCode noFamily()
{
    return failure("NEITHER AN IPV4 NOR AN IPV6 ADDRESS");
}

/// By copying: storage of one type must not be written as another.
template <class Address>
void store(sockaddr_storage* storage, unsigned int& length, Address const& address)
{
    std::memcpy(storage, &address, sizeof(address));
    length = sizeof(address);
}

template <class Address>
Address loaded(sockaddr_storage const* storage)
{
    Address address;
    std::memcpy(&address, storage, sizeof(address));
    return address;
}

sockaddr_in addressV4(unsigned int address, unsigned short port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    result.sin_addr.s_addr = htonl(address);
    return result;
}

sockaddr_in6 addressV6(Ipv6Address const& address, unsigned short port)
{
    sockaddr_in6 result{};
    result.sin6_family = AF_INET6;
    result.sin6_port = htons(port);
    std::memcpy(&result.sin6_addr, address.bytes, sizeof(address.bytes));
    return result;
}

int domainOf(IpAddress const& address)
{
    return address.getNetAddressType() == IpAddress::NetAddressType::IPV6 ? AF_INET6 : AF_INET;
}

sockaddr const* plain(sockaddr_storage const& storage)
{
    return reinterpret_cast<sockaddr const*>(&storage);
}

/// Has `call` take the kernel's form of what `SOCK_ADDR` is given.
template <class Target, class Call>
XCode withAddress(Target const& target, unsigned short port, Call call)
{
    sockaddr_storage storage{};
    unsigned int length = 0;
    XCode code = IpSocket::SOCK_ADDR(&storage, length, target, port);
    return code.isErr() ? code : call(plain(storage), length);
}
}

XCode IpSocket::SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, IpAddress const& address,
                          unsigned short port)
{
    if (storage == nullptr)
        return XCODE_FAILURE;
    switch (address.getNetAddressType())
    {
    case IpAddress::NetAddressType::IPV4:
        store(storage, length, addressV4(address.getV4IpAddrAsBinaryUInt32(), port));
        return XCODE_SUCCESS;
    case IpAddress::NetAddressType::IPV6:
        store(storage, length, addressV6(address.getV6IpAddrAsBinaryString(), port));
        return XCODE_SUCCESS;
    case IpAddress::NetAddressType::EMPTY:
        break;
    }
    return noFamily();
}

XCode IpSocket::SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, int domain, unsigned short port)
{
    if (storage == nullptr)
        return XCODE_FAILURE;
    switch (domain)
    {
    case AF_INET:
        store(storage, length, addressV4(INADDR_ANY, port));
        return XCODE_SUCCESS;
    case AF_INET6:
        store(storage, length, addressV6(Ipv6Address{}, port));
        return XCODE_SUCCESS;
    default:
        return noFamily();
    }
}

XCode IpSocket::IP_ADDR_PORT(IpAddress& address, unsigned short& port, sockaddr_storage const* storage)
{
    if (storage == nullptr)
        return XCODE_FAILURE;
    switch (storage->ss_family)
    {
    case AF_INET:
    {
        auto const source = loaded<sockaddr_in>(storage);
        port = ntohs(source.sin_port);
        if (source.sin_addr.s_addr == INADDR_ANY)
            address.init();
        else
            address.setV4IpAddrAsBinaryUInt32(ntohl(source.sin_addr.s_addr));
        return XCODE_SUCCESS;
    }
    case AF_INET6:
    {
        auto const source = loaded<sockaddr_in6>(storage);
        port = ntohs(source.sin6_port);
        Ipv6Address bytes;
        std::memcpy(bytes.bytes, &source.sin6_addr, sizeof(bytes.bytes));
        address.setV6IpAddrAsBinaryString(bytes);
        return XCODE_SUCCESS;
    }
    default:
        return noFamily();
    }
}

XCode IpSocket::bindOnly(IpAddress const& address, unsigned short port)
{
    return withAddress(address, port,
                       [&](sockaddr const* target, unsigned int length) { return Socket::bindOnly(target, length); });
}

XCode IpSocket::bindOnly(unsigned short port)
{
    int domain = 0;
    XCode code = getOption(SOL_SOCKET, SO_DOMAIN, domain);
    if (code.isErr())
    {
        code.setString("CANNOT DETERMINE ADDRESS DOMAIN");
        return code;
    }
    return withAddress(domain, port,
                       [&](sockaddr const* target, unsigned int length) { return Socket::bindOnly(target, length); });
}

XCode IpSocket::connectOnly(IpAddress const& address, unsigned short port)
{
    return withAddress(address, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::connectOnly(target, length); });
}

XCode IpSocket::bind(int domain, int type, int protocol, IpAddress const& address, unsigned short port)
{
    return withAddress(address, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::bind(domain, type, protocol, target, length); });
}

XCode IpSocket::bind(int domain, int type, int protocol, unsigned short port)
{
    return withAddress(domain, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::bind(domain, type, protocol, target, length); });
}

XCode IpSocket::listen(int type, int protocol, IpAddress const& address, unsigned short port, int backlog)
{
    return withAddress(address, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::listen(domainOf(address), type, protocol, target, length, backlog); });
}

XCode IpSocket::listen(int domain, int type, int protocol, unsigned short port, int backlog)
{
    return withAddress(domain, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::listen(domain, type, protocol, target, length, backlog); });
}

XCode IpSocket::accept(ZKPPtr<IpSocket>& socket, IpAddress& address, unsigned short& port)
{
    if (!socket)
        socket = MovePtr<IpSocket>(new IpSocket(getEventLoop(), -1, isAutoClose()));
    ZKPPtr<Socket> target(socket.getObj());
    sockaddr_storage storage{};
    unsigned int length = sizeof(storage);
    XCode code = Socket::accept(target, reinterpret_cast<sockaddr*>(&storage), &length);
    return code.isErr() ? code : IP_ADDR_PORT(address, port, &storage);
}

XCode IpSocket::connect(int type, int protocol, IpAddress const& address, unsigned short port)
{
    return withAddress(address, port,
                       [&](sockaddr const* target, unsigned int length)
                       { return Socket::connect(domainOf(address), type, protocol, target, length); });
}

XCode IpSocket::joinMulticastGroup(IpAddress const& group, IpAddress const& local, int interfaceIndex)
{
    return setMembership(IP_ADD_MEMBERSHIP, group, local, static_cast<uint32_t>(interfaceIndex));
}

XCode IpSocket::joinMulticastGroup(IpAddress const& group, IpAddress const& local, IpAddress const& source)
{
    // not IP_ADD_SOURCE_MEMBERSHIP: daemons rely on this number
    return setMembership(IP_DROP_MEMBERSHIP, group, local, htonl(source.getV4IpAddrAsBinaryUInt32()));
}

XCode IpSocket::blockMulticastSource(IpAddress const& group, IpAddress const& local, IpAddress const& source)
{
    return setMembership(IP_BLOCK_SOURCE, group, local, htonl(source.getV4IpAddrAsBinaryUInt32()));
}

XCode IpSocket::leaveMulticastGroup(IpAddress const& group, IpAddress const& local, int interfaceIndex)
{
    return setMembership(IP_DROP_MEMBERSHIP, group, local, static_cast<uint32_t>(interfaceIndex));
}

XCode IpSocket::leaveMulticastGroup(IpAddress const& group, IpAddress const& local, IpAddress const& source)
{
    return setMembership(IP_DROP_SOURCE_MEMBERSHIP, group, local, htonl(source.getV4IpAddrAsBinaryUInt32()));
}

/// `third` as the kernel takes it. The addresses go in network order, which on the device is the machine's own.
XCode IpSocket::setMembership(int option, IpAddress const& group, IpAddress const& local, uint32_t third)
{
    uint32_t const record[3] = {htonl(group.getV4IpAddrAsBinaryUInt32()), htonl(local.getV4IpAddrAsBinaryUInt32()),
                                third};
    return setOption(IPPROTO_IP, option, record, sizeof(record));
}
}
