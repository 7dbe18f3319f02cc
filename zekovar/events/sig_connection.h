#pragma once

#include "zekovar/events/sig_slot.h"
#include "zekovar/foundation/lw_ptr.h"

namespace ZK::Sig
{
/// Handle on a slot of a signal. Dropping it leaves the slot connected; it may outlive the signal.
///
/// Belongs to the thread of its signal.
class Connection
{
public:
    /// Of no slot: disconnected, and every operation does nothing.
    Connection() noexcept = default;

    explicit Connection(Detail::SlotAdapter& adapter) : m_adapter(&adapter) {}

    Connection(Connection const&) = default;
    Connection(Connection&&) noexcept = default;
    Connection& operator=(Connection const&) = default;
    Connection& operator=(Connection&&) = default;
    ~Connection() = default;

    /// Takes the slot off the signal, whose observer is told, and lets go of it. An emission that is under way still
    /// calls the slot.
    void disconnect();

    bool isDisconnected() const;

    /// Emissions pass over the slot, unless it is the first one of its signal, until `resume` has been called as often.
    void suspend();

    void resume();

protected:
    ZKLWPtr<Detail::SlotAdapter> m_adapter;
};

/// A connection that disconnects its slot when the last handle on that slot goes.
///
///     m_readReady = file.onReadReady.connect(ZK::bindArgs(&Client::read, this)); // a ScopedConnection member
class ScopedConnection : public Connection
{
public:
    ScopedConnection() noexcept = default;

    /// Takes the slot over.
    ScopedConnection(Connection&& connection);

    ScopedConnection& operator=(Connection&& connection);
};
}
