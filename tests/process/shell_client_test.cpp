#include "zekovar/process/shell_client.h"

#include "tests/eventually.h"
#include "tests/process/wire_client.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"

#include <fcntl.h>
#include <functional>
#include <linux/sockios.h>
#include <memory>
#include <poll.h>
#include <sys/ioctl.h>
#include <thread>

using ZK::Shell::Client;
using ZK::Shell::MAX_DESCRIPTORS;

namespace
{
constexpr int TERMINATED = 2;
constexpr int ACK = 3;
constexpr int NAK = 4;

/// A client of a server that the test plays byte by byte.
class ShellClient : public testing::Test
{
protected:
    class TestClient : public Client
    {
    public:
        explicit TestClient(String const& path) : m_path(path) {}

        ~TestClient() override { Client::close(); }

        XCode connect(String const&) override { return Client::connect(m_path); }

    private:
        String m_path;
    };

    ShellClient()
    {
        EXPECT_TRUE(ZKFile::CREATE_PIPE(m_readEnd, m_writeEnd, true));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, m_path.c_str(), sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(m_listener.getFd(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(m_listener.getFd(), 5), 0);
        m_client->registerResultObserver(ZK::bindArgs(ZK::directCall(),
                                                      [this](Client*, XCode const& code)
                                                      {
                                                          m_result = code;
                                                          m_onResult();
                                                          ++m_results;
                                                      }));
    }

    ~ShellClient() override
    {
        m_client.reset();
        m_readEnd.close();
        pollfd writeEnd = {m_writeEnd.getFd(), POLLOUT, 0};
        ::poll(&writeEnd, 1, 0);
        EXPECT_NE(writeEnd.revents & POLLERR, 0) << "a descriptor is left open";
    }

    /// Sends a command to a server that does `act` when it has it.
    XCode sendCommandTo(std::function<void()> const& act)
    {
        std::thread server(
            [&]
            {
                m_connection = ZKFile(::accept4(m_listener.getFd(), nullptr, nullptr, SOCK_CLOEXEC), true, false);
                EXPECT_EQ(receive(), commandMessage({"program"}));
                act();
            });
        ZKVector<String> args;
        args.add("program");
        int fds[MAX_DESCRIPTORS];
        unsigned int fdCount = 77;
        XCode code = m_client->sendCommand(args, {}, fdCount, fds);
        for (unsigned int i = 0; i < fdCount; ++i)
            EXPECT_EQ(::fcntl(ZKFile(fds[i], true, false).getFd(), F_GETFD), FD_CLOEXEC);
        EXPECT_TRUE(code.isSuccess() || fdCount == 0);
        server.join();
        return code;
    }

    void run()
    {
        EXPECT_TRUE(sendCommandTo([this] { answer(message(ACK, ""), 3); }));
    }

    /// Sends a cancel to a server that does `act` when it has it.
    XCode sendCancelTo(std::function<void()> const& act)
    {
        std::thread server(
            [&]
            {
                EXPECT_EQ(receive(), signalMessage(15));
                act();
            });
        XCode code = m_client->sendCancel(15);
        server.join();
        return code;
    }

    std::string receive()
    {
        char bytes[4096];
        unsigned int count = 0;
        m_connection.readOnce(bytes, sizeof bytes, count, true);
        return std::string(bytes, count);
    }

    /// Sends a message, with descriptors, and waits until it is taken, as a server does.
    void answer(std::string const& bytes, std::size_t fdCount = 0)
    {
        sendBytes(m_connection.getFd(), bytes, std::vector<int>(fdCount, m_readEnd.getFd()));
        int unread = 1;
        EXPECT_TRUE(eventually([&] { return ::ioctl(m_connection.getFd(), SIOCOUTQ, &unread) == 0 && unread == 0; }));
    }

    static std::string code(int type, unsigned int value, std::string const& text)
    {
        return message(type, raw(0u) + raw(value) + text + '\0');
    }

    bool hasResult()
    {
        return eventually([this] { return m_results == 1; });
    }

    TemporaryDirectory m_directory;
    String m_path = m_directory / "socket";
    ZKFile m_listener{::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0), true, false};
    ZKFile m_connection, m_readEnd, m_writeEnd;
    std::unique_ptr<Client> m_client{new TestClient(m_path)};
    std::function<void()> m_onResult = [] {}; // set before the command is sent
    XCode m_result;                           // written before m_results
    std::atomic<int> m_results = 0;
};
}

TEST_F(ShellClient, FailureLeavesItReadyForAnotherCommand)
{
    EXPECT_EQ(sendCommandTo([this] { answer(code(NAK, XCODE_ERRNO + EAGAIN, "why"), 1); }).toString(), "why");
    EXPECT_EQ(sendCommandTo([this] { m_connection.close(); }).toString(), "NO CONFIRMATION MESSAGE RECEIVED");
    EXPECT_EQ(sendCommandTo([this] { answer(message(ACK, "") + message(ACK, ""), 1); }).toString(),
              "NO CONFIRMATION MESSAGE RECEIVED");
    EXPECT_EQ(sendCommandTo([this] { answer(message(NAK, "short")); }).toString(), "MALFORMED MESSAGE RECEIVED");
    EXPECT_EQ(m_client->getState(), Client::NOTHING_SENT);
    EXPECT_TRUE(m_client->sendSignal(15)) << "nothing to signal";
    run();
}

TEST_F(ShellClient, RefusesMoreDescriptorsThanThree)
{
    EXPECT_TRUE(sendCommandTo([this] { answer(message(ACK, ""), 4); }).isErr());
}

TEST_F(ShellClient, CancelIsSentOnce)
{
    run();
    EXPECT_TRUE(sendCancelTo([this] { answer(message(ACK, ""), 1); }));
    m_connection.close();
    EXPECT_TRUE(m_client->sendCancel(9)) << "nobody would take another";
}

TEST_F(ShellClient, EndMayCrossAnyAnswer)
{
    EXPECT_TRUE(sendCommandTo(
        [this]
        {
            answer(message(ACK, ""), 1);
            answer(code(TERMINATED, XCODE_SUCCESS, ""));
        }));
    EXPECT_TRUE(hasResult());
    EXPECT_EQ(m_client->getState(), Client::TERMINATED);

    m_client = std::make_unique<TestClient>(m_path);
    run();
    EXPECT_TRUE(sendCancelTo([this] { answer(code(TERMINATED, XCODE_SUCCESS, "")); }));
    EXPECT_EQ(m_client->getState(), Client::TERMINATED);
}

TEST_F(ShellClient, StrayMessagesHurtNobody)
{
    run();
    answer(message(77, "anything"), 1);
    answer(message(ACK, ""), 2);
    answer(message(TERMINATED, "short"), 1);
    EXPECT_TRUE(hasResult());
    EXPECT_EQ(m_result.toString(), "MALFORMED MESSAGE RECEIVED");
}

TEST_F(ShellClient, WaitsForItsObserverBeforeItGoes)
{
    std::atomic<bool> isIn = false;
    m_onResult = [&]
    {
        isIn = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    };
    run();
    answer(code(TERMINATED, XCODE_SUCCESS, ""));
    EXPECT_TRUE(eventually([&] { return isIn.load(); }));
    m_client.reset();
    EXPECT_EQ(m_results, 1);
}
