#pragma once

#include "tests/events/loop_fixture.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/net/ip_socket.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

/// A running loop. What a test does with its sockets it does while the loop stands still.
class NetLoop : public TestLoop
{
public:
    NetLoop() { start(); }

    template <class Body>
    auto synchronized(Body body)
    {
        ZKAutoLock<ZKEventLoop> const stop(*this);
        return body();
    }

    template <class Condition>
    bool eventually(Condition condition)
    {
        return ::eventually([&] { return synchronized(condition); });
    }
};

template <class Socket, class... Sizes>
ZKPPtr<Socket> makeSocket(ZKEventLoop& loop, Sizes... sizes)
{
    return ZK::MovePtr<Socket>(new Socket(loop, sizes..., true));
}

inline unsigned short portOf(int boundSocket)
{
    sockaddr_storage storage{};
    socklen_t length = sizeof(storage);
    IpAddress address;
    unsigned short port = 0;
    EXPECT_EQ(getsockname(boundSocket, reinterpret_cast<sockaddr*>(&storage), &length), 0);
    EXPECT_TRUE(ZK::IpSocket::IP_ADDR_PORT(address, port, &storage).isSuccess());
    return port;
}

inline unsigned short portOf(ZKFile const& boundSocket)
{
    return portOf(boundSocket.getFd());
}

/// The other side of a connection over IPv4, by blocking calls of the system.
class Peer
{
public:
    Peer() : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

    explicit Peer(unsigned short port) : Peer() { connect(port); }

    Peer(Peer&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

    ~Peer() { leave(); }

    void connect(unsigned short port) const
    {
        sockaddr_storage storage;
        unsigned int length = 0;
        EXPECT_TRUE(ZK::IpSocket::SOCK_ADDR(&storage, length, IpAddress("127.0.0.1"), port).isSuccess());
        EXPECT_EQ(::connect(m_fd, reinterpret_cast<sockaddr*>(&storage), length), 0);
    }

    void send(std::string_view data) const
    {
        EXPECT_EQ(::send(m_fd, data.data(), data.size(), MSG_NOSIGNAL), static_cast<ssize_t>(data.size()));
    }

    /// `count` bytes, or fewer if the other side ends or resets.
    std::string receive(std::size_t count) const
    {
        std::string data(count, '\0');
        data.resize(std::max<ssize_t>(recv(m_fd, data.data(), count, MSG_WAITALL), 0));
        return data;
    }

    void endSending() const { shutdown(m_fd, SHUT_WR); }

    void leave()
    {
        if (m_fd >= 0)
            close(std::exchange(m_fd, -1));
    }

    void reset()
    {
        linger const none{1, 0};
        EXPECT_EQ(setsockopt(m_fd, SOL_SOCKET, SO_LINGER, &none, sizeof(none)), 0);
        leave();
    }

private:
    int m_fd;
};
