#pragma once

#include "zekovar/zekovar.h"

#include <memory>
#include <vector>

class Session;
class StandardSession;
class TcpSession;
class Workbench;

/// The daemon's console: one session at standard input, and one for each client of a TCP port of the loopback address.
///
/// It has an event loop of its own, so that operators can look at the daemon's loops while they are blocked; everything runs on it
/// unless said otherwise.
class Console
{
public:
    explicit Console(ZKFile const& signals);
    ~Console();

    /// Takes clients on `port` of 127.0.0.1, on a free one for 0; before `serve`. From then on the end of standard input no longer ends
    /// the console. Fails where the port is taken.
    XCode listen(unsigned short port);

    /// Hands each line to `workbench` until the console ends; blocks the calling thread meanwhile, which isn't the console's loop.
    void serve(Workbench& workbench);

    /// Shows a line, which answers nobody, in every session. Safe from every thread.
    void tellAll(String const& text);

    ZKEventLoop& loop() { return m_loop; }

    String reasonOfEnd() const { return m_reason; }

    /// From here on no session takes a line.
    bool isEnding() const { return m_isEnding; }

    /// For sessions: runs a command line; ends the console, the first reason stays; notes that standard input has ended; serves the
    /// signals that have come.
    void execute(std::shared_ptr<Session> const& session, String const& line);
    void end(String const& reason);
    void onEndOfInput();
    void readSignals();

private:
    using Socket = ZKPPtr<ZK::TcpSocket>;

    static void ON_SIGNAL(void* console);

    void onClient(Socket const& socket);
    void onData(Socket const& socket, TString<char> const& bytes);
    void onGone(Socket const& socket);
    std::shared_ptr<TcpSession> clientOf(Socket const& socket) const;
    void sayWhereItListens();
    void stopServer(String const& farewell);

    ZKEventLoop m_loop;
    ZKFile m_signals;
    _ZKFileObserver m_signalObserver;
    Workbench* m_workbench = nullptr;
    std::shared_ptr<StandardSession> m_standard;
    ZKPtr<ZK::TcpServer> m_server; // null unless `listen` was called
    ZKMutex m_clientsMutex;        // guards m_clients, which only the console's loop changes
    std::vector<std::shared_ptr<TcpSession>> m_clients;
    bool m_isEnding = false;
    String m_reason;
    ZKSemaphore m_ended;
};
