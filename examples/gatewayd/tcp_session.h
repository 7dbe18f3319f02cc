#pragma once

#include "session.h"
#include "telnet_filter.h"

/// A client of the console's TCP port, with `telnet` or `nc`, say.
///
/// What the client doesn't take at once waits here. One that leaves more than `MAX_WAITING` bytes unread, or types as much while a
/// command has the session wait, is dropped. One that ends its direction of the connection is let go at once.
class TcpSession : public Session
{
public:
    static constexpr int MAX_WAITING = 1 << 20;

    TcpSession(Console& console, ZKPPtr<ZK::TcpSocket> const& socket);

    bool isOf(ZKPPtr<ZK::TcpSocket> const& socket) const { return m_socket.getObj() == socket.getObj(); }

    void open();
    void take(TString<char> const& bytes);

    /// The client gets all that has been said, then the end of the connection, which it closes.
    void end(String const& reason) override;

    /// Closes the connection with a last line.
    void leave(String const& farewell);

    /// Closes the connection.
    void drop();

private:
    void transmit(String const& text) override;

    char const* promptEraser() const override { return "\n"; }

    bool showsTypedLines() const override { return false; }

    bool hasPrompt() const override { return true; }

    void onResumed() override {}

    void sendWaiting();
    void giveUp();

    ZKPPtr<ZK::TcpSocket> m_socket;
    TelnetFilter m_filter;
    ZK::Sig::ScopedConnection m_writeReady;
    String m_waiting;         // guarded by the lock of the output
    bool m_endsAfter = false; // the connection, behind what waits; guarded as well
    bool m_isGivenUp = false; // nothing is sent any more; guarded as well
};
