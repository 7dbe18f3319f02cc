#include "zekovar/net/unix_socket.h"

#include "tests/net/peer.h"
#include "tests/temporary_directory.h"

#include <sys/un.h>

using Socket = ZKPPtr<ZK::UnixSocket>;

namespace
{
Socket makeSocket(ZKEventLoop& loop)
{
    return ZK::MovePtr<ZK::UnixSocket>(new ZK::UnixSocket(loop, true));
}
}

TEST(UnixSocket, AddressHoldsPathsOfUpTo106Characters)
{
    sockaddr_storage storage;
    unsigned int length = 0;
    String const longest = String::repeat("x", 106), tooLong = String::repeat("x", 107);
    ASSERT_TRUE(ZK::UnixSocket::SOCK_ADDR(&storage, length, longest).isSuccess());
    EXPECT_EQ(length, 110u);
    EXPECT_EQ(storage.ss_family, AF_UNIX);
    EXPECT_EQ(longest, reinterpret_cast<sockaddr_un&>(storage).sun_path);

    XCode const code = ZK::UnixSocket::SOCK_ADDR(&storage, length, tooLong);
    EXPECT_EQ(code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(code.toString(), String::stringOfFormat("PATH NAME TOO LONG: %s (MAX 107 CHARS)", tooLong.c_str()));
    EXPECT_EQ(ZK::UnixSocket::SOCK_ADDR(nullptr, length, "x").getValue(), XCODE_FAILURE);
}

TEST(UnixSocket, OnlyBindOnlyReplacesWhatStandsAtItsPath)
{
    TemporaryDirectory const directory;
    TestLoop loop;
    Socket const socket = makeSocket(loop);
    for (int i = 0; i < 2; i++, socket->close())
    {
        ASSERT_TRUE(socket->openSocketOnly(SOCK_STREAM).isSuccess());
        EXPECT_TRUE(socket->bindOnly(directory / "socket").isSuccess());
    }
    XCode const code = socket->bind(SOCK_DGRAM, directory / "socket");
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + EADDRINUSE);
    EXPECT_TRUE(code.toString().startsWith("CANNOT BIND TO LOCAL ADDRESS"));
    socket->close();
    EXPECT_EQ(socket->listen(SOCK_STREAM, directory / "socket", 4).getValue(), XCODE_ERRNO + EADDRINUSE);
}

TEST(UnixSocket, StreamsConnectBlockingAndTalkBySignals)
{
    TemporaryDirectory const directory;
    NetLoop loop;
    Socket const listener = makeSocket(loop), client = makeSocket(loop);
    Socket accepted;
    String received;
    auto const accept = [&](Socket socket)
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

TEST(UnixSocket, DatagramsArriveBlockingAndBySignals)
{
    TemporaryDirectory const directory;
    NetLoop loop;
    Socket const receiver = makeSocket(loop), sender = makeSocket(loop);
    ASSERT_TRUE(receiver->bind(SOCK_DGRAM, directory / "receiver").isSuccess());
    ASSERT_TRUE(sender->bind(SOCK_DGRAM, directory / "sender").isSuccess());
    ASSERT_TRUE(sender->connectOnly(directory / "receiver").isSuccess());
    ASSERT_TRUE(sender->send(String("first"), 0, true).isSuccess());
    sockaddr_un from{};
    unsigned int length = sizeof(from), count = 0;
    char data[16];
    auto* const address = reinterpret_cast<sockaddr*>(&from);
    ASSERT_TRUE(receiver->recvFrom(address, &length, data, sizeof(data), count, 0, true).isSuccess());
    EXPECT_EQ(std::string(data, count), "first");
    EXPECT_EQ(directory / "sender", from.sun_path);

    String received;
    auto const receive = [&](String text) { received = text; };
    loop.synchronized([&] { receiver->onStringData.connect(ZK::bindArgs(ZK::directCall(), receive)); });
    EXPECT_TRUE(sender->send(String("second"), 0, true).isSuccess());
    EXPECT_TRUE(loop.eventually([&] { return received == "second"; }));
}

TEST(UnixSocket, AcceptNeedsASocketToFill)
{
    TemporaryDirectory const directory;
    TestLoop loop; // doesn't run
    Socket const listener = makeSocket(loop), client = makeSocket(loop);
    ASSERT_TRUE(listener->listen(SOCK_STREAM, directory / "socket", 4).isSuccess());
    ASSERT_TRUE(client->connect(SOCK_STREAM, directory / "socket").isSuccess());
    Socket accepted;
    EXPECT_EQ(listener->accept(accepted, nullptr, nullptr).getValue(), XCODE_FAILURE);
    accepted = makeSocket(loop);
    EXPECT_TRUE(listener->accept(accepted, nullptr, nullptr).isSuccess());
    EXPECT_TRUE(accepted->isOpen());
}
