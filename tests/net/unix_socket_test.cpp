#include "zekovar/net/unix_socket.h"

#include "tests/net/peer.h"
#include "tests/temporary_directory.h"

#include <sys/un.h>

using ZK::UnixSocket;

TEST(UnixSocket, AddressHoldsPathsOfUpTo106Characters)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    String const longest = String::repeat("x", 106), tooLong = String::repeat("x", 107);
    ASSERT_TRUE(UnixSocket::SOCK_ADDR(&storage, length, longest).isSuccess());
    EXPECT_EQ(length, 110u);
    EXPECT_EQ(longest, reinterpret_cast<sockaddr_un&>(storage).sun_path);
    EXPECT_EQ(UnixSocket::SOCK_ADDR(&storage, length, tooLong).toString(),
              String::stringOfFormat("PATH NAME TOO LONG: %s (MAX 107 CHARS)", tooLong.c_str()));
    EXPECT_EQ(UnixSocket::SOCK_ADDR(nullptr, length, "x").getValue(), XCODE_FAILURE);
}

TEST(UnixSocket, OnlyBindOnlyReplacesWhatStandsAtItsPath)
{
    TemporaryDirectory const directory;
    TestLoop loop;
    auto const socket = makeSocket<UnixSocket>(loop);
    for (int i = 0; i < 2; i++, socket->close())
    {
        ASSERT_TRUE(socket->openSocketOnly(SOCK_STREAM).isSuccess());
        EXPECT_TRUE(socket->bindOnly(directory / "socket").isSuccess());
    }
    EXPECT_EQ(socket->bind(SOCK_DGRAM, directory / "socket").getValue(), XCODE_ERRNO + EADDRINUSE);
    socket->close();
    EXPECT_EQ(socket->listen(SOCK_STREAM, directory / "socket", 4).getValue(), XCODE_ERRNO + EADDRINUSE);
}

TEST(UnixSocket, StreamsConnectBlockingAndTalkBySignals)
{
    TemporaryDirectory const directory;
    NetLoop loop;
    auto const listener = makeSocket<UnixSocket>(loop), client = makeSocket<UnixSocket>(loop);
    ZKPPtr<UnixSocket> accepted;
    EXPECT_EQ(listener->accept(accepted, nullptr, nullptr).getValue(), XCODE_FAILURE) << "there is no socket to fill";
    String received;
    auto const accept = [&](ZKPPtr<UnixSocket> socket)
    {
        accepted = socket;
        socket->onStringData.connect(ZK::bindArgs(ZK::directCall(), [&](String text) { received = text; }));
    };
    listener->accepted.connect(ZK::bindArgs(ZK::directCall(), accept));
    ASSERT_TRUE(listener->listen(SOCK_STREAM, directory / "socket", 4).isSuccess());
    ASSERT_TRUE(client->connect(SOCK_STREAM, directory / "socket").isSuccess());
    EXPECT_TRUE(client->send(String("hello"), 0, true).isSuccess());
    EXPECT_TRUE(loop.eventually([&] { return received == "hello"; }));
    loop.synchronized(
        [&]
        {
            EXPECT_TRUE(accepted->send(String("bye"), 0, true).isSuccess());
            accepted = nullptr;
        });
    bool eof = false;
    EXPECT_TRUE(client->read(received, eof, true).isSuccess());
    EXPECT_EQ(received, "bye");
    EXPECT_TRUE(listener->close().isSuccess());
    EXPECT_FALSE(listener->onReadReady.hasSlots());
}

TEST(UnixSocket, DatagramsArriveWithTheirSender)
{
    TemporaryDirectory const directory;
    TestLoop loop; // doesn't run
    auto const receiver = makeSocket<UnixSocket>(loop), sender = makeSocket<UnixSocket>(loop);
    ASSERT_TRUE(receiver->bind(SOCK_DGRAM, directory / "receiver").isSuccess());
    ASSERT_TRUE(sender->bind(SOCK_DGRAM, directory / "sender").isSuccess());
    ASSERT_TRUE(sender->connectOnly(directory / "receiver").isSuccess());
    ASSERT_TRUE(sender->send(String("datagram"), 0, true).isSuccess());
    sockaddr_un from{};
    unsigned int length = sizeof(from), count = 0;
    char data[16];
    auto* const address = reinterpret_cast<sockaddr*>(&from);
    ASSERT_TRUE(receiver->recvFrom(address, &length, data, sizeof(data), count, 0, true).isSuccess());
    EXPECT_EQ(std::string(data, count), "datagram");
    EXPECT_EQ(directory / "sender", from.sun_path);
}
