#pragma once

#include "zekovar/process/shell_protocol.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

/// A descriptor that closes itself.
class Fd
{
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}

    Fd(Fd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

    Fd& operator=(Fd&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }

    ~Fd()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }

    operator int() const { return m_fd; }

    void close() { *this = Fd(); }

private:
    int m_fd;
};

/// What is read up to the end, or up to the hangup of a terminal. Nothing more is waited for longer than a minute.
inline std::string readAll(int fd)
{
    std::string all;
    char block[512];
    ssize_t count = 0;
    do
    {
        pollfd readable = {fd, POLLIN, 0};
        EXPECT_EQ(::poll(&readable, 1, 60000), 1) << "no end of " << all;
        count = readable.revents != 0 ? ::read(fd, block, sizeof block) : 0;
        all.append(block, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    } while (count > 0);
    return all;
}

/// The bytes of a number as they go over the socket.
template <class T>
std::string raw(T number)
{
    return std::string(reinterpret_cast<char const*>(&number), sizeof number);
}

/// Sends bytes and copies of at most 8 descriptors in one piece.
inline void sendBytes(int socket, std::string const& bytes, std::vector<int> const& fds)
{
    iovec part = {const_cast<char*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(8 * sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!fds.empty())
    {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(fds.size() * sizeof(int));
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(fds.size() * sizeof(int));
        std::memcpy(CMSG_DATA(header), fds.data(), fds.size() * sizeof(int));
    }
    EXPECT_EQ(::sendmsg(socket, &message, MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

/// A client of the shell server that knows its messages byte by byte. Nothing that it waits for takes over a minute.
class WireClient
{
public:
    struct Answer
    {
        int type = -1; // -1 once the server has closed
        unsigned int value = 0;
        std::string text;
        std::vector<Fd> fds;
    };

    WireClient() : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        timeval const limit = {60, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        sockaddr_un address = {AF_UNIX, "/tmp/shellexec.sck"};
        m_connected = ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }

    bool isConnected() const { return m_connected; }

    void send(std::string const& bytes, std::vector<int> const& fds = {}) { sendBytes(m_socket, bytes, fds); }

    /// A message of any type, with its true length.
    static std::string message(int type, std::string const& body)
    {
        return raw(static_cast<uint16_t>(4 + body.size())) + static_cast<char>(type) + '\0' + body;
    }

    static std::string command(std::vector<std::string> const& arguments,
                               std::vector<std::string> const& environment = {})
    {
        std::string body = {static_cast<char>(arguments.size()), static_cast<char>(environment.size()), '\0', '\0'};
        for (auto const& list : {arguments, environment})
            for (std::string const& text : list)
                body += text + '\0';
        return message(0, body);
    }

    /// A command for /bin/sh.
    static std::string script(std::string const& text, std::vector<std::string> const& environment = {})
    {
        return command({"/bin/sh", "-c", text}, environment);
    }

    static std::string signal(int number) { return message(1, raw(static_cast<int32_t>(number))); }

    Answer receive()
    {
        alignas(8) char bytes[4096] = {};
        alignas(cmsghdr) char control[CMSG_SPACE(8 * sizeof(int))];
        iovec part = {bytes, sizeof bytes};
        msghdr message = {};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
        ssize_t const count = ::recvmsg(m_socket, &message, MSG_CMSG_CLOEXEC);
        Answer answer;
        if (cmsghdr const* const header = count > 0 ? CMSG_FIRSTHDR(&message) : nullptr)
        {
            int fds[8];
            std::size_t const size = header->cmsg_len - CMSG_LEN(0);
            std::memcpy(fds, CMSG_DATA(header), size);
            for (std::size_t i = 0; i < size / sizeof(int); ++i)
                answer.fds.emplace_back(fds[i]);
        }
        if (count <= 0)
        {
            EXPECT_TRUE(count == 0 || errno == ECONNRESET) << "no answer in time";
            return answer;
        }
        uint16_t length = 0;
        std::memcpy(&length, bytes, sizeof length);
        EXPECT_EQ(count, length);
        answer.type = bytes[2];
        if (count > 12)
        {
            std::memcpy(&answer.value, bytes + 8, 4);
            answer.text.assign(bytes + 12, static_cast<std::size_t>(count) - 13);
        }
        return answer;
    }

    /// The connection, for a client that hangs up.
    Fd& socket() { return m_socket; }

private:
    Fd m_socket;
    bool m_connected = false;
};
