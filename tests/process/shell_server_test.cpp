#include "zekovar/process/shell_server.h"

#include "tests/process/running_server.h"
#include "tests/process/tidy_test.h"
#include "tests/process/wire_client.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/process/fork_and_exec.h"

#include <gtest/gtest.h>

#include <algorithm>
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

    std::string errors() { return readAll(m_program[2]); }

    RunningServer m_server;
    std::vector<ZKFile> m_program; // its standard streams
};

std::size_t openDescriptors(int pid)
{
    ZKVector<String> names;
    EXPECT_TRUE(ZKFile::LIST_DIRECTORY(String::stringOfFormat("/proc/%d/fd", pid), names, false));
    return names.size();
}
}

TEST_F(ShellServer, ReportsHowProgramsEnd)
{
    struct Case
    {
        std::string command;
        unsigned int value;
        char const* text = "";
    };

    for (Case const& expected :
         {Case{commandMessage({"true"}), XCODE_SUCCESS}, Case{script("exit 3"), XCODE_EXIT + 3},
          Case{script("exit 254"), XCODE_EXIT + 254}, Case{script("exit 255"), XCODE_FAILURE, "CANNOT EXECUTE PROGRAM"},
          Case{script("kill -9 $$"), XCODE_SIGNAL + 9},
          Case{commandMessage({"/none"}), XCODE_ERRNO + ENOENT, "CANNOT EXECUTE PROGRAM"}})
    {
        WireClient client;
        WireClient::Answer const end = run(client, expected.command);
        EXPECT_EQ(end.type, TERMINATED);
        EXPECT_EQ(end.value, expected.value);
        EXPECT_EQ(end.text, expected.text);
    }
}

TEST_F(ShellServer, ProgramHasTerminalPipeAndEnvironmentAndNothingElse)
{
    WireClient client;
    start(client, script("read x; echo \"$x\"; echo \"$NAME\"; echo oops >&2"));
    type("typed\n");
    EXPECT_EQ(client.receive().value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "typed\nvalue\n") << "no echo, and newlines stay as they are";
    EXPECT_EQ(errors(), "oops\n");

    // The terminal twice, the pipe of standard error, and that by which a failed start is told.
    EXPECT_EQ(run(client, script("for f in /proc/$$/fd/*; do readlink $f; done | tr -d 0-9")).value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "/dev/pts/\n/dev/pts/\npipe:[]\npipe:[]\n");
    EXPECT_EQ(run(client, script("grep -E '^Sig(Blk|Ign)' /proc/self/status | tr -d '\\t0'")).value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "SigBlk:\nSigIgn:\n");
}

TEST_F(ShellServer, StandardErrorThatIsClosedAtEitherEndHurtsNobody)
{
    WireClient client, other;
    start(client, script("exec 2>&-; read x; exit 4"));
    EXPECT_EQ(errors(), "") << "comes to its end while the program reads";
    type("\n");
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 4);

    start(other, script("read x; echo lost >&2; exit 6"));
    m_program[2] = ZKFile();
    type("\n");
    EXPECT_EQ(other.receive().value, XCODE_EXIT + 6);
}

TEST_F(ShellServer, LastHolderOfStandardErrorEndsTheCommand)
{
    TemporaryDirectory directory;
    ZKFile fifo(directory / "fifo", true, false);
    ASSERT_TRUE(fifo.createFifo(0600));
    WireClient client;
    start(client, script(std::string("trap '' HUP; { read x; echo $x >&2; } >/dev/null <") + fifo.getPath().c_str() +
                         " & echo $$; exit 5"));
    int const pid = std::atoi(output().c_str()); // up to the hangup of the terminal, at the program's end
    EXPECT_TRUE(eventually([&] { return !ProcessInfo(pid).isRunning(); }));
    client.send(signalMessage(0));
    EXPECT_EQ(client.receive().type, ACK) << "the command goes on";
    ASSERT_TRUE(fifo.open(O_WRONLY, 0, ZKFile::XO_NONE));
    ASSERT_TRUE(fifo.write("late\n", true));
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 5);
    EXPECT_EQ(errors(), "late\n");
}

TEST_F(ShellServer, SignalsAreDeliveredAndConfirmedOneAtATime)
{
    WireClient client;
    start(client, script("trap 'exit 7' TERM; printf .; read x"));
    char ready = 0;
    ASSERT_TRUE(m_program[1].readFixedSize(&ready, 1, true));
    client.send(signalMessage(12345));
    WireClient::Answer const refusal = client.receive();
    EXPECT_EQ(refusal.type, NAK);
    EXPECT_EQ(refusal.value, XCODE_ERRNO + EINVAL);
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
    std::string const good = commandMessage({"true"});
    for (std::string const& bad :
         {std::string("x"), good + "x", good.substr(0, good.size() - 1), good + good, std::string(4, '\0'),
          std::string(8192, 'x'), signalMessage(9), message(2, "12345678"), message(77, "")})
    {
        WireClient client;
        client.send(bad, {STDIN_FILENO, STDIN_FILENO, STDIN_FILENO});
        EXPECT_EQ(client.receive().type, CLOSED);
    }
    for (std::string const& bad : {commandMessage({}), message(0, ""), message(0, std::string("\1\377\0\0ls\0", 7))})
    {
        WireClient client;
        client.send(bad);
        WireClient::Answer const refusal = client.receive();
        EXPECT_EQ(refusal.type, NAK);
        EXPECT_EQ(refusal.text, bad == commandMessage({}) ? "NO PROGRAM SPECIFIED" : "MALFORMED MESSAGE RECEIVED");
        EXPECT_EQ(client.receive().type, CLOSED);
    }
    std::string const invalid = "INVALID MESSAGE RECEIVED: ";
    for (auto const& [bad, text] : {std::pair(good, invalid + "0"), std::pair(message(77, ""), invalid + "77"),
                                    std::pair(message(1, ""), std::string("MALFORMED MESSAGE RECEIVED"))})
    {
        WireClient client;
        start(client, script("read x"));
        client.send(bad);
        WireClient::Answer const end = client.receive();
        EXPECT_EQ(end.type, TERMINATED);
        EXPECT_EQ(end.value, XCODE_FAILURE);
        EXPECT_EQ(end.text, text);
        EXPECT_EQ(client.receive().type, CLOSED);
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
    auto const hasEnded = [](ProcessInfo const& child) { return !child.isRunning(); };
    EXPECT_TRUE(eventually([&] { return std::ranges::all_of(childrenOf(m_server.pid()), hasEnded); }));
    expectServes();
    EXPECT_TRUE(eventually([&] { return childrenOf(m_server.pid()).size() == 1; })) << "a new client has them reaped";
}

TEST_F(ShellServer, OnlyItsOwnUserMayConnect)
{
    struct stat info;
    ASSERT_TRUE(ZKFile::GET_INFO(ZK::Shell::SERVER_PATH, info));
    EXPECT_EQ(info.st_mode, static_cast<mode_t>(S_IFSOCK | S_IRUSR | S_IWUSR));
    if (::getuid() != 0)
        GTEST_SKIP() << "only root can try it as somebody else";
    int const child = ::fork();
    if (child == 0)
    {
        constexpr uid_t NOBODY = 65534;
        if (::setuid(NOBODY) != 0)
            ::_exit(1);
        ::_exit(!WireClient().isConnected() && errno == EACCES ? 0 : 2);
    }
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(ShellServerStart, KeepsOutOfTheProcessThatStartsIt)
{
    auto const threads = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); };
    auto const before = threads();
    std::signal(SIGTERM, SIG_IGN);
    RunningServer const server;
    EXPECT_EQ(threads(), before) << "the loop IO isn't started";
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
    EXPECT_TRUE(code.toString().startsWith("COULD NOT BIND SERVER SOCKET TO PATH /tmp/"));
    EXPECT_EQ(server.close().getValue(), XCODE_ERRNO + EBADFD);
    EXPECT_EQ(server.accept().toString(), "COULD NOT ACCEPT CLIENT CONNECTION");
    EXPECT_TRUE(server.listen(directory / "socket"));
    EXPECT_TRUE(server.listen(directory / "socket")) << "a stale socket is replaced";
}

class ForkAndExec : public TidyTest
{
};

TEST_F(ForkAndExec, WithoutAProgramThereIsNothingToDo)
{
    ZK::Shell::ForkAndExec program;
    EXPECT_EQ(program.forkAndExec(ZKVector<String>(), ZKVector<String>()).toString(), "NO PROGRAM SPECIFIED");
    EXPECT_TRUE(program.kill(9));
    EXPECT_EQ(program.waitForTermination().getValue(), XCODE_ERRNO + ECHILD);
    EXPECT_EQ(program.checkProgramAccessibility("/none").toString(), "CANNOT ACCESS PROGRAM: /none");
}

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
        EXPECT_EQ(program.getMaster(), -1);
    }
    EXPECT_TRUE(program.forkAndExec(arguments, ZKVector<String>()));
    EXPECT_TRUE(program.waitForTermination());
}
