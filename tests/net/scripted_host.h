#pragma once

#include "tests/net/peer.h"

#include <functional>
#include <netinet/in.h>
#include <poll.h>
#include <thread>

/// The far end of a connection, for a script. Nothing here blocks for ever: a read gives up after a minute.
class Caller
{
public:
    explicit Caller(int fd) : m_fd(fd) {}

    int fd() const { return m_fd; }

    void say(std::string_view text) const { ::send(m_fd, text.data(), text.size(), MSG_NOSIGNAL); }

    /// The next line, without its end and the commands of the telnet protocol; "<end>" if there is none.
    std::string line() const
    {
        std::string text;
        for (int byte = next(); byte >= 0; byte = next())
        {
            if (byte == 255) // IAC, a verb, an option
                next(), next();
            else if (byte == '\n')
                return text;
            else if (byte != '\r' && byte != 0)
                text += static_cast<char>(byte);
        }
        return "<end>";
    }

    void waitForEnd() const
    {
        while (line() != "<end>")
            continue;
    }

private:
    int next() const
    {
        pollfd ready = {m_fd, POLLIN, 0};
        unsigned char byte = 0;
        return ::poll(&ready, 1, 60000) == 1 && ::recv(m_fd, &byte, 1, 0) == 1 ? byte : -1;
    }

    int m_fd;
};

/// A TCP server on the loopback that runs a script for each caller, one after the other, on a thread of its own.
class ScriptedHost
{
public:
    using Script = std::function<void(Caller const&)>;

    explicit ScriptedHost(Script script) : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        EXPECT_EQ(::listen(m_listener, 8), 0);
        m_port = portOf(m_listener);
        m_thread = std::thread([this, script = std::move(script)] { serve(script); });
    }

    ScriptedHost(ScriptedHost const&) = delete;
    ScriptedHost& operator=(ScriptedHost const&) = delete;

    /// Waits for the script of the caller that is there. New callers find nobody.
    ~ScriptedHost()
    {
        ::shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        ::close(m_listener);
    }

    unsigned short port() const { return m_port; }

private:
    void serve(Script const& script) const
    {
        for (int fd = accept(); fd >= 0; fd = accept())
        {
            script(Caller(fd));
            ::close(fd);
        }
    }

    int accept() const { return ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC); }

    int m_listener;
    unsigned short m_port = 0;
    std::thread m_thread;
};
