#include "zekovar/process/shell_server.h"

#include "tests/process/running_server.h"
#include "tests/process/wire_client.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::StartsWith;

namespace
{
constexpr int TERMINATED = 2;
constexpr int ACK = 3;
constexpr int NAK = 4;
constexpr int CLOSED = -1;

class ShellServer : public testing::Test
{
protected:
    /// Runs a script on a connection of its own. The descriptors of the program stay in `m_program`.
    WireClient::Answer run(std::string const& command)
    {
        WireClient client;
        m_program = start(client, command);
        return client.receive();
    }

    static std::vector<Fd> start(WireClient& client, std::string const& command)
    {
        client.send(command);
        WireClient::Answer answer = client.receive();
        EXPECT_EQ(answer.type, ACK);
        EXPECT_EQ(answer.fds.size(), 3u);
        answer.fds.resize(3);
        return std::move(answer.fds);
    }

    std::string output() { return readAll(m_program[1]); }

    std::string errors() { return readAll(m_program[2]); }

    void expectServes() { EXPECT_EQ(run(WireClient::command({"/bin/true"})).type, TERMINATED); }

    RunningServer m_server;
    std::vector<Fd> m_program;
};

std::size_t openDescriptors(int pid)
{
    auto const path = "/proc/" + std::to_string(pid) + "/fd";
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(path), {}));
}

bool isAlive(int pid)
{
    auto const all = childrenOf(0);
    return std::any_of(all.begin(), all.end(), [&](auto const& info) { return info.pid == pid && info.state != 'Z'; });
}
}

TEST_F(ShellServer, ReportsHowProgramsEnd)
{
    struct Case
    {
        std::string command;
        unsigned int value;
        char const* text;
    };

    for (Case const& expected :
         {Case{WireClient::command({"true"}), XCODE_SUCCESS, ""},
          Case{WireClient::script("exit 3"), XCODE_EXIT + 3, ""},
          Case{WireClient::script("exit 254"), XCODE_EXIT + 254, ""},
          Case{WireClient::script("exit 255"), XCODE_FAILURE, "CANNOT EXECUTE PROGRAM"},
          Case{WireClient::script("kill -9 $$"), XCODE_SIGNAL + 9, ""},
          Case{WireClient::command({"/no/such/program"}), XCODE_ERRNO + ENOENT, "CANNOT EXECUTE PROGRAM"}})
    {
        WireClient::Answer const end = run(expected.command);
        EXPECT_EQ(end.type, TERMINATED);
        EXPECT_EQ(end.value, expected.value);
        EXPECT_EQ(end.text, expected.text);
    }
}

TEST_F(ShellServer, ProgramHasTerminalPipeAndEnvironmentAndNothingElse)
{
    // "read" echoes nothing, and newlines stay as they are
    WireClient client;
    m_program = start(client, WireClient::script("read x; echo \"$x\"; echo \"$NAME\"; echo oops >&2", {"NAME=value"}));
    ASSERT_EQ(::write(m_program[0], "typed\n", 6), 6);
    EXPECT_EQ(client.receive().type, TERMINATED);
    EXPECT_EQ(output(), "typed\nvalue\n");
    EXPECT_EQ(errors(), "oops\n");

    // The terminal twice, the pipe of standard error, and that by which a failed start is told.
    EXPECT_EQ(run(WireClient::script("for f in /proc/$$/fd/*; do readlink $f; done")).value, XCODE_SUCCESS);
    std::string links = output();
    for (std::size_t digit; (digit = links.find_first_of("0123456789")) != std::string::npos;)
        links.erase(digit, 1);
    EXPECT_EQ(links, "/dev/pts/\n/dev/pts/\npipe:[]\npipe:[]\n");
    EXPECT_EQ(run(WireClient::script("grep -E '^Sig(Blk|Ign)' /proc/self/status")).value, XCODE_SUCCESS);
    EXPECT_EQ(output(), "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(ShellServer, CommandsFollowEachOtherUntilOneFails)
{
    WireClient client;
    for (char const* text : {"first", "second"})
    {
        m_program = start(client, WireClient::script(std::string("printf ") + text));
        EXPECT_EQ(client.receive().type, TERMINATED);
        EXPECT_EQ(output(), text);
    }
    m_program = start(client, WireClient::script("exit 1"));
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 1);
    EXPECT_EQ(client.receive().type, CLOSED);
}

TEST_F(ShellServer, SignalsAreDeliveredAndConfirmed)
{
    WireClient client;
    m_program = start(client, WireClient::script("trap 'echo caught; exit 7' TERM; echo ready; read x"));
    char ready[6];
    ASSERT_EQ(::read(m_program[1], ready, sizeof ready), 6);
    client.send(WireClient::signal(12345));
    WireClient::Answer answer = client.receive();
    EXPECT_EQ(answer.type, NAK);
    EXPECT_EQ(answer.value, XCODE_ERRNO + EINVAL);
    client.send(WireClient::signal(SIGTERM));
    answer = client.receive();
    EXPECT_EQ(answer.type, ACK);
    EXPECT_TRUE(answer.fds.empty());
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 7);
    EXPECT_EQ(output(), "caught\n");
}

TEST_F(ShellServer, AnswersComeOneAtATime)
{
    WireClient client;
    m_program = start(client, WireClient::script("read x"));
    int const connection = childrenOf(m_server.pid()).back().pid;
    client.send(WireClient::signal(SIGKILL));
    EXPECT_TRUE(eventually([&] { return childrenOf(connection).empty(); })) << "the end is known, too";
    EXPECT_EQ(client.receive().type, ACK);
    EXPECT_EQ(client.receive().value, XCODE_SIGNAL + SIGKILL);
}

TEST_F(ShellServer, ProgramThatClosesItsStandardErrorIsWaitedFor)
{
    WireClient client;
    m_program = start(client, WireClient::script("exec 2>&-; read x; exit 4"));
    EXPECT_EQ(errors(), "") << "comes to its end while the program reads";
    ASSERT_EQ(::write(m_program[0], "\n", 1), 1);
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 4);
}

TEST_F(ShellServer, LastHolderOfStandardErrorEndsTheCommand)
{
    TemporaryDirectory directory;
    String const fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    WireClient client;
    m_program = start(client, WireClient::script("trap '' HUP; { read x; echo $x >&2; } >/dev/null <" +
                                                 std::string(fifo.c_str()) + " & echo $$; exit 5"));
    std::string const pid = output(); // up to the hangup of the terminal, at the program's end
    EXPECT_TRUE(eventually([&] { return !isAlive(std::atoi(pid.c_str())); }));
    client.send(WireClient::signal(0));
    EXPECT_EQ(client.receive().type, ACK) << "the command goes on";
    {
        Fd const writer(::open(fifo.c_str(), O_WRONLY | O_CLOEXEC));
        ASSERT_EQ(::write(writer, "late\n", 5), 5);
    }
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 5);
    EXPECT_EQ(errors(), "late\n");
}

TEST_F(ShellServer, LosingTheClientEndsTheConnectionAndNotTheProgram)
{
    WireClient client;
    m_program = start(client, WireClient::script("trap '' HUP; echo $$; while :; do read x || sleep 1; done"));
    char text[16] = {};
    ASSERT_GT(::read(m_program[1], text, sizeof text - 1), 0);
    client.socket().close();
    m_program.clear();
    int const pid = std::atoi(text);
    EXPECT_TRUE(eventually(
        [&]
        {
            auto const children = childrenOf(m_server.pid());
            return std::all_of(children.begin(), children.end(), [](auto const& child) { return child.state == 'Z'; });
        }));
    EXPECT_TRUE(isAlive(pid));
    expectServes();
}

TEST_F(ShellServer, StandardErrorThatNobodyReadsHurtsNobody)
{
    WireClient client;
    m_program = start(client, WireClient::script("read x; echo lost >&2; exit 6"));
    m_program[2].close();
    ASSERT_EQ(::write(m_program[0], "\n", 1), 1);
    EXPECT_EQ(client.receive().value, XCODE_EXIT + 6);
}

TEST_F(ShellServer, BadCommandsAreRefused)
{
    struct Case
    {
        std::string message;
        char const* text;
    };

    for (Case const& bad :
         {Case{WireClient::command({}), "NO PROGRAM SPECIFIED"},
          Case{WireClient::message(0, ""), "MALFORMED MESSAGE RECEIVED"},
          Case{WireClient::message(0, std::string("\1\377\0\0ls\0", 7)), "MALFORMED MESSAGE RECEIVED"},
          Case{WireClient::message(0, std::string("\1\0\0\0ls", 6)), "MALFORMED MESSAGE RECEIVED"}})
    {
        WireClient client;
        client.send(bad.message);
        WireClient::Answer const answer = client.receive();
        EXPECT_EQ(answer.type, NAK);
        EXPECT_EQ(answer.value, XCODE_FAILURE);
        EXPECT_EQ(answer.text, bad.text);
        EXPECT_EQ(client.receive().type, CLOSED);
    }
    expectServes();
}

TEST_F(ShellServer, HostileMessagesEndTheirConnectionOnly)
{
    std::vector<int> const fds(4, STDIN_FILENO);
    std::string const good = WireClient::command({"/bin/true"});

    struct Case
    {
        std::string bytes;
        std::size_t fdCount = 0;
    };

    std::vector<Case> const hostile = {{"x"},
                                       {"xyz", 3},
                                       {good + "x", 2},
                                       {good.substr(0, good.size() - 1)},
                                       {good + good},
                                       {std::string(4, '\0')},
                                       {std::string(8192, 'x')},
                                       {good, 4},
                                       {WireClient::signal(9)},
                                       {WireClient::message(2, "12345678"), 1},
                                       {WireClient::message(77, "")}};
    for (Case const& message : hostile)
    {
        WireClient client;
        client.send(message.bytes, {fds.begin(), fds.begin() + static_cast<std::ptrdiff_t>(message.fdCount)});
        EXPECT_EQ(client.receive().type, CLOSED);
    }
    for (std::string const& second : {good, WireClient::message(1, ""), WireClient::message(3, "")})
    {
        WireClient client;
        m_program = start(client, WireClient::script("read x"));
        client.send(second);
        WireClient::Answer const answer = client.receive();
        EXPECT_EQ(answer.type, TERMINATED);
        EXPECT_EQ(answer.value, XCODE_FAILURE);
        EXPECT_EQ(client.receive().type, CLOSED);
    }
    expectServes();
}

TEST_F(ShellServer, StrayDescriptorsAreClosed)
{
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    Fd const reader(ends[0]);
    Fd writer(ends[1]);
    WireClient client;
    client.send(WireClient::script("read x"), {writer, writer});
    m_program = std::move(client.receive().fds);
    client.send(WireClient::signal(0), {writer});
    EXPECT_EQ(client.receive().type, ACK);
    writer.close();
    EXPECT_EQ(readAll(reader), "") << "program and connection have closed theirs";
    client.send(WireClient::signal(SIGKILL));
    EXPECT_EQ(client.receive().type, ACK);
    EXPECT_EQ(client.receive().value, XCODE_SIGNAL + SIGKILL);
}

TEST_F(ShellServer, NothingIsLeftBehind)
{
    WireClient client;
    m_program = start(client, WireClient::command({"/bin/true"}));
    EXPECT_EQ(client.receive().type, TERMINATED);
    int const connection = childrenOf(m_server.pid()).back().pid;
    std::size_t const descriptors = openDescriptors(connection);
    for (int i = 0; i < 10; ++i)
    {
        expectServes();
        m_program = start(client, WireClient::command({"/bin/true"}));
        EXPECT_EQ(client.receive().type, TERMINATED);
    }
    EXPECT_EQ(openDescriptors(connection), descriptors);
    EXPECT_TRUE(childrenOf(connection).empty());
    EXPECT_TRUE(eventually([&] { return openDescriptors(m_server.pid()) == descriptors; }))
        << "it listens where the connection has its client";

    // those that have ended are reaped when the next client comes
    EXPECT_TRUE(eventually([&] { return childrenOf(m_server.pid()).back().state == 'Z'; }));
    expectServes();
    EXPECT_TRUE(eventually([&] { return childrenOf(m_server.pid()).size() == 2; }));
}

TEST_F(ShellServer, OnlyItsOwnUserMayConnect)
{
    struct stat info;
    ASSERT_EQ(::stat(ZK::Shell::SERVER_PATH, &info), 0);
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
    std::size_t const descriptors = openDescriptors(::getpid());
    {
        std::signal(SIGTERM, SIG_IGN);
        RunningServer const server;
        EXPECT_EQ(threads(), before) << "the loop IO isn't started";
        EXPECT_EQ(::kill(server.pid(), SIGTERM), 0);
        int status = 0;
        EXPECT_EQ(::waitpid(server.pid(), &status, 0), server.pid());
        EXPECT_TRUE(WIFSIGNALED(status)) << "what the caller ignores ends the server";
        std::signal(SIGTERM, SIG_DFL);
    }
    EXPECT_EQ(openDescriptors(::getpid()), descriptors);
}

TEST(ShellServerStart, FailedListeningLeavesItClosed)
{
    TemporaryDirectory directory;
    ZK::Shell::Server server;
    String const path = directory / "missing/socket";
    XCode code = server.listen(path);
    EXPECT_EQ(code, XCode(XCODE_ERRNO + ENOENT));
    EXPECT_EQ(code.toString(), String("COULD NOT BIND SERVER SOCKET TO PATH ").concat(path));
    EXPECT_EQ(server.close(), XCode(XCODE_ERRNO + EBADFD));
    code = server.accept();
    EXPECT_EQ(code.toString(), "COULD NOT ACCEPT CLIENT CONNECTION");
    EXPECT_TRUE(server.listen(directory / "socket"));
    EXPECT_TRUE(server.listen(directory / "socket")) << "a stale socket is replaced";
    EXPECT_TRUE(server.close());
}
