#include "zekovar/net/udp_socket.h"

#include "zekovar/events/loop_standstill.h"
#include "zekovar/foundation/system_code.h"

#include <algorithm>
#include <netinet/in.h>
#include <optional>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace ZK
{
namespace
{
constexpr unsigned int LARGEST_DATAGRAM = 65535; // bytes, RFC 768
}

UdpSocket::UdpSocket(ZKEventLoop& loop, int fd, unsigned int bufferSize, bool autoClose)
    : IpSocket(loop, fd, autoClose), datagramReceived(this), m_bufferSize(bufferSize)
{
    std::optional<Detail::LoopStandstill> standstill; // the handler, which an open descriptor brings, looks at the hook
    if (isOpen())
        standstill.emplace(loop);
    m_receiveHook = onReadReady.connect(bindArgs(&UdpSocket::recvUdpPacket, this));
}

UdpSocket::UdpSocket(ZKEventLoop& loop, unsigned int bufferSize, bool autoClose)
    : UdpSocket(loop, -1, bufferSize, autoClose)
{
}

UdpSocket::UdpSocket(UdpSocket const& other) : IpSocket(other), datagramReceived(this), m_bufferSize(other.m_bufferSize)
{
}

UdpSocket::UdpSocket(UdpSocket&& other)
    : IpSocket(std::move(other)), datagramReceived(this), m_bufferSize(other.m_bufferSize)
{
}

UdpSocket::~UdpSocket()
{
    dropHook();
    UdpSocket::destruct();
}

XCode UdpSocket::openSocketOnly(int domain)
{
    return Socket::openSocketOnly(domain, SOCK_DGRAM, IPPROTO_UDP);
}

XCode UdpSocket::bind(IpAddress const& address, unsigned short port)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    if (XCode code = SOCK_ADDR(&storage, length, address, port); code.isErr())
        return code;
    return Socket::bind(storage.ss_family, SOCK_DGRAM, IPPROTO_UDP, reinterpret_cast<sockaddr const*>(&storage),
                        length);
}

XCode UdpSocket::bind(int domain, unsigned short port)
{
    return IpSocket::bind(domain, SOCK_DGRAM, IPPROTO_UDP, port);
}

XCode UdpSocket::recvFrom(IpAddress& address, unsigned short& port, void* buffer, unsigned int size,
                          unsigned int& received, int flags, bool retry)
{
    sockaddr_storage storage;
    storage.ss_family = AF_UNSPEC; // and stays, if the descriptor is one whose datagrams have no sender
    unsigned int length = sizeof(storage);
    XCode code =
        IpSocket::recvFrom(reinterpret_cast<sockaddr*>(&storage), &length, buffer, size, received, flags, retry);
    if (code.isErr())
        return code;
    return IP_ADDR_PORT(address, port, &storage);
}

XCode UdpSocket::sendToOnce(IpAddress const& address, unsigned short port, void const* data, unsigned int size,
                            unsigned int& sent, int flags, bool retry)
{
    sent = 0;
    sockaddr_storage storage;
    unsigned int length = 0;
    if (XCode code = SOCK_ADDR(&storage, length, address, port); code.isErr())
        return code;
    return IpSocket::sendToOnce(reinterpret_cast<sockaddr const*>(&storage), length, data, size, sent, flags, retry);
}

XCode UdpSocket::sendTo(IpAddress const& address, unsigned short port, String const& text, int flags, bool retry)
{
    return sendDatagram(address, port, text.c_str(), text.length(), flags, retry);
}

XCode UdpSocket::sendTo(IpAddress const& address, unsigned short port, TString<char> const& data, int flags, bool retry)
{
    return sendDatagram(address, port, data.data(), data.length(), flags, retry);
}

XCode UdpSocket::sendDatagram(IpAddress const& address, unsigned short port, char const* data, int size, int flags,
                              bool retry)
{
    unsigned int sent = 0;
    XCode code = sendToOnce(address, port, data, static_cast<unsigned int>(size), sent, flags, retry);
    if (code.isErr() || sent == static_cast<unsigned int>(size))
        return code;
    code = XCODE_FAILURE;
    code.setString("COULD NOT SEND ENTIRE DATAGRAM");
    return code;
}

XCode UdpSocket::close()
{
    dropHook();
    return IpSocket::close();
}

void UdpSocket::dropHook()
{
    if (m_receiveHook.isDisconnected())
        return;
    Detail::LoopStandstill const standstill(getEventLoop());
    m_receiveHook.disconnect();
}

XCode UdpSocket::getReceiveQueueSize(int& bytes) const
{
    return Detail::codeOfResult(::ioctl(getFd(), FIONREAD, &bytes));
}

XCode UdpSocket::getTransmitQueueSize(int& bytes) const
{
    return Detail::codeOfResult(::ioctl(getFd(), TIOCOUTQ, &bytes));
}

void UdpSocket::recvUdpPacket()
{
    unsigned int const size = std::min(m_bufferSize, LARGEST_DATAGRAM);
    IpAddress address;
    unsigned short port = 0;
    TString<char> datagram;
    datagram.reserve(static_cast<int>(size));
    // Once a slot has closed it, the socket may be open again, and blocking.
    for (int failures = 0; failures < 2 && !m_receiveHook.isDisconnected();)
    {
        unsigned int received = 0;
        if (XCode const code = recvFrom(address, port, datagram.data(), size, received, 0, true); code.isErr())
        {
            // What an earlier datagram met on its way is told once, in front of those that wait.
            failures += code == Detail::codeOfErrno(EAGAIN) ? 2 : 1;
            continue;
        }
        failures = 0;
        datagram.setLength(static_cast<int>(received));
        if (datagramReceived.hasSlots())
            datagramReceived(address, port, datagram);
    }
}
}
