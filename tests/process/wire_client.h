#pragma once

#include "zekovar/events/standard_loops.h"
#include "zekovar/process/shell_socket.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

/// What is read up to the end, or up to the hangup of a terminal.
inline std::string readAll(ZKFile const& file)
{
    String text;
    bool eof = false;
    file.read(text, eof, true);
    return text.c_str();
}

/// The bytes of a number as they go over the socket.
template <class T>
std::string raw(T number)
{
    return std::string(reinterpret_cast<char const*>(&number), sizeof number);
}

/// A message of any type with its true length.
inline std::string message(int type, std::string const& body)
{
    return raw(static_cast<uint16_t>(4 + body.size())) + static_cast<char>(type) + '\0' + body;
}

inline std::string signalMessage(int number)
{
    return message(1, raw(static_cast<int32_t>(number)));
}

inline std::string commandMessage(std::vector<std::string> const& arguments,
                                  std::vector<std::string> const& environment = {})
{
    std::string body = {static_cast<char>(arguments.size()), static_cast<char>(environment.size()), '\0', '\0'};
    for (auto const& list : {arguments, environment})
        for (std::string const& text : list)
            body += text + '\0';
    return message(0, body);
}

/// Sends bytes and copies of at most 8 descriptors in one piece.
inline void sendBytes(int socket, std::string const& bytes, std::vector<int> const& fds)
{
    iovec part = {const_cast<char*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(8 * sizeof(int))] = {};
    msghdr sent = {nullptr, 0, &part, 1, control, fds.empty() ? 0 : CMSG_SPACE(fds.size() * sizeof(int)), 0};
    if (cmsghdr* const header = CMSG_FIRSTHDR(&sent))
    {
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(fds.size() * sizeof(int));
        std::memcpy(CMSG_DATA(header), fds.data(), fds.size() * sizeof(int));
    }
    EXPECT_EQ(::sendmsg(socket, &sent, MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

/// A client of the shell server that knows the messages byte by byte.
class WireClient : public ZK::Shell::Socket
{
public:
    struct Answer
    {
        int type = -1; // -1 once the server has closed
        unsigned int value = 0;
        std::string text;
        std::vector<ZKFile> fds;
    };

    WireClient() : Socket(IO::PLACE(), ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {AF_UNIX, "/tmp/shellexec.sck"};
        EXPECT_EQ(::connect(file().getFd(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }

    void send(std::string const& bytes, std::vector<int> const& fds = {}) { sendBytes(file().getFd(), bytes, fds); }

    Answer receive()
    {
        ZK::Shell::MsgBuffer buffer;
        char const* const bytes = reinterpret_cast<char const*>(buffer.bytes);
        int fds[3];
        unsigned int fdCount = 0;
        Answer answer;
        if (!recv(buffer.header(), sizeof buffer.bytes, fdCount, fds))
            return answer;
        for (unsigned int i = 0; i < fdCount; ++i)
            answer.fds.emplace_back(fds[i], true, false);
        answer.type = bytes[2];
        if (buffer.header()->length > 12)
        {
            std::memcpy(&answer.value, bytes + 8, 4);
            answer.text = bytes + 12;
        }
        return answer;
    }
};
