#include "zekovar/process/shell_client.h"

#include "tests/eventually.h"
#include "tests/process/wire_client.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"

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
        observe([](XCode const&) {});
    }

    ~ShellClient() override
    {
        m_client.reset();
        m_readEnd.close();
        pollfd writeEnd = {m_writeEnd.getFd(), POLLOUT, 0};
        ::poll(&writeEnd, 1, 0);
        EXPECT_NE(writeEnd.revents & POLLERR, 0) << "a descriptor is left open";
    }

    /// `act` is called with the command's end, behind which `m_results` grows.
    void observe(std::function<void(XCode const&)> const& act)
    {
        m_client->registerResultObserver(ZK::bindArgs(ZK::directCall(),
                                                      [this, act](Client*, XCode const& code)
                                                      {
                                                          m_result = code;
                                                          act(code);
                                                          ++m_results;
                                                      }));
    }

    XCode sendCommand(ZKVector<String> const& args, ZKStringHashTable<String> const& env)
    {
        int fds[MAX_DESCRIPTORS];
        XCode code = m_client->sendCommand(args, env, m_fdCount, fds);
        for (unsigned int i = 0; i < m_fdCount; ++i)
            ::close(fds[i]);
        return code;
    }

    /// Sends a command to a server that does `act` when it has it.
    XCode sendCommandTo(std::function<void()> const& act)
    {
        std::thread server(
            [&]
            {
                m_connection = ZKFile(::accept4(m_listener.getFd(), nullptr, nullptr, SOCK_CLOEXEC), true, false);
                m_received = receive();
                act();
            });
        ZKVector<String> args;
        args.add("program");
        args.add("x");
        ZKStringHashTable<String> env;
        env.add("NAME", "value");
        XCode code = sendCommand(args, env);
        server.join();
        return code;
    }

    void run()
    {
        EXPECT_TRUE(sendCommandTo([this] { answer(message(ACK, ""), 3); }));
        EXPECT_EQ(m_client->getState(), Client::RUNNING);
    }

    /// Sends a signal to a server that does `act` when it has it.
    XCode signalTo(XCode (Client::*call)(int), int signal, std::function<void()> const& act)
    {
        std::thread server(
            [&]
            {
                EXPECT_EQ(receive(), signalMessage(signal));
                act();
            });
        XCode code = (m_client.get()->*call)(signal);
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

    void hangUp() { m_connection.close(); }

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
    std::string m_received;
    unsigned int m_fdCount = 77;
    XCode m_result; // written before m_results
    std::atomic<int> m_results = 0;
};
}

TEST_F(ShellClient, SendsCommandAndTellsItsEnd)
{
    run();
    EXPECT_EQ(m_received, commandMessage({"program", "x"}, {"NAME=value"}));
    EXPECT_EQ(m_fdCount, 3u);
    EXPECT_EQ(sendCommand(ZKVector<String>(), {}).toString(), "COMMAND IN PROGRESS");
    answer(code(TERMINATED, XCODE_EXIT + 3, "text"));
    ASSERT_TRUE(hasResult());
    EXPECT_EQ(m_result.getValue(), XCODE_EXIT + 3);
    EXPECT_EQ(m_result.toString(), "text");
    EXPECT_EQ(receive(), "") << "the server's side can go";
    EXPECT_TRUE(m_client->sendSignal(15));
    EXPECT_TRUE(m_client->sendCancel(15));
    EXPECT_EQ(m_client->getState(), Client::TERMINATED);
}

TEST_F(ShellClient, RefusesBeforeItConnects)
{
    ZKVector<String> args;
    ZKStringHashTable<String> env;
    for (int i = 0; i < 256; ++i)
        env.add(String::stringOfFormat("%d", i), "");
    EXPECT_EQ(sendCommand(args, env).toString(), "TOO MANY ENVIRONMENT VARIABLES");
    args.add(String(std::string(4096 - 8, 'x').c_str()));
    EXPECT_EQ(sendCommand(args, {}).toString(), "COMMAND TOO LONG");
    pollfd listener = {m_listener.getFd(), POLLIN, 0};
    EXPECT_EQ(::poll(&listener, 1, 0), 0);
}

TEST_F(ShellClient, FailureLeavesItReadyForAnotherCommand)
{
    XCode refusal = sendCommandTo([this] { answer(code(NAK, XCODE_ERRNO + EAGAIN, "why"), 1); });
    EXPECT_EQ(refusal.getValue(), XCODE_ERRNO + EAGAIN);
    EXPECT_EQ(refusal.toString(), "why");
    EXPECT_EQ(m_fdCount, 0u);
    EXPECT_EQ(sendCommandTo([this] { hangUp(); }).toString(), "NO CONFIRMATION MESSAGE RECEIVED");
    EXPECT_EQ(sendCommandTo([this] { answer(message(ACK, "") + message(ACK, ""), 1); }).toString(),
              "NO CONFIRMATION MESSAGE RECEIVED");
    EXPECT_EQ(sendCommandTo([this] { answer(message(NAK, "short")); }).toString(), "MALFORMED MESSAGE RECEIVED");
    EXPECT_EQ(m_client->getState(), Client::NOTHING_SENT);
    EXPECT_TRUE(m_client->sendSignal(15)) << "nothing to signal";
    run();
}

TEST_F(ShellClient, SignalsAreConfirmed)
{
    run();
    EXPECT_TRUE(signalTo(&Client::sendSignal, 10, [this] { answer(message(ACK, ""), 1); }));
    EXPECT_EQ(signalTo(&Client::sendCancel, 99, [this] { answer(code(NAK, XCODE_ERRNO + EINVAL, "")); }).getValue(),
              XCODE_ERRNO + EINVAL);
    EXPECT_EQ(m_client->getState(), Client::RUNNING);
    EXPECT_TRUE(signalTo(&Client::sendCancel, 15, [this] { answer(message(ACK, "")); }));
    EXPECT_EQ(m_client->getState(), Client::CANCELLED);
    EXPECT_TRUE(m_client->sendCancel(9)) << "one is enough";
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
    EXPECT_TRUE(signalTo(&Client::sendCancel, 15, [this] { answer(code(TERMINATED, XCODE_SUCCESS, "")); }));
    EXPECT_EQ(m_client->getState(), Client::TERMINATED);
}

TEST_F(ShellClient, LostConnectionTellsNoEnd)
{
    run();
    EXPECT_EQ(signalTo(&Client::sendSignal, 15, [this] { hangUp(); }).toString(), "NO CONFIRMATION MESSAGE RECEIVED");
    EXPECT_TRUE(m_client->isLost());
    XCode const refusal = m_client->sendSignal(15);
    EXPECT_EQ(refusal.getValue(), XCODE_ERRNO + EPIPE);
    EXPECT_EQ(refusal.toString(), "COULD NOT SEND CANCEL MESSAGE TO SERVER: CANNOT SEND MESSAGE TO PEER");
    EXPECT_EQ(m_results, 0);
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

TEST_F(ShellClient, MayGoInItsObserverAndOtherwiseWaitsForIt)
{
    run();
    observe([this](XCode const&) { m_client.reset(); });
    answer(code(TERMINATED, XCODE_SUCCESS, ""));
    EXPECT_TRUE(hasResult());

    m_client = std::make_unique<TestClient>(m_path);
    std::atomic<bool> isIn = false;
    observe(
        [&](XCode const&)
        {
            isIn = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        });
    run();
    answer(code(TERMINATED, XCODE_SUCCESS, ""));
    EXPECT_TRUE(eventually([&] { return isIn.load(); }));
    m_client.reset();
    EXPECT_EQ(m_results, 2);
}
