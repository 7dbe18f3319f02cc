#pragma once

#include "zekovar/net/ip_address.h"
#include "zekovar/net/socket.h"

namespace ZK
{
/// A socket whose addresses are an `IpAddress` and a port, in the machine's byte order.
///
/// What an address of neither family can't do fails with the text "NEITHER AN IPV4 NOR AN IPV6 ADDRESS". Threads,
/// blocking and the texts of failing calls are those of `ZK::Socket`.
///
///     ZKPPtr<ZK::IpSocket> socket(ZK::MovePtr<ZK::IpSocket>(new ZK::IpSocket(IO::INSTANCE(), true)));
///     XCode code = socket->connect(SOCK_STREAM, IPPROTO_TCP, IpAddress("192.0.2.1"), 80);
class IpSocket : public Socket
{
public:
    using Socket::Socket;

    /// @name Addresses of the kernel
    /// @{

    /// Fills `storage` and sets `length` to what it holds. `XCODE_FAILURE` for null.
    static XCode SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, IpAddress const& address,
                           unsigned short port);

    /// As above with the address of all interfaces; `domain` is AF_INET or AF_INET6.
    static XCode SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, int domain, unsigned short port);

    /// The reverse; the mask size of `address` stays. 0.0.0.0 becomes the empty address.
    static XCode IP_ADDR_PORT(IpAddress& address, unsigned short& port, sockaddr_storage const* storage);
    /// @}

    using Socket::accept;
    using Socket::bind;
    using Socket::bindOnly;
    using Socket::connect;
    using Socket::connectOnly;
    using Socket::listen;

    virtual XCode bindOnly(IpAddress const& address, unsigned short port);

    /// To all interfaces. "CANNOT DETERMINE ADDRESS DOMAIN" on a closed socket.
    virtual XCode bindOnly(unsigned short port);
    virtual XCode connectOnly(IpAddress const& address, unsigned short port);
    virtual XCode bind(int domain, int type, int protocol, IpAddress const& address, unsigned short port);
    virtual XCode bind(int domain, int type, int protocol, unsigned short port);

    /// Opens a socket of the address's family.
    virtual XCode listen(int type, int protocol, IpAddress const& address, unsigned short port, int backlog);
    virtual XCode listen(int domain, int type, int protocol, unsigned short port, int backlog);

    /// As `ZK::Socket::accept`, telling the peer's address.
    virtual XCode accept(ZKPPtr<IpSocket>& socket, IpAddress& address, unsigned short& port);

    /// Opens a socket of the address's family.
    virtual XCode connect(int type, int protocol, IpAddress const& address, unsigned short port);

    /// @name Multicast
    /// IPv4 only. `local` is the address of the interface; empty stands for any.
    /// @{
    XCode joinMulticastGroup(IpAddress const& group, IpAddress const& local, int interfaceIndex);

    /// Sets the option of that number, which the kernel knows as leaving a group.
    XCode joinMulticastGroup(IpAddress const& group, IpAddress const& local, IpAddress const& source);
    XCode blockMulticastSource(IpAddress const& group, IpAddress const& local, IpAddress const& source);
    XCode leaveMulticastGroup(IpAddress const& group, IpAddress const& local, int interfaceIndex);
    XCode leaveMulticastGroup(IpAddress const& group, IpAddress const& local, IpAddress const& source);
    /// @}

private:
    XCode setMembership(int option, IpAddress const& group, IpAddress const& local, uint32_t third);
};
}
