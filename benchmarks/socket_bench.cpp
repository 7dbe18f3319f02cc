// A TCP server with one loop beside the floor, a loop that calls the kernel and nothing else. The clients are the same
// for both and run on the benchmark's thread.

#include "benchmarks/socket_peers.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/net/tcp_server.h"

#include <benchmark/benchmark.h>

#include <functional>

namespace
{
using std::placeholders::_1;
using std::placeholders::_2;

constexpr int MESSAGES = 20000;
constexpr int CONNECTIONS = 10000;
constexpr int64_t BULK_BYTES = 256 << 20;
constexpr std::size_t CHUNK_BYTES = 256 * 1024;

/// Adds the processor time of the server's thread for each item as a counter: on a busy machine it tells more than the
/// rate, and where the clients are what limits the rate too.
template <class Server>
class ServerTime
{
public:
    explicit ServerTime(Server& server) : m_server(server), m_before(server.getThreadSeconds()) {}

    void report(benchmark::State& state, double itemsEach)
    {
        double const seconds = m_server.getThreadSeconds() - m_before;
        state.counters["server_ns"] = 1e9 * seconds / (static_cast<double>(state.iterations()) * itemsEach);
    }

private:
    Server& m_server;
    double m_before;
};

class ZekovarServer
{
public:
    ZekovarServer(Service service, Meter& meter) : m_meter(meter)
    {
        m_loop.start();
        ZKAutoLock<ZKEventLoop> const stop(m_loop);
        m_server = ZK::MovePtr<ZK::TcpServer>(new ZK::TcpServer(m_loop));
        m_server->clientConnected.connect(ZK::bindArgs(&ZekovarServer::onConnected, this, _1));
        m_server->clientDisconnected.connect(ZK::bindArgs(&ZekovarServer::onDisconnected, this, _1));
        m_server->clientData.connect(
            ZK::bindArgs(service == Service::ECHO ? &ZekovarServer::echo : &ZekovarServer::sink, this, _1, _2));
        check(m_server->start(AF_INET, 0).isSuccess(), "start");
        sockaddr_in address{};
        socklen_t length = sizeof(address);
        getsockname(m_server->getListener()->getFd(), reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
    }

    ~ZekovarServer()
    {
        ZKAutoLock<ZKEventLoop> const stop(m_loop);
        m_server = nullptr;
    }

    uint16_t port() const { return m_port; }

    double getThreadSeconds() { return threadSeconds(m_loop.getThread().getId()); }

private:
    void onConnected(ZKPPtr<ZK::TcpSocket> const&) { m_meter.accepted++; }

    void onDisconnected(ZKPPtr<ZK::TcpSocket> const&) { m_meter.left++; }

    void echo(ZKPPtr<ZK::TcpSocket> const& client, TString<char> const& data)
    {
        check(client->send(data, MSG_NOSIGNAL, true).isSuccess(), "send");
    }

    void sink(ZKPPtr<ZK::TcpSocket> const&, TString<char> const& data) { m_meter.sink(data.length()); }

    Meter& m_meter;
    ZKEventLoop m_loop{"Bench", 0, 100, 1000, 10000, 0};
    ZKPPtr<ZK::TcpServer> m_server;
    uint16_t m_port = 0;
};

template <class Server>
void EchoTcp(benchmark::State& state)
{
    Meter meter;
    Server server(Service::ECHO, meter);
    EchoClients clients(server.port(), static_cast<int>(state.range(0)));
    clients.exchange(MESSAGES); // all are accepted now
    ServerTime<Server> time(server);
    for (auto _ : state)
        clients.exchange(MESSAGES);
    time.report(state, MESSAGES);
    state.SetItemsProcessed(state.iterations() * MESSAGES);
}

/// Sends all, blocking.
class BareSender
{
public:
    explicit BareSender(uint16_t port) : m_fd(connectTo(port)) {}

    ~BareSender() { close(m_fd); }

    void send(std::vector<char> const& chunk) const
    {
        for (std::size_t sent = 0; sent < chunk.size();)
        {
            ssize_t const count = ::send(m_fd, chunk.data() + sent, chunk.size() - sent, MSG_NOSIGNAL);
            check(count > 0, "send");
            sent += static_cast<std::size_t>(count);
        }
    }

private:
    int m_fd;
};

/// As above by a blocking socket of the library.
class ZekovarSender
{
public:
    explicit ZekovarSender(uint16_t port) : m_socket(ZK::MovePtr<ZK::TcpSocket>(new ZK::TcpSocket(m_loop, true)))
    {
        check(m_socket->connect(IpAddress("127.0.0.1"), port).isSuccess(), "connect");
    }

    void send(std::vector<char> const& chunk) const
    {
        XCode const code =
            m_socket->sendFixedSize(chunk.data(), static_cast<unsigned int>(chunk.size()), MSG_NOSIGNAL, true);
        check(code.isSuccess(), "send");
    }

private:
    ZKEventLoop m_loop{"Sender", 0, 100, 1000, 10000, 0}; // has nothing to do
    ZKPPtr<ZK::TcpSocket> m_socket;
};

template <class Server, class Sender>
void BulkTcp(benchmark::State& state)
{
    Meter meter;
    Server server(Service::SINK, meter);
    Sender const sender(server.port());
    std::vector<char> const chunk(CHUNK_BYTES, 'x');
    ServerTime<Server> time(server);
    for (auto _ : state)
    {
        meter.expected = BULK_BYTES;
        for (int64_t unsent = BULK_BYTES; unsent > 0; unsent -= CHUNK_BYTES)
            sender.send(chunk);
        meter.received.wait();
    }
    time.report(state, static_cast<double>(BULK_BYTES >> 10));
    state.SetBytesProcessed(state.iterations() * BULK_BYTES);
}

/// The resident memory stays flat, however many come and go.
template <class Server>
void AcceptAndCloseTcp(benchmark::State& state)
{
    Meter meter;
    Server server(Service::SINK, meter);
    comeAndGo(server.port(), CONNECTIONS / 10, meter);
    state.counters["KiB_before"] = residentKiB();
    ServerTime<Server> time(server);
    for (auto _ : state)
        comeAndGo(server.port(), CONNECTIONS, meter);
    time.report(state, CONNECTIONS);
    state.counters["KiB_after"] = residentKiB();
    state.SetItemsProcessed(state.iterations() * CONNECTIONS);
}

BENCHMARK_TEMPLATE(EchoTcp, BareEpollServer)->Arg(1)->Arg(500)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(EchoTcp, ZekovarServer)->Arg(1)->Arg(500)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BulkTcp, BareEpollServer, BareSender)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BulkTcp, ZekovarServer, ZekovarSender)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(AcceptAndCloseTcp, BareEpollServer)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(AcceptAndCloseTcp, ZekovarServer)->UseRealTime()->Unit(benchmark::kMillisecond);
}
