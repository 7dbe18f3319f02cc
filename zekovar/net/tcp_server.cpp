#include "zekovar/net/tcp_server.h"

#include "zekovar/events/event_loop.h"
#include "zekovar/events/event_sync.h"

#include <algorithm>

namespace ZK
{
namespace
{
constexpr int BACKLOG = 16;
constexpr unsigned int SMALLEST_FORGET_SIZE = 64;
}

TcpServer::TcpServer(ZKEventLoop& loop)
    : RefCounted(&loop.getEventSync(EventPrio::NORMAL)),
      clientConnected(this),
      clientData(this),
      clientDisconnected(this),
      m_listener(MovePtr<TcpSocket>(new TcpSocket(loop, true))),
      m_cleanup(loop, EventPrio::NORMAL, this, &TcpServer::_onDeferredCleanupEvent),
      m_forgetSize(SMALLEST_FORGET_SIZE),
      m_self(std::make_shared<TcpServer*>(this))
{
    auto const accept = [self = m_self](ZKPPtr<TcpSocket> client)
    {
        if (*self != nullptr)
            (*self)->_onAccept(std::move(client));
    };
    m_acceptHook = m_listener->accepted.connect(bindArgs(directCall(), accept));
}

TcpServer::~TcpServer()
{
    *m_self = nullptr;
    m_listener->close(); // which ends its accepting, if a slot of ours destroys the server from there
}

XCode TcpServer::start(String const& address, unsigned short port)
{
    return m_listener->listen(IpAddress(address), port, BACKLOG);
}

XCode TcpServer::start(int domain, unsigned short port)
{
    return m_listener->listen(domain, port, BACKLOG);
}

void TcpServer::stop()
{
    for (Connection& connection : m_connections)
        connection.socket->close();
    m_listener->close();
}

void TcpServer::_onAccept(ZKPPtr<TcpSocket> client)
{
    ZKLWPtr<TcpServer> const self(this); // a slot may drop the last reference
    forgetClosed();

    // The slots are the socket's own and know it without a reference: it would keep itself alive.
    auto const receive = [self = m_self, socket = client.getObj()](TString<char> data)
    {
        if (*self != nullptr)
            (*self)->clientData.emitMoving(socket, std::move(data));
    };
    auto const end = [self = m_self, socket = client.getObj()]
    {
        if (*self != nullptr)
            (*self)->_onDisconnect(socket);
    };
    Connection connection{client, {}, {}};
    {
        ZKLockPtr<TcpSocket> const locked = client.getLock();
        connection.data = locked->onBinaryData.connect(bindArgs(directCall(), receive));
        connection.hangup = locked->onHangup.connect(bindArgs(directCall(), end));
    }
    m_connections.add(connection);
    clientConnected(client);
}

void TcpServer::_onDisconnect(ZKPPtr<TcpSocket> client)
{
    // a turn of the loop reports an end twice, as something to read and as a hangup
    if (find(client) == m_connections.end())
        return;
    ZKLWPtr<TcpServer> const self(this);
    clientDisconnected(client);
    m_deadConnections.add(client);
    Connections::Iterator position = find(client);
    m_connections.erase(position);
    m_cleanup.getEvent().setIfNotPending();
}

void TcpServer::_onDeferredCleanupEvent()
{
    for (ZKPPtr<TcpSocket> client; m_deadConnections.pop(client);)
        client->close();
}

TcpServer::Connections::Iterator TcpServer::find(ZKPPtr<TcpSocket> const& client)
{
    return std::find_if(m_connections.begin(), m_connections.end(),
                        [&](Connection const& connection) { return connection.socket == client; });
}

void TcpServer::forgetClosed()
{
    // Nothing tells of clients that a slot or `stop` has closed; looked for at times, so that few pile up.
    if (m_connections.size() < m_forgetSize)
        return;
    for (Connections::Iterator position = m_connections.begin(); position != m_connections.end();)
    {
        if (position->socket->isOpen())
            ++position;
        else
            m_connections.erase(position);
    }
    m_forgetSize = std::max(2 * m_connections.size(), SMALLEST_FORGET_SIZE);
}
}
