#include "tests/eventually.h"
#include "tests/process/tidy_test.h"
#include "tests/string_printer.h"
#include "zekovar/process/system_command.h"
#include "zekovar/threads/thread.h"

#include <csignal>

namespace
{
struct Outcome
{
    XCode code;
    int exitCode = 7;
    String output = "before:";
};

Outcome shell(String const& script, bool alwaysCapture)
{
    Outcome outcome;
    outcome.code = _ZKSystem::executeCmd("sh", {"-c", script}, outcome.exitCode, outcome.output, alwaysCapture);
    return outcome;
}

using SystemCommand = TidyTest;
}

TEST_F(SystemCommand, HandsBackOutputAndExitStatus)
{
    auto const seen = [](String const& script, bool alwaysCapture)
    {
        Outcome const outcome = shell(script, alwaysCapture);
        return listed(outcome.code.isSuccess(), outcome.exitCode, outcome.output);
    };
    EXPECT_EQ(seen("printf 'a\\0b'; echo c >&2; exit 3", false), "false|3|before:abc\n");
    EXPECT_EQ(seen("echo text", false), "true|0|before:");
    EXPECT_EQ(seen("echo text", true), "true|0|before:text\n");
    EXPECT_EQ(seen("echo text; kill -9 $$", false), "false|-1|before:text\n");
}

TEST_F(SystemCommand, SplitsALineAtBlanksOutsideOfQuotes)
{
    int exitCode = 0;
    String output;
    EXPECT_TRUE(_ZKSystem::executeCmd("\tprintf [%s] a  \"b c\"\t$HOME", exitCode, output, true).isSuccess());
    EXPECT_EQ(output, "[a][b c][$HOME]");
    for (char const* line : {"/no/such/program", "", "  "})
    {
        EXPECT_EQ(_ZKSystem::executeCmd(line, exitCode, output, true).getValue(), XCODE_FAILURE);
        EXPECT_EQ(exitCode, 1) << "what can't be started is seen as an exit status";
    }
}

TEST_F(SystemCommand, CopesWithoutDescriptors)
{
    Outcome outcome = shell("true", true); // the sanitizer meets the classes while it has descriptors for that
    {
        FewDescriptors const none(0);
        outcome = shell("true", true);
    }
    EXPECT_EQ(outcome.exitCode, -1);
    EXPECT_EQ(outcome.output, "CREATING PIPE FAILED: Too many open files");
    EXPECT_EQ(outcome.code.toString(), "INTERNAL ERROR") << "the code itself has no text";

    pid_t const child = ::fork();
    if (child == 0)
    {
        for (int fd = 0; fd < 3; ++fd) // the pipe takes their numbers
            ::close(fd);
        ::_exit(shell("echo out; echo err >&2", true).output == "before:out\nerr\n" ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST_F(SystemCommand, GivesTheProgramDefaultSignals)
{
    auto const usr1 = std::signal(SIGUSR1, [](int) {});
    auto const pipe = std::signal(SIGPIPE, SIG_IGN);
    for (int signal : {SIGUSR1, SIGPIPE})
        EXPECT_EQ(shell(String::stringOfFormat("kill -%d $$", signal), true).exitCode, -1) << signal;
    std::signal(SIGUSR1, usr1);
    std::signal(SIGPIPE, pipe);
}

TEST_F(SystemCommand, RunsShellLines)
{
    int status = 5;
    String out = "before:";
    EXPECT_TRUE(executeSystem("echo one; printf two", status, out).isSuccess());
    EXPECT_EQ(status, 0);
    EXPECT_EQ(executeSystem("echo seen; exit 1", status, out).getValue(), XCODE_FAILURE);
    EXPECT_EQ(out, "before:one\ntwoseen\n");
    EXPECT_EQ(executeSystem("kill -9 $$", status).getValue(), XCODE_FAILURE);

    EXPECT_TRUE(executeSystem("head -c 200000 /dev/zero | tr '\\0' x", status, out = "").isSuccess());
    EXPECT_EQ(out.length(), 200000);
    FewDescriptors const none(0);
    EXPECT_EQ(executeSystem("exit 0", status, out).getValue(), XCODE_FAILURE);
    EXPECT_EQ(status, EMFILE);
}

TEST_F(SystemCommand, LosesNothingToSignals)
{
    struct sigaction action = {}; // without SA_RESTART: reading is interrupted
    action.sa_handler = [](int) {};
    struct sigaction before;
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    int status = 0;
    String out;
    String const command = String::stringOfFormat(
        "for i in 1 2 3 4 5 6 7 8 9; do printf $i; sleep .02; kill -USR1 %d; done; echo", ::getpid());
    EXPECT_TRUE(executeSystem(command, status, out).isSuccess());
    EXPECT_EQ(out, "123456789\n");
    ::sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(SystemCommand, LeavesNothingBehindOnAThreadThatIsCancelled)
{
    struct Caller
    {
        XCode runCmd() { return shell("sleep .3", true).code; }

        XCode runSystem() { return executeSystem("sleep .3"); }
    } caller;

    for (auto method : {&Caller::runCmd, &Caller::runSystem})
    {
        ZKThreadMethod<Caller> thread("caller", &caller, method);
        ASSERT_TRUE(thread.start("").isSuccess());
        siginfo_t info;
        EXPECT_TRUE(eventually([&] { return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0; }));
        thread.stop();
        thread.join();
    }
}
