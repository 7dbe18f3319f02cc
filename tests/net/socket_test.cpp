#include "zekovar/net/ip_socket.h"

#include "tests/net/peer.h"

#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>

using ZK::IpSocket;

TEST(Socket, FailuresTellWhyAndLeaveTheDescriptor)
{
    TestLoop loop; // doesn't run
    auto const socket = makeSocket<IpSocket>(loop), other = makeSocket<IpSocket>(loop);
    IpAddress const local("127.0.0.1");
    for (XCode const& code : {socket->bindOnly(local, 0), socket->listenOnly(1), socket->connectOnly(local, 1)})
        EXPECT_EQ(code.toString(), "SOCKET IS CLOSED");
    EXPECT_EQ(socket->bindOnly(80).toString(), "CANNOT DETERMINE ADDRESS DOMAIN");
    EXPECT_EQ(socket->openSocketOnly(-1, SOCK_STREAM, 0).toString(), "CANNOT CREATE SOCKET");
    ASSERT_TRUE(socket->listen(SOCK_STREAM, 0, local, 0, 1).isSuccess());
    EXPECT_EQ(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).toString(), "CLOSE SOCKET BEFORE RE-OPENING");

    XCode const taken = other->bind(AF_INET, SOCK_STREAM, 0, local, portOf(*socket));
    EXPECT_EQ(taken.getValue(), XCODE_ERRNO + EADDRINUSE);
    EXPECT_EQ(taken.toString(), "CANNOT BIND TO LOCAL ADDRESS");
    EXPECT_TRUE(other->isOpen());
    ZKPPtr<IpSocket> accepted;
    IpAddress address;
    unsigned short port = 7;
    XCode const code = other->accept(accepted, address, port);
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + EINVAL);
    EXPECT_EQ(code.toString(), "CANNOT ACCEPT CONNECTION");
    EXPECT_TRUE(accepted && !accepted->isOpen() && address.isEmpty() && port == 7);
}

TEST(Socket, AcceptReusesTheSocketThatIsThere)
{
    TestLoop loop; // doesn't run
    auto const listener = makeSocket<IpSocket>(loop);
    auto accepted = makeSocket<IpSocket>(loop);
    ZKPPtr<IpSocket> const before = accepted;
    ASSERT_TRUE(listener->listen(AF_INET, SOCK_STREAM, 0, 0, 4).isSuccess());
    Peer const first(portOf(*listener)), second(portOf(*listener));
    IpAddress address;
    unsigned short port = 0;
    ASSERT_TRUE(listener->accept(accepted, address, port).isSuccess());
    ASSERT_TRUE(listener->accept(accepted, address, port).isSuccess());
    EXPECT_EQ(accepted.getObj(), before.getObj());
    EXPECT_EQ(first.receive(1), "") << "what the socket had open is closed";
    EXPECT_TRUE(accepted->send(String("ab"), 0, true).isSuccess());
    EXPECT_EQ(second.receive(2), "ab");
}

TEST(Socket, OptionsAreReadAsTheyWereSet)
{
    TestLoop loop;
    auto const socket = makeSocket<IpSocket>(loop);
    bool isOn = true;
    EXPECT_EQ(socket->getOption(SOL_SOCKET, SO_KEEPALIVE, isOn), XCode(XCODE_ERRNO + EBADF));
    EXPECT_TRUE(isOn) << "left alone";
    ASSERT_TRUE(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).isSuccess());
    EXPECT_TRUE(socket->getOption(SOL_SOCKET, SO_KEEPALIVE, isOn).isSuccess() && !isOn);
    EXPECT_TRUE(socket->setOption(SOL_SOCKET, SO_KEEPALIVE, true).isSuccess());
    EXPECT_TRUE(socket->getOption(SOL_SOCKET, SO_KEEPALIVE, isOn).isSuccess() && isOn);
    int onOff = 0, seconds = 0;
    EXPECT_TRUE(socket->setOptionLinger(1, 30).isSuccess());
    EXPECT_TRUE(socket->getOptionLinger(onOff, seconds).isSuccess() && onOff == 1 && seconds == 30);
}

TEST(Socket, TextOptionsAreReadAndSet)
{
    TestLoop loop;
    auto const socket = makeSocket<IpSocket>(loop);
    ASSERT_TRUE(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).isSuccess());
    String congestion;
    EXPECT_TRUE(socket->getOption(IPPROTO_TCP, TCP_CONGESTION, congestion).isSuccess());
    EXPECT_FALSE(congestion.isEmpty());
    EXPECT_TRUE(socket->setOption(IPPROTO_TCP, TCP_CONGESTION, congestion).isSuccess());
}

TEST(IpSocket, AddressesGoToTheKernelAndBack)
{
    IpAddress result;
    unsigned short port = 0;
    unsigned int length = 0;
    sockaddr_storage storage;
    for (char const* text : {"192.0.2.7", "2001:db8::7"})
    {
        std::memset(&storage, 0xee, sizeof(storage));
        ASSERT_TRUE(IpSocket::SOCK_ADDR(&storage, length, IpAddress(text), 0x1234).isSuccess());
        EXPECT_EQ(length, storage.ss_family == AF_INET ? 16u : 28u);
        EXPECT_EQ(std::memcmp(reinterpret_cast<char const*>(&storage) + 2, "\x12\x34", 2), 0) << "the network's order";
        EXPECT_TRUE(IpSocket::IP_ADDR_PORT(result, port, &storage).isSuccess());
        EXPECT_EQ(result.getIpAddrAsString(), text);
        EXPECT_EQ(port, 0x1234);
    }
    ASSERT_TRUE(IpSocket::SOCK_ADDR(&storage, length, AF_INET, 80).isSuccess());
    EXPECT_TRUE(IpSocket::IP_ADDR_PORT(result, port, &storage).isSuccess());
    EXPECT_TRUE(result.isEmpty() && port == 80) << "0.0.0.0 comes back as no address";

    storage.ss_family = AF_UNIX;
    for (XCode const& code :
         {IpSocket::SOCK_ADDR(&storage, length, IpAddress(), 1), IpSocket::SOCK_ADDR(&storage, length, AF_UNIX, 1),
          IpSocket::IP_ADDR_PORT(result, port, &storage)})
        EXPECT_EQ(code.toString(), "NEITHER AN IPV4 NOR AN IPV6 ADDRESS");
    EXPECT_EQ(IpSocket::SOCK_ADDR(nullptr, length, IpAddress("::1"), 1).getValue(), XCODE_FAILURE);
}

TEST(IpSocket, MulticastGroupsAreJoinedAndLeft)
{
    TestLoop loop;
    auto const socket = makeSocket<IpSocket>(loop);
    IpAddress const group("239.1.2.3"), local("127.0.0.1"), source("127.0.0.2");
    XCode const notThere(XCODE_ERRNO + EADDRNOTAVAIL);
    ASSERT_TRUE(socket->openSocketOnly(AF_INET, SOCK_DGRAM, 0).isSuccess());
    EXPECT_EQ(socket->leaveMulticastGroup(group, local, 0), notThere);
    ASSERT_TRUE(socket->joinMulticastGroup(group, local, 0).isSuccess());
    EXPECT_TRUE(socket->blockMulticastSource(group, local, source).isSuccess());
    EXPECT_EQ(socket->blockMulticastSource(group, local, source), notThere) << "already blocked";
    EXPECT_TRUE(socket->leaveMulticastGroup(group, local, 0).isSuccess());
    EXPECT_TRUE(socket->leaveMulticastGroup(group, local, source).isErr());
}
