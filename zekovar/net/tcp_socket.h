#pragma once

#include "zekovar/events/sig.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/net/ip_socket.h"

#include <memory>

namespace ZK
{
namespace Detail
{
class AcceptRetry;
}

/// A TCP socket over IPv4 or IPv6, as listener or as one end of a connection.
///
/// Without slots it blocks, as the system's calls do. With one it is non-blocking, and what it has to tell comes as a
/// signal on the loop's thread: new connections by `accepted`, data and the other side's end by the signals of
/// `ZK::ActiveFile`. Which thread may do what is told there.
///
///     ZKPPtr<ZK::TcpSocket> listener(ZK::MovePtr<ZK::TcpSocket>(new ZK::TcpSocket(loop, true)));
///     listener->accepted.connect(ZK::bindArgs(&Service::onClient, &service, _1));
///     if (XCode code = listener->listen(AF_INET6, 4711, 16); code.isErr()) return code;
class TcpSocket : public IpSocket
{
public:
    /// A new connection of a listening socket. One that no slot keeps a reference on is closed again.
    Sig::Signal<void(ZKPPtr<TcpSocket>)> accepted;

    /// Raised at each edge of write readiness after a `connect` that the system put off with EAGAIN.
    Sig::Signal<void()> connected;

    /// Closed. `autoClose` has the last handle on the descriptor close it.
    TcpSocket(ZKEventLoop& loop, bool autoClose);

    /// Takes `fd`, which may be -1.
    TcpSocket(ZKEventLoop& loop, int fd, bool autoClose);

    /// Shares the other's descriptor. No slots come along, nor does its listening: this socket reports no connections.
    TcpSocket(TcpSocket const& other);
    TcpSocket(TcpSocket&& other);

    ~TcpSocket() override;

    using IpSocket::accept;
    using IpSocket::connect;
    using IpSocket::listen;
    using IpSocket::openSocketOnly;

    /// AF_INET or AF_INET6.
    virtual XCode openSocketOnly(int domain);

    /// Opens, binds and listens; up to `backlog` connections wait for being accepted. The first failure is returned,
    /// and leaves an open socket unless there was none to be had.
    virtual XCode listen(IpAddress const& address, unsigned short port, int backlog);

    /// As above on all addresses of `domain`.
    virtual XCode listen(int domain, unsigned short port, int backlog);

    /// Takes a waiting connection, blocking as the descriptor does, into the socket that `client` holds, or into a new
    /// one on this loop. On failure `address` and `port`, those of the other side, stay untouched.
    virtual XCode accept(ZKPPtr<TcpSocket>& client, IpAddress& address, unsigned short& port);

    /// Opens and connects, blocking unless a slot is connected. A non-blocking connection that is under way fails with
    /// the code of EINPROGRESS and goes on; its end shows by `onWriteReady`. For the code of EAGAIN the result is a
    /// success, and `connected` tells when the socket gets writable.
    virtual XCode connect(IpAddress const& address, unsigned short port);

    /// Listens on a bound socket. From here on the loop accepts all connections and tells of them by `accepted`. Waits, on
    /// another thread, until the loop stands still.
    XCode listenOnly(int backlog) override;

    /// Ends listening and closes; the signals keep their slots.
    XCode close() override;

    /// Ends listening before any destructor runs.
    void callDtor() override;

    /// Bytes that wait to be read.
    XCode getReceiveQueueSize(int& bytes) const;

    /// Bytes that the other side hasn't acknowledged.
    XCode getTransmitQueueSize(int& bytes) const;

    /// Whether what is read next comes behind the urgent byte.
    XCode isAtUrgentMark(bool& atMark) const;

    /// Internal: the handlers of `onReadReady` and `onWriteReady`.
    void onReadyForReadingAfterListen();
    void onReadyForWritingAfterConnect();

private:
    void dropHooks();

    Sig::ScopedConnection m_listenHook;
    Sig::ScopedConnection m_connectHook;
    std::unique_ptr<Detail::AcceptRetry> m_acceptRetry; // while listening
};
}
