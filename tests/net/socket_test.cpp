#include "zekovar/net/ip_socket.h"

#include "tests/net/peer.h"

#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <vector>

using Socket = ZKPPtr<ZK::IpSocket>;

namespace
{
Socket makeSocket(ZKEventLoop& loop)
{
    return ZK::MovePtr<ZK::IpSocket>(new ZK::IpSocket(loop, true));
}

constexpr char NO_FAMILY[] = "NEITHER AN IPV4 NOR AN IPV6 ADDRESS";
}

TEST(Socket, FailuresTellWhyAndLeaveTheDescriptor)
{
    TestLoop loop; // doesn't run
    Socket const socket = makeSocket(loop), other = makeSocket(loop);
    for (XCode const& code : {socket->bindOnly(IpAddress("127.0.0.1"), 0), socket->listenOnly(1),
                              socket->connectOnly(IpAddress("127.0.0.1"), 1)})
    {
        EXPECT_EQ(code.getValue(), XCODE_FAILURE);
        EXPECT_EQ(code.toString(), "SOCKET IS CLOSED");
    }
    EXPECT_EQ(socket->bindOnly(80).toString(), "CANNOT DETERMINE ADDRESS DOMAIN");
    EXPECT_FALSE(socket->isListening());
    EXPECT_EQ(socket->openSocketOnly(-1, SOCK_STREAM, 0).toString(), "CANNOT CREATE SOCKET");
    ASSERT_TRUE(socket->listen(SOCK_STREAM, 0, IpAddress("127.0.0.1"), 0, 1).isSuccess());
    EXPECT_TRUE(socket->isListening());
    EXPECT_EQ(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).toString(), "CLOSE SOCKET BEFORE RE-OPENING");

    XCode const taken = other->bind(AF_INET, SOCK_STREAM, 0, IpAddress("127.0.0.1"), portOf(*socket));
    EXPECT_EQ(taken.getValue(), XCODE_ERRNO + EADDRINUSE);
    EXPECT_EQ(taken.toString(), "CANNOT BIND TO LOCAL ADDRESS");
    EXPECT_TRUE(other->isOpen());
    Socket accepted;
    IpAddress address;
    unsigned short port = 7;
    XCode const code = other->accept(accepted, address, port);
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + EINVAL);
    EXPECT_EQ(code.toString(), "CANNOT ACCEPT CONNECTION");
    EXPECT_TRUE(accepted && !accepted->isOpen() && address.isEmpty() && port == 7);
}

TEST(Socket, AcceptReusesTheSocketThatIsThereAndTransfersCount)
{
    TestLoop loop; // doesn't run
    Socket const listener = makeSocket(loop);
    Socket accepted = makeSocket(loop);
    ZK::IpSocket* const before = accepted.getObj();
    ASSERT_TRUE(listener->listen(AF_INET, SOCK_STREAM, 0, 0, 4).isSuccess());
    Peer const first(portOf(*listener)), second(portOf(*listener));
    IpAddress address;
    unsigned short port = 0;
    ASSERT_TRUE(listener->accept(accepted, address, port).isSuccess());
    ASSERT_TRUE(listener->accept(accepted, address, port).isSuccess());
    EXPECT_EQ(accepted.getObj(), before);
    EXPECT_EQ(address.getIpAddrAsString(), "127.0.0.1");
    EXPECT_EQ(first.receive(1), "") << "what the socket had open is closed";

    unsigned int count = 7;
    char byte = 0;
    EXPECT_TRUE(accepted->sendFixedSize(nullptr, 0, 0, true).isSuccess());
    EXPECT_TRUE(accepted->sendOnce("ab", 2, count, 0, true).isSuccess() && count == 2);
    EXPECT_EQ(second.receive(2), "ab");
    EXPECT_EQ(accepted->recvFrom(nullptr, nullptr, &byte, 1, count, MSG_DONTWAIT, true), XCode(XCODE_ERRNO + EAGAIN));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(accepted->shutdown(SHUT_WR).isSuccess());
    count = 7;
    EXPECT_EQ(accepted->sendOnce("ab", 2, count, 0, true), XCode(XCODE_ERRNO + EPIPE)) << "and no SIGPIPE";
    EXPECT_EQ(count, 0u);
}

TEST(Socket, OptionsAreReadAsTheyWereSet)
{
    TestLoop loop;
    Socket const socket = makeSocket(loop);
    bool isOn = true;
    EXPECT_EQ(socket->getOption(SOL_SOCKET, SO_KEEPALIVE, isOn), XCode(XCODE_ERRNO + EBADF));
    EXPECT_TRUE(isOn) << "left alone";
    ASSERT_TRUE(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).isSuccess());
    EXPECT_TRUE(socket->setOption(SOL_SOCKET, SO_KEEPALIVE, true).isSuccess());
    isOn = false;
    EXPECT_TRUE(socket->getOption(SOL_SOCKET, SO_KEEPALIVE, isOn).isSuccess() && isOn);
    int type = 0, onOff = 0, seconds = 0;
    EXPECT_TRUE(socket->getOption(SOL_SOCKET, SO_TYPE, type).isSuccess() && type == SOCK_STREAM);
    EXPECT_TRUE(socket->setOptionLinger(1, 30).isSuccess());
    EXPECT_TRUE(socket->getOptionLinger(onOff, seconds).isSuccess() && onOff == 1 && seconds == 30);
}

TEST(Socket, TextOptionsAreReadAndSet)
{
    TestLoop loop;
    Socket const socket = makeSocket(loop);
    ASSERT_TRUE(socket->openSocketOnly(AF_INET, SOCK_STREAM, 0).isSuccess());
    String congestion;
    EXPECT_TRUE(socket->getOption(IPPROTO_TCP, TCP_CONGESTION, congestion).isSuccess());
    EXPECT_FALSE(congestion.isEmpty());
    EXPECT_TRUE(socket->setOption(IPPROTO_TCP, TCP_CONGESTION, congestion).isSuccess());
}

TEST(IpSocket, AddressesGoToTheKernelAndBack)
{
    struct
    {
        IpAddress address;
        int family;
        unsigned int length;
    } const cases[] = {{IpAddress("192.0.2.7"), AF_INET, 16}, {IpAddress("2001:db8::7"), AF_INET6, 28}};

    for (auto const& [address, family, expected] : cases)
    {
        sockaddr_storage storage, wildcard;
        std::memset(&storage, 0xee, sizeof(storage));
        unsigned int length = 0;
        IpAddress result;
        unsigned short port = 0;
        ASSERT_TRUE(ZK::IpSocket::SOCK_ADDR(&storage, length, address, 0x1234).isSuccess());
        EXPECT_EQ(storage.ss_family, family);
        EXPECT_EQ(length, expected);
        EXPECT_TRUE(ZK::IpSocket::IP_ADDR_PORT(result, port, &storage).isSuccess());
        EXPECT_EQ(result.getIpAddrAsString(), address.getIpAddrAsString());
        EXPECT_EQ(port, 0x1234);
        auto const* bytes = reinterpret_cast<unsigned char const*>(&storage);
        EXPECT_TRUE(bytes[2] == 0x12 && bytes[3] == 0x34) << "the network's order";

        ASSERT_TRUE(ZK::IpSocket::SOCK_ADDR(&wildcard, length, family, 80).isSuccess());
        EXPECT_EQ(length, expected);
        EXPECT_TRUE(ZK::IpSocket::IP_ADDR_PORT(result, port, &wildcard).isSuccess());
        EXPECT_EQ(result.isEmpty(), family == AF_INET) << "0.0.0.0 comes back as no address";
        EXPECT_EQ(port, 80);
    }
    sockaddr_storage storage{};
    unsigned int length = 0;
    IpAddress address;
    unsigned short port = 0;
    EXPECT_EQ(ZK::IpSocket::SOCK_ADDR(nullptr, length, IpAddress("::1"), 1).getValue(), XCODE_FAILURE);
    EXPECT_EQ(ZK::IpSocket::SOCK_ADDR(&storage, length, IpAddress(), 1).toString(), NO_FAMILY);
    EXPECT_EQ(ZK::IpSocket::SOCK_ADDR(&storage, length, AF_UNIX, 1).toString(), NO_FAMILY);
    storage.ss_family = AF_UNIX;
    EXPECT_EQ(ZK::IpSocket::IP_ADDR_PORT(address, port, &storage).toString(), NO_FAMILY);
}

TEST(IpSocket, MulticastGroupsAreJoinedAndLeft)
{
    TestLoop loop;
    Socket const socket = makeSocket(loop);
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
