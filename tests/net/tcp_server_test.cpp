#include "zekovar/net/tcp_server.h"

#include "tests/net/peer.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <set>
#include <sys/resource.h>
#include <vector>

using std::placeholders::_1;
using std::placeholders::_2;
using Client = ZKPPtr<ZK::TcpSocket>;

namespace
{
/// A server that echoes and keeps count.
class EchoServer
{
public:
    EchoServer()
    {
        loop.synchronized(
            [this]
            {
                server = ZK::MovePtr<ZK::TcpServer>(new ZK::TcpServer(loop));
                server->clientConnected.connect(ZK::bindArgs(&EchoServer::onConnected, this, _1));
                server->clientData.connect(ZK::bindArgs(&EchoServer::onData, this, _1, _2));
                server->clientDisconnected.connect(ZK::bindArgs(&EchoServer::onDisconnected, this, _1));
                EXPECT_TRUE(server->start("127.0.0.1", 0).isSuccess());
                port = portOf(*server->getListener());
            });
    }

    ~EchoServer()
    {
        loop.synchronized([this] { server = nullptr; });
    }

    Peer connectPeer() const { return Peer(port); }

    static bool waitFor(std::atomic<int> const& counter, int count)
    {
        return eventually([&] { return counter >= count; });
    }

    NetLoop loop;
    ZKPPtr<ZK::TcpServer> server;
    unsigned short port = 0;
    std::atomic<int> connected = 0;
    std::atomic<int> disconnected = 0;
    std::function<void(Client, std::string)> onCommand; // what is sent to it isn't echoed
    std::set<ZK::TcpSocket*> present;

private:
    void onConnected(Client client)
    {
        EXPECT_TRUE(present.insert(client.getObj()).second);
        connected++;
    }

    void onData(Client client, TString<char> data)
    {
        EXPECT_TRUE(present.contains(client.getObj()));
        unsigned int sent = 0;
        if (onCommand)
            onCommand(client, std::string(data.data(), data.length()));
        else
            client->sendOnce(data.data(), data.length(), sent, 0, true);
    }

    void onDisconnected(Client client)
    {
        EXPECT_EQ(present.erase(client.getObj()), 1u) << "told once, of each that came";
        EXPECT_TRUE(client->isOpen());
        disconnected++;
    }
};

long countDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

/// The limit of open descriptors, for a scope.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(rlim_t limit)
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit const wanted{std::min(limit, m_before.rlim_max), m_before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &wanted), 0);
        value = wanted.rlim_cur;
    }

    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }

    rlim_t value;

private:
    rlimit m_before;
};
}

TEST(TcpServer, ServesThousandsAtOnceHoweverTheyLeave)
{
    DescriptorLimit const limit(4200); // both ends are in this process
    int const count = static_cast<int>(std::min<rlim_t>(limit.value / 2 - 100, 2000));
    long const descriptors = countDescriptors();
    {
        EchoServer echo;
        std::vector<Peer> peers;
        for (int i = 0; i < count; i++)
        {
            ASSERT_TRUE(echo.waitFor(echo.connected, i - 8)); // or the queue of those who wait is full
            peers.push_back(echo.connectPeer());
            peers.back().send("client " + std::to_string(i));
        }
        ASSERT_TRUE(echo.waitFor(echo.connected, count));
        for (int i = 0; i < count; i++)
        {
            std::string const text = "client " + std::to_string(i);
            EXPECT_EQ(peers[i].receive(text.size()), text);
            switch (i % 3)
            {
            case 0:
                peers[i].endSending();
                break;
            case 1:
                peers[i].reset();
                break;
            case 2:
                peers[i].send("unread");
                peers[i].leave();
            }
        }
        ASSERT_TRUE(echo.waitFor(echo.disconnected, count));
        for (int i = 0; i < count; i += 3)
            EXPECT_EQ(peers[i].receive(1), "") << "the server closes what has ended";
        EXPECT_EQ(echo.connected, count);
        EXPECT_EQ(echo.disconnected, count);
    }
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST(TcpServer, ServesOthersWhileOneDoesNotReadAndOneSendsSingleBytes)
{
    EchoServer echo;
    Peer const greedy = echo.connectPeer();
    Peer const slow = echo.connectPeer();
    std::string const megabyte(1 << 20, 'x');
    echo.onCommand = [&](Client client, std::string const&)
    {
        unsigned int sent = 0;
        while (client->sendOnce(megabyte.data(), megabyte.size(), sent, 0, true).isSuccess())
            continue;
        echo.onCommand = nullptr;
    };
    greedy.send("fill my buffers");
    ASSERT_TRUE(echo.loop.eventually([&] { return !echo.onCommand; }));
    for (char const byte : std::string("one byte at a time"))
    {
        slow.send(std::string(1, byte));
        EXPECT_EQ(slow.receive(1), std::string(1, byte));
    }
}

TEST(TcpServer, LackOfDescriptorsLosesNobodyWhoWaits)
{
    meetPointerOfLines();
    constexpr int SPARE = 3;
    EchoServer echo;
    EXPECT_TRUE(echo.server->getListener()->isListening()); // which meets the class that will be asked again
    Peer const first = echo.connectPeer();
    ASSERT_TRUE(echo.waitFor(echo.connected, 1) && echo.loop.handleAll());
    for (bool const anotherComes : {true, false}) // its arrival is an edge; without one the listener asks again
    {
        int const before = echo.connected;
        std::vector<Peer> peers(SPARE + 10);
        Peer another;
        {
            DescriptorLimit const limit(countDescriptors() + 20);
            std::vector<int> descriptors;
            for (int fd = -1; (fd = dup(0)) >= 0;)
                descriptors.push_back(fd);
            for (int i = 0; i < SPARE; i++, descriptors.pop_back())
                close(descriptors.back());
            for (Peer& peer : peers)
                peer.connect(echo.port);
            EXPECT_TRUE(echo.waitFor(echo.connected, before + SPARE));
            EXPECT_TRUE(echo.loop.handleAll());
            EXPECT_EQ(echo.connected, before + SPARE);
            for (int fd : descriptors)
                close(fd);
        }
        if (anotherComes)
            another.connect(echo.port);
        EXPECT_TRUE(echo.waitFor(echo.connected, before + SPARE + 10 + anotherComes));
        for (Peer const& peer : peers)
        {
            peer.send("hello");
            EXPECT_EQ(peer.receive(5), "hello");
        }
        peers.clear();
        another.leave();
        EXPECT_TRUE(echo.waitFor(echo.disconnected, echo.connected - 1));
        EXPECT_TRUE(echo.loop.handleAll());
    }
}

TEST(TcpServer, MayBeDestroyedByASlotAndLeavesKeptClientsToTheirKeepers)
{
    for (bool const inFront : {false, true}) // of the server's own slot, which is called nevertheless
    {
        EchoServer echo;
        Client kept;
        std::string received;
        auto const destroy = [&](TString<char> const&) { echo.server = nullptr; };
        auto const receive = [&](TString<char> const& data) { received.append(data.data(), data.length()); };
        echo.onCommand = [&](Client client, std::string const&)
        {
            kept = client;
            if (inFront)
                client->onBinaryData.connect(ZK::bindArgs(ZK::directCall(), destroy), ZK::Sig::Ordering::FRONT);
            else
                echo.server = nullptr;
        };
        Peer const other = echo.connectPeer(), keeper = echo.connectPeer();
        ASSERT_TRUE(echo.waitFor(echo.connected, 2));
        keeper.send("keep me");
        EXPECT_TRUE(echo.loop.eventually([&] { return static_cast<bool>(kept); }));
        keeper.send("once more");
        EXPECT_EQ(other.receive(1), "");

        echo.loop.synchronized([&] { kept->onBinaryData.connect(ZK::bindArgs(ZK::directCall(), receive)); });
        keeper.send("to the keeper");
        EXPECT_TRUE(echo.loop.eventually([&] { return received.ends_with("to the keeper"); }));
        echo.loop.synchronized([&] { kept = nullptr; });
        EXPECT_EQ(keeper.receive(1), "");
        EXPECT_EQ(echo.disconnected, 0);
    }
}

TEST(TcpServer, StopsWithoutASignalAndStartsAgain)
{
    EchoServer echo;
    for (int i = 1; i <= 2; i++)
    {
        Peer const peer = echo.connectPeer();
        ASSERT_TRUE(echo.waitFor(echo.connected, i));
        echo.loop.synchronized([&] { echo.server->stop(); });
        EXPECT_EQ(peer.receive(1), "");
        EXPECT_EQ(echo.server->start("bad", 80).toString(), "NEITHER AN IPV4 NOR AN IPV6 ADDRESS");
        XCode const code = echo.loop.synchronized([&] { return echo.server->start(AF_INET, 0); });
        ASSERT_TRUE(code.isSuccess()) << code.toString().c_str();
        echo.port = portOf(*echo.server->getListener());
    }
    EXPECT_EQ(echo.disconnected, 0);
}

TEST(TcpServer, ForgetsClientsThatSlotsHaveClosed)
{
    EchoServer echo;
    Client first;
    echo.onCommand = [&](Client client, std::string const&)
    {
        if (!first)
            first = client;
        client->close();
        echo.present.erase(client.getObj()); // nothing tells of its end
    };
    for (int i = 1; i <= 100; i++)
    {
        Peer const peer = echo.connectPeer();
        peer.send("close me");
        EXPECT_EQ(peer.receive(1), "");
    }
    EXPECT_TRUE(echo.loop.eventually([&] { return first.getObj()->getRefCount() == 1; }));
}
