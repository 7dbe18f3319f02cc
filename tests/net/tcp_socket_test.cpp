#include "zekovar/net/tcp_socket.h"

#include "tests/net/peer.h"

#include <vector>

using std::placeholders::_1;
using ZK::TcpSocket;
using Socket = ZKPPtr<TcpSocket>;

namespace
{
/// What arrives at a socket; its end as a full stop.
struct Inbox
{
    void watch(TcpSocket& socket)
    {
        socket.onBinaryData.connect(ZK::bindArgs(&Inbox::add, this, _1));
        socket.onHangup.connect(ZK::bindArgs(&Inbox::end, this));
    }

    void add(TString<char> const& bytes) { data.append(bytes.data(), bytes.length()); }

    void end() { data += '.'; }

    std::string data;
};
}

TEST(TcpSocket, ConnectsBlockingAndTalksBySignalsOverBothFamilies)
{
    for (char const* host : {"127.0.0.1", "::1"})
    {
        NetLoop loop;
        Socket const listener = makeSocket<TcpSocket>(loop), client = makeSocket<TcpSocket>(loop);
        Socket accepted;
        Inbox atServer, atClient;
        auto const accept = [&](Socket socket)
        {
            accepted = socket;
            atServer.watch(*socket);
        };
        listener->accepted.connect(ZK::bindArgs(ZK::directCall(), accept));
        client->connected.connect(ZK::bindArgs(ZK::directCall(), [] { FAIL() << "connected at once"; }));
        ASSERT_TRUE(listener->listen(IpAddress(host), 0, 16).isSuccess());
        ASSERT_TRUE(client->connect(IpAddress(host), portOf(*listener)).isSuccess());
        loop.synchronized([&] { atClient.watch(*client); });
        EXPECT_TRUE(client->send(TString<char>("question", 8), 0, true).isSuccess());
        EXPECT_TRUE(loop.eventually([&] { return atServer.data == "question"; }));
        loop.synchronized(
            [&]
            {
                EXPECT_TRUE(accepted->send(String("answer"), 0, true).isSuccess());
                accepted = nullptr;
            });
        EXPECT_TRUE(loop.eventually([&] { return atClient.data == "answer."; }));
    }
}

TEST(TcpSocket, ListenerTellsOfAllThatWaitAndClosesWhomNobodyKeeps)
{
    NetLoop loop;
    Socket const listener = makeSocket<TcpSocket>(loop);
    std::vector<Socket> kept;
    std::vector<Peer> peers;
    int told = 0;
    auto const keepOdd = [&](Socket socket)
    {
        EXPECT_FALSE(socket->onHangup.hasSlots()) << "those of the client before";
        socket->onHangup.connect(ZK::bindArgs(ZK::directCall(), [] {}));
        if (told++ % 2 == 1)
            kept.push_back(socket);
    };
    loop.synchronized(
        [&]
        {
            listener->accepted.connect(ZK::bindArgs(ZK::directCall(), keepOdd));
            ASSERT_TRUE(listener->listen(AF_INET, 0, 16).isSuccess());
            for (int i = 0; i < 6; i++)
                peers.emplace_back(portOf(*listener)); // all in one report
        });
    EXPECT_TRUE(loop.eventually([&] { return told == 6; }));
    for (int i = 0; i < 6; i += 2)
    {
        EXPECT_EQ(peers[i].receive(1), "");
        EXPECT_TRUE(kept[i / 2]->send(String("kept"), 0, true).isSuccess());
        EXPECT_EQ(peers[i + 1].receive(4), "kept");
    }
    EXPECT_TRUE(listener->close().isSuccess());
    EXPECT_FALSE(listener->onReadReady.hasSlots());
}

TEST(TcpSocket, FailuresTellWhy)
{
    TestLoop loop;
    Socket const socket = makeSocket<TcpSocket>(loop), bound = makeSocket<TcpSocket>(loop);
    EXPECT_EQ(socket->connect(IpAddress(), 80).toString(), "NEITHER AN IPV4 NOR AN IPV6 ADDRESS");
    EXPECT_EQ(socket->listen(IpAddress(), 80, 16).toString(), "NEITHER AN IPV4 NOR AN IPV6 ADDRESS");
    EXPECT_TRUE(socket->listenOnly(16).isErr() && !socket->onReadReady.hasSlots());
    ASSERT_TRUE(bound->openSocketOnly(AF_INET).isSuccess());
    ASSERT_TRUE(bound->bindOnly(IpAddress("127.0.0.1"), 0).isSuccess());
    EXPECT_EQ(socket->connect(IpAddress("127.0.0.1"), portOf(*bound)).getValue(), XCODE_ERRNO + ECONNREFUSED);
}

TEST(TcpSocket, PutOffConnectionTellsOfWriteReadinessUntilItIsClosed)
{
    struct Hesitant : TcpSocket
    {
        using TcpSocket::TcpSocket;

        XCode connectOnly(sockaddr const* address, unsigned int length) override
        {
            XCode const code = TcpSocket::connectOnly(address, length);
            return code.isSuccess() ? XCode(XCODE_ERRNO + EAGAIN) : code;
        }
    };

    NetLoop loop;
    Socket const listener = makeSocket<TcpSocket>(loop);
    ASSERT_TRUE(listener->listen(AF_INET, 0, 16).isSuccess());
    auto const client = makeSocket<Hesitant>(loop);
    std::atomic<int> edges = 0;
    client->connected.connect(ZK::bindArgs(ZK::directCall(), [&] { edges++; }));
    ASSERT_TRUE(client->connect(IpAddress("127.0.0.1"), portOf(*listener)).isSuccess());
    EXPECT_TRUE(eventually([&] { return edges > 0; }));
    EXPECT_TRUE(client->close().isSuccess());
    EXPECT_FALSE(client->onWriteReady.hasSlots());
}

TEST(TcpSocket, CopySharesTheDescriptorAndTellsSizesOfItsQueues)
{
    TestLoop loop; // doesn't run
    Socket const listener = makeSocket<TcpSocket>(loop), client = makeSocket<TcpSocket>(loop);
    Socket server;
    IpAddress address;
    unsigned short port = 0;
    ASSERT_TRUE(listener->listen(AF_INET, 0, 16).isSuccess());
    ASSERT_TRUE(client->connect(IpAddress("127.0.0.1"), portOf(*listener)).isSuccess());
    TcpSocket copy(*listener);
    EXPECT_FALSE(copy.onReadReady.hasSlots());
    ASSERT_TRUE(copy.accept(server, address, port).isSuccess());
    EXPECT_EQ(address.getIpAddrAsString(), "127.0.0.1");
    EXPECT_EQ(port, portOf(*client));

    ASSERT_TRUE(client->send(String("12345"), 0, true).isSuccess());
    ASSERT_TRUE(client->send(String("!"), MSG_OOB, true).isSuccess());
    int bytes = -1;
    bool isMarked = true;
    char data[5];
    ASSERT_TRUE(eventually([&] { return server->getReceiveQueueSize(bytes).isSuccess() && bytes == 5; }));
    EXPECT_TRUE(server->isAtUrgentMark(isMarked).isSuccess() && !isMarked);
    EXPECT_TRUE(server->readFixedSize(data, 5, true).isSuccess());
    EXPECT_TRUE(server->isAtUrgentMark(isMarked).isSuccess() && isMarked);
    EXPECT_TRUE(eventually([&] { return client->getTransmitQueueSize(bytes).isSuccess() && bytes == 0; }));
}
