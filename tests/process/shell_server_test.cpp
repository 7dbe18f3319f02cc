#include "zekovar/process/shell_server.h"

#include "tests/process/running_server.h"
#include "tests/process/tidy_test.h"
#include "tests/process/wire_client.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/process/fork_and_exec.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

namespace
{
constexpr int TERMINATED = 2;
constexpr int ACK = 3;
constexpr int NAK = 4;
constexpr int CLOSED = -1;

std::string script(std::string const& text)
{
    return commandMessage({"/bin/sh", "-c", text}, {"PATH=/bin", "NAME=value"});
}

class ShellServer : public testing::Test
{
protected:
    void start(WireClient& client, std::string const& command, std::vector<int> const& strayFds = {})
    {
        client.send(command, strayFds);
        WireClient::Answer answer = client.receive();
        EXPECT_EQ(answer.type, ACK);
        EXPECT_EQ(answer.fds.size(), 3u);
        m_program = std::move(answer.fds);
        m_program.resize(3);
    }

    /// Starts a program and waits for its end.
    WireClient::Answer run(WireClient& client, std::string const& command)
    {
        start(client, command);
        return client.receive();
    }

    void expectServes()
    {
        WireClient client;
        EXPECT_EQ(run(client, commandMessage({"true"})).type, TERMINATED);
    }

    void type(char const* text) { EXPECT_TRUE(m_program[0].write(text, true)); }

    std::string output() { return readAll(m_program[1]); }

    RunningServer m_server;
    std::vector<ZKFile> m_program; // its standard streams
};
}

TEST_F(ShellServer, ProgramHasTerminalPipeAndEnvironmentAndNothingElse)
{
    WireClient client;
    start(client, script("read x; echo \"$x\"; echo \"$NAME\"; echo oops >&2"));
    type("typed\n");
    EXPECT_EQ(client.receive().value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "typed\nvalue\n") << "no echo, and newlines stay as they are";
    EXPECT_EQ(readAll(m_program[2]), "oops\n");

    // The terminal twice, the pipe of standard error, and that by which a failed start is told.
    EXPECT_EQ(run(client, script("for f in /proc/$$/fd/*; do readlink $f; done | tr -d 0-9")).value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "/dev/pts/\n/dev/pts/\npipe:[]\npipe:[]\n");
    EXPECT_EQ(run(client, script("grep -E '^Sig(Blk|Ign)' /proc/self/status | tr -d '\\t0'")).value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "SigBlk:\nSigIgn:\n");
}

TEST_F(ShellServer, ClientMayCloseStandardError)
{
    WireClient client;
    start(client, script("read x; echo lost >&2; exit 6"));
    m_program[2] = ZKFile();
    type("\n");
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 6);
}

TEST_F(ShellServer, SignalsAreDeliveredAndConfirmedOneAtATime)
{
    WireClient client;
    start(client, script("trap 'exit 7' TERM; printf .; read x"));
    char ready = 0;
    ASSERT_TRUE(m_program[1].readFixedSize(&ready, 1, true));
    int const connection = childrenOf(m_server.pid()).back().pid;
    client.send(signalMessage(SIGTERM));
    EXPECT_TRUE(eventually([&] { return childrenOf(connection).empty(); })) << "its end is known, too";
    EXPECT_EQ(client.receive().type, ACK);
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 7);
}

TEST_F(ShellServer, LosingTheClientEndsTheConnectionAndNotTheProgram)
{
    auto client = std::make_unique<WireClient>();
    start(*client, script("trap '' HUP; printf %8d $$; while :; do read x || sleep 1; done"));
    char pid[9] = {};
    ASSERT_TRUE(m_program[1].readFixedSize(pid, 8, true));
    client.reset();
    m_program.clear();
    EXPECT_TRUE(eventually([&] { return !childrenOf(m_server.pid()).back().isRunning(); }));
    EXPECT_TRUE(ProcessInfo(std::atoi(pid)).isRunning());
    expectServes();
}

TEST_F(ShellServer, HostileMessagesEndTheirConnectionOnly)
{
    auto const expectLast = [](WireClient& client, std::string const& bad, int type, std::string const& text)
    {
        client.send(bad, {STDIN_FILENO, STDIN_FILENO, STDIN_FILENO});
        WireClient::Answer const end = client.receive();
        EXPECT_EQ(end.type, type);
        EXPECT_EQ(end.text, text);
        EXPECT_EQ(client.receive().type, CLOSED);
    };
    std::string const good = commandMessage({"true"});
    for (std::string const& bad : {std::string("x"), good + "x", good.substr(0, good.size() - 1), std::string(4, '\0'),
                                   std::string(8192, 'x'), signalMessage(9), message(77, "")})
    {
        WireClient client;
        expectLast(client, bad, CLOSED, "");
    }
    for (std::string const& bad : {message(0, ""), message(0, std::string("\1\377\0\0ls\0", 7))})
    {
        WireClient client;
        expectLast(client, bad, NAK, "MALFORMED MESSAGE RECEIVED");
    }
    std::string const invalid = "INVALID MESSAGE RECEIVED: ";
    for (auto const& [bad, text] : {std::pair(good, invalid + "0"), std::pair(message(77, ""), invalid + "77"),
                                    std::pair(message(1, ""), std::string("MALFORMED MESSAGE RECEIVED"))})
    {
        WireClient client;
        start(client, script("read x"));
        expectLast(client, bad, TERMINATED, text);
    }
    expectServes();
}

TEST_F(ShellServer, NothingIsLeftBehind)
{
    WireClient client;
    int connection = 0;
    std::size_t descriptors = 0;
    for (int i = 0; i < 10; ++i)
    {
        start(client, script("read x; printf x"), {STDIN_FILENO, STDIN_FILENO});
        client.send(signalMessage(0), {STDIN_FILENO});
        EXPECT_EQ(client.receive().type, ACK);
        type("\n");
        EXPECT_EQ(client.receive().type, TERMINATED);
        EXPECT_EQ(output(), "x");
        if (i == 0)
        {
            connection = childrenOf(m_server.pid()).front().pid;
            descriptors = openDescriptors(connection);
        }
        ASSERT_EQ(openDescriptors(connection), descriptors);
        EXPECT_TRUE(childrenOf(connection).empty());
        expectServes();
    }
    EXPECT_TRUE(eventually([&] { return openDescriptors(m_server.pid()) == descriptors; }))
        << "it listens where the connection has its client";

    EXPECT_EQ(run(client, script("exit 1")).value, XCODE_EXIT + 1);
    EXPECT_EQ(client.receive().type, CLOSED) << "a failed command is the last one";
}

TEST_F(ShellServer, OnlyItsOwnUserMayConnect)
{
    struct stat info;
    ASSERT_TRUE(ZKFile::GET_INFO(ZK::Shell::SERVER_PATH, info));
    EXPECT_EQ(info.st_mode, static_cast<mode_t>(S_IFSOCK | S_IRUSR | S_IWUSR));
}

TEST(ShellServerStart, KeepsOutOfTheProcessThatStartsIt)
{
    auto const threads = ownThreads();
    std::signal(SIGTERM, SIG_IGN);
    RunningServer const server;
    EXPECT_EQ(ownThreads(), threads) << "the loop IO isn't started";
    auto const streams = "/proc/" + std::to_string(server.pid()) + "/fd/";
    for (char const* stream : {"0", "1", "2"})
        EXPECT_EQ(std::filesystem::read_symlink(streams + stream), "/dev/null");
    EXPECT_EQ(::kill(server.pid(), SIGTERM), 0);
    int status = 0;
    EXPECT_EQ(::waitpid(server.pid(), &status, 0), server.pid());
    EXPECT_TRUE(WIFSIGNALED(status)) << "what the caller ignores ends the server";
    std::signal(SIGTERM, SIG_DFL);
}

TEST(ShellServerStart, FailedListeningLeavesItClosed)
{
    TemporaryDirectory directory;
    ZK::Shell::Server server;
    XCode const code = server.listen(directory / "missing/socket");
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + ENOENT);
    EXPECT_EQ(server.accept().toString(), "COULD NOT ACCEPT CLIENT CONNECTION");
    EXPECT_TRUE(server.listen(directory / "socket"));
    EXPECT_TRUE(server.listen(directory / "socket")) << "a stale socket is replaced";
}

using ForkAndExec = TidyTest;

TEST_F(ForkAndExec, FailuresOnTheWayLeaveNothingOpen)
{
    ZKVector<String> arguments;
    arguments.add("/bin/true");
    ZK::Shell::ForkAndExec program;
    char const* const texts[] = {"CANNOT OPEN PIPE FOR STDERR", "CANNOT OPEN PIPE FOR PASSING ERROR CODE",
                                 "FORK FAILED"};
    for (int i = 0; i < 3; ++i)
    {
        FewDescriptors const limit(2 * i + 1);
        EXPECT_EQ(program.forkAndExec(arguments, ZKVector<String>()).toString(), texts[i]);
        EXPECT_TRUE(program.kill(SIGKILL)) << "without a program there is nobody to signal";
    }
    EXPECT_EQ(program.waitForTermination().getValue(), XCODE_ERRNO + ECHILD);
    EXPECT_TRUE(program.forkAndExec(arguments, ZKVector<String>()));
    EXPECT_TRUE(program.waitForTermination());
}
