#pragma once

#include "benchmarks/countdown.h"

#include <arpa/inet.h>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

/// Ends the benchmark: a figure of a transfer that fails tells nothing.
inline void check(bool holds, char const* what)
{
    if (holds)
        return;
    std::perror(what);
    std::abort();
}

inline sockaddr_in loopbackAddress(uint16_t port, unsigned int host = 1)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(0x7F000000 + host);
    return address;
}

inline int connectTo(uint16_t port, unsigned int host = 1)
{
    int const fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in const address = loopbackAddress(port, host);
    check(fd >= 0 && connect(fd, reinterpret_cast<sockaddr const*>(&address), sizeof(address)) == 0, "connect");
    return fd;
}

/// Processor time that a thread of this process has used, in seconds.
inline double threadSeconds(pthread_t thread)
{
    clockid_t clock{};
    timespec time{};
    check(pthread_getcpuclockid(thread, &clock) == 0 && clock_gettime(clock, &time) == 0, "clock");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// What a server does with the bytes of its clients.
enum class Service
{
    ECHO,
    SINK
};

/// What the servers count for their clients.
struct Meter
{
    std::atomic<int> accepted = 0;
    std::atomic<int> left = 0;
    int64_t expected = 0; // bytes that a sink waits for, on the server's thread
    Finish received;

    void sink(int64_t bytes)
    {
        expected -= bytes;
        if (expected == 0)
            received.signal();
    }
};

/// The floor: a server of one thread that calls the kernel and does nothing else.
class BareEpollServer
{
public:
    BareEpollServer(Service service, Meter& meter)
        : m_service(service), m_meter(meter), m_epoll(epoll_create1(EPOLL_CLOEXEC)), m_buffer(BUFFER_BYTES)
    {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        socklen_t length = sizeof(address);
        check(bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(m_listener, 16) == 0 &&
                  getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) == 0,
              "listen");
        m_port = ntohs(address.sin_port);
        check(pipe(m_quit) == 0, "pipe");
        watch(m_listener);
        watch(m_quit[0]);
        m_thread = std::thread([this] { run(); });
    }

    ~BareEpollServer()
    {
        check(write(m_quit[1], "q", 1) == 1, "write");
        m_thread.join();
        for (int fd : {m_quit[0], m_quit[1], m_listener, m_epoll})
            close(fd);
    }

    uint16_t port() const { return m_port; }

    double getThreadSeconds() { return threadSeconds(m_thread.native_handle()); }

private:
    static constexpr std::size_t BUFFER_BYTES = 256 * 1024;

    void watch(int fd) const
    {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = fd;
        check(epoll_ctl(m_epoll, EPOLL_CTL_ADD, fd, &event) == 0, "epoll_ctl");
    }

    void run()
    {
        epoll_event events[64];
        for (;;)
        {
            int const count = epoll_wait(m_epoll, events, 64, -1);
            for (int i = 0; i < count; ++i)
            {
                int const fd = events[i].data.fd;
                if (fd == m_quit[0])
                    return;
                if (fd == m_listener)
                    acceptAll();
                else
                    serve(fd);
            }
        }
    }

    void acceptAll()
    {
        for (int fd = -1; (fd = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC)) >= 0;)
        {
            watch(fd);
            m_meter.accepted++;
        }
    }

    void serve(int fd)
    {
        ssize_t const count = recv(fd, m_buffer.data(), m_buffer.size(), 0);
        if (count <= 0)
        {
            close(fd);
            m_meter.left++;
        }
        else if (m_service == Service::ECHO)
        {
            check(send(fd, m_buffer.data(), static_cast<std::size_t>(count), MSG_NOSIGNAL) == count, "send");
        }
        else
        {
            m_meter.sink(count);
        }
    }

    Service m_service;
    Meter& m_meter;
    int m_epoll;
    int m_listener;
    int m_quit[2] = {-1, -1};
    uint16_t m_port;
    std::vector<char> m_buffer;
    std::thread m_thread;
};

/// Clients of an echo server on the benchmark's thread, each of which has one message under way.
class EchoClients
{
public:
    static constexpr std::size_t MESSAGE_BYTES = 64;

    EchoClients(uint16_t port, int count) : m_epoll(epoll_create1(EPOLL_CLOEXEC))
    {
        for (int i = 0; i < count; ++i)
        {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = connectTo(port);
            check(epoll_ctl(m_epoll, EPOLL_CTL_ADD, event.data.fd, &event) == 0, "epoll_ctl");
            m_clients.push_back(event.data.fd);
        }
    }

    ~EchoClients()
    {
        for (int fd : m_clients)
            close(fd);
        close(m_epoll);
    }

    EchoClients(EchoClients const&) = delete;
    EchoClients& operator=(EchoClients const&) = delete;

    /// Returns when `messages` have come back.
    void exchange(int messages)
    {
        int unsent = messages;
        for (int fd : m_clients)
            sendNext(fd, unsent);
        while (messages > 0)
        {
            epoll_event events[64];
            int const count = epoll_wait(m_epoll, events, 64, -1);
            for (int i = 0; i < count; ++i)
            {
                char echo[MESSAGE_BYTES];
                check(recv(events[i].data.fd, echo, sizeof(echo), MSG_WAITALL) == sizeof(echo), "recv");
                messages--;
                sendNext(events[i].data.fd, unsent);
            }
        }
    }

private:
    static void sendNext(int fd, int& unsent)
    {
        static constexpr char MESSAGE[MESSAGE_BYTES] = "ping";
        if (unsent-- > 0)
            check(send(fd, MESSAGE, sizeof(MESSAGE), MSG_NOSIGNAL) == sizeof(MESSAGE), "send");
    }

    int m_epoll;
    std::vector<int> m_clients;
};

/// Connects and leaves `count` times, with so few connections waiting that none is refused.
inline void comeAndGo(uint16_t port, int count, Meter const& meter)
{
    constexpr int WAITING = 8;
    int const acceptedBefore = meter.accepted;
    int const leftBefore = meter.left;
    for (int i = 0; i < count; ++i)
    {
        while (meter.accepted - acceptedBefore < i - WAITING)
            std::this_thread::yield();
        // Many addresses: a pair of address and port rests for a minute when its connection is closed.
        close(connectTo(port, 1 + static_cast<unsigned int>(i) % 250));
    }
    while (meter.left - leftBefore < count)
        std::this_thread::yield();
}

/// Memory of this process in KiB that is in use now.
inline double residentKiB()
{
    long pages = 0;
    long resident = 0;
    std::FILE* const file = std::fopen("/proc/self/statm", "r");
    check(file != nullptr && std::fscanf(file, "%ld %ld", &pages, &resident) == 2, "statm");
    std::fclose(file);
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1024;
}
