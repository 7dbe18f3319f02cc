#pragma once

#include "zekovar/events/sig.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/net/socket.h"

#include <memory>

namespace ZK
{
namespace Detail
{
class AcceptRetry;
}

/// A socket of this machine, of type SOCK_STREAM, SOCK_DGRAM or SOCK_SEQPACKET, whose address is a path.
///
/// Blocking, signals and threads are as in `ZK::TcpSocket`. A bound socket leaves a socket file, which nobody removes:
/// `bindOnly` with a path replaces one that is there, `bind` and `listen` fail on it.
///
///     ZKPPtr<ZK::UnixSocket> listener(ZK::MovePtr<ZK::UnixSocket>(new ZK::UnixSocket(loop, true)));
///     listener->accepted.connect(ZK::bindArgs(&Service::onClient, &service, _1));
///     XCode code = listener->openSocketOnly(SOCK_STREAM);
///     if (code) code = listener->bindOnly("/var/run/service.sck");
///     if (code) code = listener->listenOnly(16);
class UnixSocket : public Socket
{
public:
    /// A new connection of a listening socket. One that no slot keeps a reference on is closed again.
    Sig::Signal<void(ZKPPtr<UnixSocket>)> accepted;

    /// Closed. `autoClose` has the last handle on the descriptor close it.
    UnixSocket(ZKEventLoop& loop, bool autoClose);

    /// Takes `fd`, which may be -1.
    UnixSocket(ZKEventLoop& loop, int fd, bool autoClose);

    /// Shares the other's descriptor. No slots come along, nor does its listening: this socket reports no connections.
    UnixSocket(UnixSocket const& other);
    UnixSocket(UnixSocket&& other);

    ~UnixSocket() override;

    /// The address of a path of at most 106 characters. `length` is that of the whole `sockaddr_un`. Fails with
    /// `XCODE_FAILURE` and a text for a longer path, and without one for null.
    static XCode SOCK_ADDR(sockaddr_storage* storage, unsigned int& length, String const& path);

    using Socket::accept;
    using Socket::bind;
    using Socket::bindOnly;
    using Socket::connect;
    using Socket::connectOnly;
    using Socket::listen;
    using Socket::openSocketOnly;

    /// `type` is SOCK_STREAM, SOCK_DGRAM or SOCK_SEQPACKET.
    virtual XCode openSocketOnly(int type);

    /// Binds the open socket, having removed what stands at `path` by `ZKFile::REMOVE`: a directory too.
    virtual XCode bindOnly(String const& path);

    virtual XCode connectOnly(String const& path);

    /// Opens and binds; what stands at `path` stays, and fails it.
    virtual XCode bind(int type, String const& path);

    /// As `bind`, and listens.
    virtual XCode listen(int type, String const& path, int backlog);

    /// Opens and connects.
    virtual XCode connect(int type, String const& path);

    /// Takes a waiting connection, blocking as the descriptor does, into the socket that `client` holds.
    /// `XCODE_FAILURE` if it holds none. `address` and `length`, which may both be null, get the other side's address.
    virtual XCode accept(ZKPPtr<UnixSocket>& client, sockaddr* address, unsigned int* length);

    /// Listens on a bound socket. From here on the loop accepts all connections and tells of them by `accepted`. Waits, on
    /// another thread, until the loop stands still.
    XCode listenOnly(int backlog) override;

    /// Ends listening and closes; the signals keep their slots, and the socket file stays.
    XCode close() override;

    /// Ends listening before any destructor runs.
    void callDtor() override;

    /// Internal: the handler of `onReadReady`.
    void onReadyForReadingAfterListen();

private:
    void dropHook();

    Sig::ScopedConnection m_listenHook;
    std::unique_ptr<Detail::AcceptRetry> m_acceptRetry; // while listening
};
}
