#pragma once

#include "zekovar/events/event_regular.h"
#include "zekovar/events/sig.h"
#include "zekovar/foundation/list.h"
#include "zekovar/foundation/ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/net/tcp_socket.h"

#include <memory>

namespace ZK
{
/// Listens for TCP clients, keeps their sockets and tells by three signals, per client, what happens.
///
/// All is done on the loop's thread: use and destroy the server there or synchronised to it. Its lock, which a `ZKPPtr`
/// holds for each call, is the loop's stop at normal priority. A slot may stop the server, close clients and drop the
/// last reference on the server.
///
/// A client's socket is non-blocking: one that doesn't read makes `send` fail with the code of EAGAIN and a part sent.
/// Who answers with more than a few kilobytes uses `sendOnce` and goes on at `onWriteReady`.
///
///     ZKPPtr<ZK::TcpServer> server(ZK::MovePtr<ZK::TcpServer>(new ZK::TcpServer(loop)));
///     server->clientData.connect(ZK::bindArgs(&Service::onData, &service, _1, _2));
///     if (XCode code = server->start("127.0.0.1", 4711); code.isErr()) return code;
class TcpServer : public RefCounted
{
public:
    /// A client was accepted.
    Sig::Signal<void(ZKPPtr<TcpSocket>)> clientConnected;

    /// Bytes from a client, as many as were there.
    Sig::Signal<void(ZKPPtr<TcpSocket>, TString<char>)> clientData;

    /// A client has sent its end or reset its connection; raised once for each client. Its socket is still open and is
    /// closed in one of the loop's next events.
    Sig::Signal<void(ZKPPtr<TcpSocket>)> clientDisconnected;

    explicit TcpServer(ZKEventLoop& loop);

    /// Closes the listener and lets go of the clients. Those that a slot has kept stay open and are the server's no
    /// more.
    ~TcpServer() override;

    /// Listens on a local address, at most 16 clients waiting. A text that is no address fails with that of
    /// `IpSocket::SOCK_ADDR`. After a failure `stop` comes before the next try.
    XCode start(String const& address, unsigned short port);

    /// Listens on all addresses of AF_INET or AF_INET6.
    XCode start(int domain, unsigned short port);

    /// Closes all clients, without a signal, and the listener. The server may be started again.
    void stop();

    /// The socket that listens, to ask for its port say.
    ZKPPtr<TcpSocket> const& getListener() const { return m_listener; }

    /// Internal: the handlers of the sockets' signals and of the clean-up event.
    void _onAccept(ZKPPtr<TcpSocket> client);
    void _onDisconnect(ZKPPtr<TcpSocket> client);
    void _onDeferredCleanupEvent();

private:
    /// A client with the slots that its socket has of this server.
    struct Connection
    {
        ZKPPtr<TcpSocket> socket;
        Sig::ScopedConnection data;
        Sig::ScopedConnection hangup;
    };

    using Connections = ZKList<Connection>;

    Connections::Iterator find(ZKPPtr<TcpSocket> const& client);
    void forgetClosed();

    ZKPPtr<TcpSocket> m_listener;
    Connections m_connections;
    ZKList<ZKPPtr<TcpSocket>> m_deadConnections; // to be closed
    ZKEventRegular<TcpServer> m_cleanup;
    unsigned int m_forgetSize; // connections at which closed ones are looked for

    // What the slots know of the server. An emission calls a slot even if one before it has disconnected it and destroyed
    // the server.
    std::shared_ptr<TcpServer*> m_self; // to null once destroyed
    Sig::ScopedConnection m_acceptHook;
};
}
