#pragma once

#include "zekovar/events/sig.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/net/ip_socket.h"

namespace ZK
{
/// A UDP socket over IPv4 or IPv6 whose datagrams arrive as a signal.
///
/// From the start the loop reads all that arrives and gives it to `datagramReceived`; without a slot there it is
/// dropped. So the socket is non-blocking as long as it is open. `close` ends that for good: one that has been closed,
/// and a copy, block, and are read by `recvFrom`. Which thread may do what is told at `ZK::ActiveFile`.
///
///     ZKPPtr<ZK::UdpSocket> socket(ZK::MovePtr<ZK::UdpSocket>(new ZK::UdpSocket(loop, 1500, true)));
///     socket->datagramReceived.connect(ZK::bindArgs(&Service::onDatagram, &service, _1, _2, _3));
///     if (XCode code = socket->bind(AF_INET6, 4711); code.isErr()) return code;
class UdpSocket : public IpSocket
{
public:
    /// A datagram with the address and port of its sender.
    Sig::Signal<void(IpAddress, unsigned short, TString<char>)> datagramReceived;

    /// Takes `fd`, which may be -1. What a datagram has behind its first `bufferSize` bytes is lost. `autoClose` has
    /// the last handle on the descriptor close it.
    UdpSocket(ZKEventLoop& loop, int fd, unsigned int bufferSize, bool autoClose);

    /// Closed.
    UdpSocket(ZKEventLoop& loop, unsigned int bufferSize, bool autoClose);

    /// Shares the other's descriptor. No slots come along, and this socket's `datagramReceived` stays silent.
    UdpSocket(UdpSocket const& other);
    UdpSocket(UdpSocket&& other);

    ~UdpSocket() override;

    using IpSocket::bind;
    using IpSocket::openSocketOnly;
    using IpSocket::recvFrom;
    using IpSocket::sendTo;
    using IpSocket::sendToOnce;

    /// AF_INET or AF_INET6.
    virtual XCode openSocketOnly(int domain);

    /// Opens and binds; on failure to bind the socket stays open.
    virtual XCode bind(IpAddress const& address, unsigned short port);

    /// As above to all addresses of `domain`.
    virtual XCode bind(int domain, unsigned short port);

    /// One datagram, blocking as the descriptor does; with `retry` again while a signal interrupts it. On failure
    /// `received` is 0, and address and port stay untouched.
    virtual XCode recvFrom(IpAddress& address, unsigned short& port, void* buffer, unsigned int size,
                           unsigned int& received, int flags, bool retry);

    virtual XCode sendToOnce(IpAddress const& address, unsigned short port, void const* data, unsigned int size,
                             unsigned int& sent, int flags, bool retry);

    /// Sends the whole text, which may be empty, as one datagram. Less is `XCODE_FAILURE`.
    virtual XCode sendTo(IpAddress const& address, unsigned short port, String const& text, int flags, bool retry);
    virtual XCode sendTo(IpAddress const& address, unsigned short port, TString<char> const& data, int flags,
                         bool retry);

    /// Ends receiving by signals for good, and closes.
    XCode close() override;

    /// Bytes of the datagram that is next.
    XCode getReceiveQueueSize(int& bytes) const;

    /// Bytes that haven't left.
    XCode getTransmitQueueSize(int& bytes) const;

    /// Internal: the handler of `onReadReady`.
    void recvUdpPacket();

private:
    void dropHook();
    XCode sendDatagram(IpAddress const& address, unsigned short port, char const* data, int size, int flags,
                       bool retry);

    unsigned int m_bufferSize;
    Sig::ScopedConnection m_receiveHook;
};
}
