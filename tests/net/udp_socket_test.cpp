#include "zekovar/net/udp_socket.h"

#include "tests/net/peer.h"

#include <vector>

using std::placeholders::_1;
using std::placeholders::_2;
using std::placeholders::_3;

using ZK::UdpSocket;

namespace
{
struct Inbox
{
    void watch(UdpSocket& socket) { socket.datagramReceived.connect(ZK::bindArgs(&Inbox::add, this, _1, _2, _3)); }

    void add(IpAddress const& from, unsigned short fromPort, TString<char> const& datagram)
    {
        sender = from.getIpAddrAsString();
        port = fromPort;
        datagrams.emplace_back(datagram.data(), datagram.length());
    }

    String sender;
    unsigned short port = 0;
    std::vector<std::string> datagrams;
};
}

TEST(UdpSocket, DatagramsArriveOneByOneWithTheirSender)
{
    for (char const* host : {"127.0.0.1", "::1"})
    {
        NetLoop loop;
        Inbox inbox;
        auto const receiver = makeSocket<UdpSocket>(loop, 10u), sender = makeSocket<UdpSocket>(loop, 10u);
        inbox.watch(*receiver);
        ASSERT_TRUE(receiver->bind(IpAddress(host), 0).isSuccess());
        ASSERT_TRUE(sender->bind(IpAddress(host), 0).isSuccess());
        unsigned short const port = portOf(*receiver);
        loop.synchronized(
            [&]
            {
                for (char const* text : {"first", "", "longer than ten", "last"}) // in one report
                    EXPECT_TRUE(sender->sendTo(IpAddress(host), port, String(text), 0, true).isSuccess());
            });
        EXPECT_TRUE(loop.eventually([&] { return inbox.datagrams.size() == 4; }));
        EXPECT_EQ(inbox.datagrams, (std::vector<std::string>{"first", "", "longer tha", "last"}));
        EXPECT_EQ(inbox.sender, host);
        EXPECT_EQ(inbox.port, portOf(*sender));
    }
}

TEST(UdpSocket, SlotMayCloseAndReopenTheSocketWhichIsSilentThenAsCopiesAre)
{
    NetLoop loop;
    auto const receiver = makeSocket<UdpSocket>(loop, 100u);
    IpAddress address("127.0.0.1");
    int received = 0;
    auto const close = [&](IpAddress, unsigned short, TString<char>)
    {
        received++;
        receiver->close();
        EXPECT_TRUE(receiver->bind(AF_INET, 0).isSuccess());
    };
    receiver->datagramReceived.connect(ZK::bindArgs(ZK::directCall(), close));
    ASSERT_TRUE(receiver->bind(address, 0).isSuccess());
    UdpSocket copy(*receiver);
    EXPECT_FALSE(copy.onReadReady.hasSlots());
    loop.synchronized(
        [&]
        {
            for (int i = 0; i < 3; i++)
                copy.sendTo(address, portOf(copy), String("to myself"), 0, true);
        });
    EXPECT_TRUE(loop.eventually([&] { return received == 1; }));

    EXPECT_TRUE(receiver->isBlocking());
    unsigned short port = portOf(*receiver);
    EXPECT_TRUE(copy.sendTo(address, port, TString<char>("hello", 5), 0, true).isSuccess());
    unsigned int count = 0;
    char data[8];
    EXPECT_TRUE(receiver->recvFrom(address, port, data, sizeof(data), count, 0, true).isSuccess());
    EXPECT_EQ(std::string(data, count), "hello");
    EXPECT_EQ(port, portOf(copy));
    EXPECT_EQ(received, 1);
}

TEST(UdpSocket, ErrorOfASentDatagramHoldsUpNoneThatArrived)
{
    NetLoop loop;
    Inbox inbox;
    auto const client = makeSocket<UdpSocket>(loop, 100u), server = makeSocket<UdpSocket>(loop, 100u);
    IpAddress const host("127.0.0.1");
    inbox.watch(*client);
    ASSERT_TRUE(server->bind(host, 0).isSuccess());
    ASSERT_TRUE(client->bind(host, 0).isSuccess());
    unsigned short const port = portOf(*client);
    ASSERT_TRUE(client->connectOnly(host, portOf(*server)).isSuccess());
    loop.synchronized(
        [&]
        {
            EXPECT_TRUE(server->sendTo(host, port, String("last words"), 0, true).isSuccess());
            server->close();
            EXPECT_TRUE(client->send(String("still there?"), 0, true).isSuccess()); // no: refused
        });
    EXPECT_TRUE(loop.eventually([&] { return inbox.datagrams.size() == 1; }));
}

TEST(UdpSocket, DatagramIsSentWholeOrNotAtAll)
{
    TestLoop loop;
    auto const sender = makeSocket<UdpSocket>(loop, 100u);
    ASSERT_TRUE(sender->openSocketOnly(AF_INET).isSuccess());
    XCode const code = sender->sendTo(IpAddress("127.0.0.1"), 9, String::repeat("x", 70000), 0, true);
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + EMSGSIZE);
}
