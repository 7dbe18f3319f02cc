// A blocking client sends a long text without a short period, in pieces of many sizes, to a server that compares all
// that arrives.

#include "tests/stress/stress.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/net/tcp_server.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <netinet/in.h>
#include <random>
#include <sys/socket.h>
#include <vector>

namespace
{
using std::placeholders::_2;

constexpr unsigned int PERIOD = 1048573; // a prime, so that no size of a buffer divides it
constexpr unsigned int LARGEST_PIECE = 300000;

/// The text that is sent over and over, and again as much as one look at it needs.
class Pattern
{
public:
    Pattern() : m_text(PERIOD + LARGEST_PIECE)
    {
        std::minstd_rand random(1);
        for (unsigned int i = 0; i < PERIOD; i++)
            m_text[i] = static_cast<char>(random() >> 8);
        std::memcpy(m_text.data() + PERIOD, m_text.data(), LARGEST_PIECE);
    }

    /// At least `LARGEST_PIECE` bytes.
    char const* at(uint64_t position) const { return m_text.data() + position % PERIOD; }

private:
    std::vector<char> m_text;
};

struct Receiver
{
    void onData(TString<char> const& data)
    {
        auto const length = static_cast<unsigned int>(data.length());
        require(length <= LARGEST_PIECE && std::memcmp(data.data(), pattern.at(received), length) == 0,
                "what arrives is what was sent");
        received += length;
    }

    void onEnd()
    {
        ended = true;
        ended.notify_one();
    }

    Pattern pattern;
    uint64_t received = 0;
    std::atomic<bool> ended = false;
};

unsigned short portOf(ZKFile const& socket)
{
    sockaddr_in address{};
    socklen_t length = sizeof(address);
    getsockname(socket.getFd(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

void send(ZK::TcpSocket& client, Pattern const& pattern, uint64_t bytes)
{
    std::minstd_rand random(2);
    for (uint64_t sent = 0; sent < bytes;)
    {
        auto const piece = static_cast<unsigned int>(std::min<uint64_t>(1 + random() % LARGEST_PIECE, bytes - sent));
        require(client.sendFixedSize(pattern.at(sent), piece, MSG_NOSIGNAL, true).isSuccess(), "all is sent");
        sent += piece;
    }
}

void run(int megabytes)
{
    uint64_t const bytes = static_cast<uint64_t>(megabytes) << 20;
    ZKEventLoop loop("Receiver", 0, 100, 1000, 10000, 0);
    loop.start();
    Receiver receiver;
    ZKPPtr<ZK::TcpServer> server;
    {
        ZKAutoLock<ZKEventLoop> const stop(loop);
        server = ZK::MovePtr<ZK::TcpServer>(new ZK::TcpServer(loop));
        server->clientData.connect(ZK::bindArgs(&Receiver::onData, &receiver, _2));
        server->clientDisconnected.connect(ZK::bindArgs(&Receiver::onEnd, &receiver));
        require(server->start("127.0.0.1", 0).isSuccess(), "the server listens");
    }
    ZKPPtr<ZK::TcpSocket> client(ZK::MovePtr<ZK::TcpSocket>(new ZK::TcpSocket(loop, true)));
    require(client->connect(IpAddress("127.0.0.1"), portOf(*server->getListener())).isSuccess(), "it connects");
    send(*client, receiver.pattern, bytes);
    client->close();
    receiver.ended.wait(false);
    require(receiver.received == bytes, "all arrives");
    ZKAutoLock<ZKEventLoop> const stop(loop);
    server = nullptr;
}
}

int main(int argc, char** argv)
{
    return stress(argc, argv, "--megabytes", 64, &run);
}
