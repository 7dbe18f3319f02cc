#include "console.h"

#include "standard_session.h"
#include "tcp_session.h"
#include "workbench.h"

#include <cstring>
#include <netinet/in.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace
{
constexpr unsigned int SECONDS_TO_END = 20;
}

Console::Console(ZKFile const& signals)
    : m_loop("Console", 64, 100, 1000, 10000, 64),
      m_signals(signals),
      m_signalObserver(m_loop, &Console::ON_SIGNAL, this, nullptr),
      m_standard(std::make_shared<StandardSession>(*this)),
      m_clientsMutex(false),
      m_ended(0, 1, ZK::Time::Source::MONOTONIC)
{
}

Console::~Console() = default;

XCode Console::listen(unsigned short port)
{
    using std::placeholders::_1;
    using std::placeholders::_2;
    m_server = ZK::MovePtr<ZK::TcpServer>(new ZK::TcpServer(m_loop));
    m_server->clientConnected.connect(ZK::bindArgs(ZK::directCall(), &Console::onClient, this, _1));
    m_server->clientData.connect(ZK::bindArgs(ZK::directCall(), &Console::onData, this, _1, _2));
    m_server->clientDisconnected.connect(ZK::bindArgs(ZK::directCall(), &Console::onGone, this, _1));
    return m_server->start("127.0.0.1", port);
}

void Console::serve(Workbench& workbench)
{
    m_workbench = &workbench;
    if (m_server)
    {
        sayWhereItListens();
    }
    m_loop.start();
    m_signalObserver.enable(m_signals, _ZKFileObserver::Type::READ);
    m_standard->open();

    m_ended.wait();
    // a match may take longer than anyone waits, and an output that nobody reads takes no farewell: see Gatewayd::onQuitSignal
    alarm(SECONDS_TO_END);
    // the console's loop still takes signals here, so that a second one does no harm
    workbench.end();
    String const farewell(String::Formatted(), "gatewayd ends: %s", m_reason.c_str());
    if (m_server)
    {
        ZKAutoLock<ZKEventLoop> stopped(m_loop);
        stopServer(farewell);
    }
    m_loop.stop();
    m_signalObserver.disable();
    m_standard->leave(farewell);
}

void Console::sayWhereItListens()
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    if (getsockname(m_server->getListener()->getFd(), reinterpret_cast<sockaddr*>(&address), &length) == 0)
    {
        m_standard->say(
            String(String::Formatted(), "the console listens on 127.0.0.1, port %u", ntohs(address.sin_port)));
    }
}

void Console::tellAll(String const& text)
{
    m_standard->say(text);
    ZKAutoLock<ZKMutex> guard(m_clientsMutex);
    for (auto const& client : m_clients)
    {
        client->say(text);
    }
}

void Console::execute(std::shared_ptr<Session> const& session, String const& line)
{
    m_workbench->execute(session, line);
}

void Console::end(String const& reason)
{
    if (!m_isEnding)
    {
        m_isEnding = true;
        m_reason = reason;
        m_ended.signal();
    }
}

void Console::onEndOfInput()
{
    if (!m_server)
    {
        end("end of input");
    }
}

void Console::ON_SIGNAL(void* console)
{
    static_cast<Console*>(console)->readSignals();
}

void Console::readSignals()
{
    signalfd_siginfo signal{};
    while (m_signals.readFixedSize(&signal, sizeof(signal), true).isSuccess())
    {
        char const* const name = strsignal(static_cast<int>(signal.ssi_signo));
        if (m_isEnding)
        {
            tellAll(String(String::Formatted(), "\"%s\" changes nothing, gatewayd is ending and takes at most %u s",
                           name, SECONDS_TO_END));
        }
        else
        {
            end(name);
        }
    }
}

void Console::onClient(Socket const& socket)
{
    auto const client = std::make_shared<TcpSession>(*this, socket);
    {
        ZKAutoLock<ZKMutex> guard(m_clientsMutex);
        m_clients.push_back(client);
    }
    client->open();
}

void Console::onData(Socket const& socket, TString<char> const& bytes)
{
    if (auto const client = clientOf(socket))
    {
        client->take(bytes);
    }
}

void Console::onGone(Socket const& socket)
{
    if (auto const client = clientOf(socket))
    {
        client->drop();
        ZKAutoLock<ZKMutex> guard(m_clientsMutex);
        std::erase(m_clients, client);
    }
}

std::shared_ptr<TcpSession> Console::clientOf(Socket const& socket) const
{
    for (auto const& client : m_clients)
    {
        if (client->isOf(socket))
        {
            return client;
        }
    }
    return nullptr;
}

/// On the console's loop or while it stands.
void Console::stopServer(String const& farewell)
{
    for (auto const& client : m_clients)
    {
        client->leave(farewell);
    }
    {
        ZKAutoLock<ZKMutex> guard(m_clientsMutex);
        m_clients.clear();
    }
    m_server->stop();
    m_server = nullptr;
}
