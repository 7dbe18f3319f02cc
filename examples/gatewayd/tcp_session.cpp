#include "tcp_session.h"

#include "console.h"

#include <sys/socket.h>

TcpSession::TcpSession(Console& console, ZKPPtr<ZK::TcpSocket> const& socket) : Session(console), m_socket(socket)
{
}

void TcpSession::open()
{
    m_writeReady = m_socket->onWriteReady.connect(
        ZK::bindArgs(ZK::directCall(), [this] { withOutput([this] { sendWaiting(); }); }));
    say("'help' lists the commands.");
    showPrompt();
}

void TcpSession::take(TString<char> const& bytes)
{
    String const text = m_filter.filter(bytes.data(), bytes.length());
    feed(text.c_str(), static_cast<unsigned int>(text.length()));
    serveLines();
    if (waitingInput() > MAX_WAITING)
    {
        withOutput([this] { giveUp(); });
    }
}

void TcpSession::end(String const&)
{
    stopTaking();
    withOutput(
        [this]
        {
            m_endsAfter = true;
            sendWaiting();
        });
}

void TcpSession::leave(String const& farewell)
{
    takePromptAway();
    say(farewell);
    drop();
}

void TcpSession::drop()
{
    m_writeReady.disconnect();
    close(
        [this]
        {
            m_socket->close();
            // whoever keeps the session keeps no socket, which is destroyed on this loop
            m_socket = nullptr;
        });
}

void TcpSession::transmit(String const& text)
{
    if (m_isGivenUp)
    {
        return;
    }
    String lines = text;
    lines.replace("\n", "\r\n");
    m_waiting += lines;
    sendWaiting();
    if (m_waiting.length() > MAX_WAITING)
    {
        giveUp();
    }
}

/// With the lock of the output held. The console's loop sees the end of the connection and drops it.
void TcpSession::giveUp()
{
    m_isGivenUp = true;
    m_waiting = String();
    stopTaking();
    m_socket->shutdown(SHUT_RDWR);
}

/// With the lock of the output held.
void TcpSession::sendWaiting()
{
    unsigned int sent = 0;
    unsigned int count = 0;
    while (sent < static_cast<unsigned int>(m_waiting.length()) &&
           m_socket
               ->sendOnce(m_waiting.c_str() + sent, static_cast<unsigned int>(m_waiting.length()) - sent, count,
                          MSG_NOSIGNAL, true)
               .isSuccess())
    {
        sent += count;
    }
    m_waiting.deleteRegion(0, static_cast<int>(sent));
    if (m_waiting.isEmpty() && m_endsAfter)
    {
        m_socket->shutdown(SHUT_WR);
    }
}
