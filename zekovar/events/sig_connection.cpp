#include "zekovar/events/sig_connection.h"

#include <utility>

namespace ZK::Sig
{
void Connection::disconnect()
{
    // the signal's observer may destroy this connection
    ZKLWPtr<Detail::SlotAdapter> const adapter = std::move(m_adapter);
    if (adapter)
        adapter->disconnect(true);
}

bool Connection::isDisconnected() const
{
    return !m_adapter || m_adapter->isDisconnected();
}

void Connection::suspend()
{
    if (m_adapter)
        m_adapter->suspend();
}

void Connection::resume()
{
    if (m_adapter)
        m_adapter->resume();
}

ScopedConnection::ScopedConnection(Connection&& connection) : Connection(std::move(connection))
{
    if (m_adapter)
        m_adapter->disconnectIfReleased();
}

ScopedConnection& ScopedConnection::operator=(Connection&& connection)
{
    Connection::operator=(std::move(connection));
    if (m_adapter)
        m_adapter->disconnectIfReleased();
    return *this;
}
}
