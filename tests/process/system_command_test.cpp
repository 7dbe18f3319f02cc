#include "tests/string_printer.h"
#include "zekovar/process/system_command.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
struct Outcome
{
    XCode code;
    int exitCode = 7;
    String output = "before:";
};

Outcome shell(char const* script, bool alwaysCapture)
{
    Outcome outcome;
    outcome.code = _ZKSystem::executeCmd("sh", {"-c", script}, outcome.exitCode, outcome.output, alwaysCapture);
    return outcome;
}

/// The lowest descriptor that is free: it grows when one is lost.
int nextDescriptor()
{
    int const fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(fd);
    return fd;
}

/// Lets no further descriptor be had for a scope.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit now = m_before;
        now.rlim_cur = static_cast<rlim_t>(nextDescriptor());
        ::setrlimit(RLIMIT_NOFILE, &now);
    }

    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &m_before); }

private:
    rlimit m_before{};
};
}

TEST(SystemCommand, HandsBackOutputAndExitStatus)
{
    int const descriptor = nextDescriptor();
    Outcome outcome = shell("printf 'a\\0b'; echo c >&2; exit 3", false);
    EXPECT_EQ(outcome.code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(outcome.exitCode, 3);
    EXPECT_EQ(outcome.output, "before:abc\n");

    outcome = shell("echo seen; exit 0", false);
    EXPECT_TRUE(outcome.code.isSuccess());
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "before:");

    outcome = shell("echo seen; exit 0", true);
    EXPECT_TRUE(outcome.code.isSuccess());
    EXPECT_EQ(outcome.output, "before:seen\n");

    outcome = shell("echo seen; kill -9 $$", false);
    EXPECT_EQ(outcome.code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(outcome.exitCode, -1);
    EXPECT_EQ(outcome.output, "before:seen\n");
    EXPECT_EQ(nextDescriptor(), descriptor);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST(SystemCommand, TakesAPipeFullOfOutput)
{
    // more blocks for ever; the pipe is smaller where the system is short of them
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    int const size = ::fcntl(ends[0], F_GETPIPE_SZ);
    ::close(ends[0]);
    ::close(ends[1]);
    Outcome const outcome = shell(String::stringOfFormat("head -c %d /dev/zero | tr '\\0' x", size).c_str(), true);
    EXPECT_TRUE(outcome.code.isSuccess());
    EXPECT_EQ(outcome.output.length(), String("before:").length() + size);
}

TEST(SystemCommand, SplitsALineAtBlanksOutsideOfQuotes)
{
    int exitCode = 0;
    String output;
    XCode code = _ZKSystem::executeCmd("\tprintf \"[%s]\" a  \"b c\"\t$HOME", exitCode, output, true);
    EXPECT_TRUE(code.isSuccess());
    EXPECT_EQ(output, "[a][b c][$HOME]");

    for (char const* line : {"/no/such/program", "", "  "})
    {
        output = "";
        code = _ZKSystem::executeCmd(line, exitCode, output, true);
        EXPECT_EQ(code.getValue(), XCODE_FAILURE);
        EXPECT_EQ(exitCode, 1) << "what can't be started is seen as an exit status";
        EXPECT_EQ(output, "");
    }
}

TEST(SystemCommand, FailsWithoutDescriptors)
{
    Outcome outcome;
    {
        NoDescriptors const none;
        outcome = shell("true", true);
    }
    EXPECT_EQ(outcome.code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(outcome.exitCode, -1);
    EXPECT_EQ(outcome.output, "CREATING PIPE FAILED: Too many open files");
    EXPECT_EQ(outcome.code.toString(), "INTERNAL ERROR") << "the code itself has no text";
}

TEST(SystemCommand, WorksWithoutStandardDescriptors)
{
    pid_t const child = ::fork();
    if (child == 0)
    {
        for (int fd = 0; fd < 3; ++fd)
            ::close(fd);
        Outcome const outcome = shell("echo out; echo err >&2", true);
        ::_exit(outcome.output == "before:out\nerr\n" ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(SystemCommand, GivesTheProgramDefaultSignals)
{
    auto const usr1 = std::signal(SIGUSR1, [](int) {});
    auto const pipe = std::signal(SIGPIPE, SIG_IGN);
    for (int signal : {SIGUSR1, SIGPIPE})
        EXPECT_EQ(shell(String::stringOfFormat("kill -%d $$", signal).c_str(), true).exitCode, -1) << signal;
    std::signal(SIGUSR1, usr1);
    std::signal(SIGPIPE, pipe);
}

TEST(ExecuteSystem, AppendsOutputAndTellsFailures)
{
    int const descriptor = nextDescriptor();
    int status = 5;
    String out = "before:";
    EXPECT_TRUE(executeSystem("echo one; printf two; echo three >/dev/null", status, out).isSuccess());
    EXPECT_EQ(status, 0);
    EXPECT_EQ(out, "before:one\ntwo");
    EXPECT_TRUE(executeSystem("exit 0").isSuccess());

    EXPECT_EQ(executeSystem("echo seen; exit 1", status, out).getValue(), XCODE_FAILURE);
    EXPECT_EQ(out, "before:one\ntwoseen\n");
    EXPECT_EQ(executeSystem("exit 1").getValue(), XCODE_FAILURE);
    EXPECT_EQ(executeSystem("kill -9 $$", status).getValue(), XCODE_FAILURE);

    out = "";
    EXPECT_TRUE(executeSystem("head -c 200000 /dev/zero | tr '\\0' x", status, out).isSuccess());
    EXPECT_EQ(out.length(), 200000);
    EXPECT_EQ(nextDescriptor(), descriptor);
    {
        NoDescriptors const none;
        EXPECT_EQ(executeSystem("exit 0", status, out).getValue(), XCODE_FAILURE);
    }
    EXPECT_EQ(status, EMFILE);
}

TEST(ExecuteSystem, LosesNothingToSignals)
{
    static std::atomic<int> s_count;
    struct sigaction action = {}; // without SA_RESTART: reading is interrupted
    action.sa_handler = [](int) { ++s_count; };
    struct sigaction before;
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    String const command =
        String::stringOfFormat("for i in 1 2 3 4 5 6 7 8 9; do printf $i; kill -USR1 %d; done; echo", ::getpid());
    int status = 0;
    String out;
    EXPECT_TRUE(executeSystem(command, status, out).isSuccess());
    EXPECT_EQ(out, "123456789\n");
    EXPECT_GT(s_count, 0);
    ::sigaction(SIGUSR1, &before, nullptr);
}
