#include "zekovar/process/shell.h"

#include "tests/events/loop_fixture.h"
#include "tests/process/observed_command.h"
#include "tests/process/running_server.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/jobs/executor_single_thread.h"
#include "zekovar/process/job_shell.h"

#include <fcntl.h>
#include <optional>
#include <thread>

using State = ZK::IFuture::State;
using ZK::CJobShell;
using ZK::FunctionContext;
using ZK::Shell::execute;
using ZK::Shell::invoke;

namespace
{
constexpr char const* ENDLESS = "echo ready; exec sleep 1000";

class ShellExecute : public testing::Test
{
protected:
    std::optional<RunningServer> m_server{std::in_place};
};

class ShellFuture : public ShellExecute
{
protected:
    static ZKPtr<CJobShell> job(String const& text) { return ZK::MovePtr<CJobShell>(new CJobShell(script(text))); }

    ZKPtr<ZK::IExecutor> m_immediate = ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorImmediate());
    ZKPtr<ZK::IExecutor> m_thread = ZK::MovePtr<ZK::IExecutor>(new ZK::CExecutorSingleThread("shell"));
    ZK::Future<String> m_future;
};
}

TEST(JobShell, SplitsLinesAndDescribesItself)
{
    CJobShell command(" ls\t-l \"two words\" end\r\n");
    EXPECT_EQ(String::join(command.getCmdLineArgs(), "|"), "ls|-l|two words|end");
    command.addEnv("B", "2");
    command.addEnv("A", "1");
    EXPECT_EQ(command.getJobDescription(), "Shell Cmd: ls -l two words end (B=2, A=1)");
}

TEST_F(ShellExecute, GivesOutputErrorsAndResult)
{
    String output = "before ", errors = "old ";
    EXPECT_TRUE(execute("echo one \"two  three\" four", output));
    EXPECT_EQ(output, "before one two  three four\n");
    XCode code = execute(script("printf x; printf oops >&2; exit 3"), output, errors);
    EXPECT_EQ(code.getValue(), XCODE_EXIT + 3);
    EXPECT_EQ(code.toString(), "oops");
    EXPECT_EQ(errors, "old oops");
    EXPECT_EQ(execute(script("printf oops >&2; exit 3")).toString(), "oops");
    EXPECT_EQ(execute(script("exit 255")).toString(), "CANNOT EXECUTE PROGRAM");
    EXPECT_EQ(execute(script("exec 2>&-; sleep 0.1; kill -9 $$")).getValue(), XCODE_SIGNAL + 9);
    EXPECT_EQ(execute("").toString(), "NO PROGRAM SPECIFIED");
    EXPECT_EQ(execute("/none").getValue(), XCODE_ERRNO + ENOENT);

    ZKStringHashTable<String> env;
    env.set("NAME", "value");
    EXPECT_TRUE(execute("/usr/bin/env", env, output = ""));
    EXPECT_EQ(output, "NAME=value\n");
    EXPECT_TRUE(execute(script("echo ${PATH:+set}"), output = ""));
    EXPECT_EQ(output, "set\n");
}

TEST_F(ShellExecute, TakesAsManyArgumentsAsAMessage)
{
    ZKVector<String> args;
    args.add("/bin/echo");
    while (args.size() < 255)
        args.add("x");
    String output;
    EXPECT_TRUE(execute(args, output));
    EXPECT_EQ(output.length(), 2 * 254);
    args.add("x");
    EXPECT_EQ(execute(args).toString(), "TOO MANY ARGUMENTS");
}

TEST_F(ShellExecute, DeliversAHundredMegabytes)
{
    int const lines = 6'000'000 / SLOWER;
    String output, errors;
    EXPECT_TRUE(execute(script(String::stringOfFormat("yes 0123456789abcde | head -n %d; printf end >&2", lines)),
                        output, errors));
    EXPECT_TRUE(output == String::repeat("0123456789abcde\n", lines));
    EXPECT_EQ(errors, "end");
}

TEST_F(ShellExecute, NothingComesBehindTheEnd)
{
    String output, errors;
    EXPECT_TRUE(execute(script("(trap '' HUP; while echo more; do :; done) 2>&- &"), output, errors));
    int const length = output.length();
    EXPECT_TRUE(execute("/bin/true"));
    EXPECT_EQ(output.length(), length) << "a process that was left behind goes on writing";
}

TEST_F(ShellExecute, RefusesWhatTheLoopWouldHaveToDo)
{
    ZKAutoLock<ZKEventLoop> const stop(IO::INSTANCE());
    EXPECT_EQ(execute("/bin/true").toString(),
              "CANNOT EXECUTE COMMAND '/bin/true' BLOCKING WHILE BEING SYNCHRONIZED TO THE I/O EVENT LOOP");
    ZK::Future<String> future;
    EXPECT_EQ(invoke("/bin/true", nullptr, future).toString(),
              "CANNOT EXECUTE SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
    EXPECT_FALSE(future);
}

TEST_F(ShellExecute, SynchronousCallbacksAreRefused)
{
    ZK::Future<String> future;
    auto const codeFor = [&](bool result, bool output, bool errors)
    {
        auto const context = [](bool isSync) { return isSync ? IO::INSTANCE().getSyncContext() : ZK::directCall(); };
        return invoke("true", ZK::bindArgs(context(result), [](XCode const&, String const&) {}),
                      ZK::bindArgs(context(output), [](String const&) {}),
                      ZK::bindArgs(context(errors), [](String const&) {}), future)
            .toString();
    };
    EXPECT_EQ(codeFor(true, true, true), "CANNOT USE SYNCHRONOUS RESULT CALLBACK FOR SHELL COMMANDS");
    EXPECT_EQ(codeFor(false, true, true), "CANNOT USE SYNCHRONOUS STDOUT CALLBACK FOR SHELL COMMANDS");
    EXPECT_EQ(codeFor(false, false, true), "CANNOT USE SYNCHRONOUS STDERR CALLBACK FOR SHELL COMMANDS");
    EXPECT_FALSE(future);
    EXPECT_TRUE(childrenOf(m_server->pid()).empty()) << "nothing was started";
}

TEST_F(ShellFuture, CallbacksComeInOrderAndMayUseIt)
{
    ObservedCommand command("printf one; read x; printf two >&2; exit 7");
    EXPECT_TRUE(command.writes("one"));
    EXPECT_TRUE(command.future.sendData("\n"));
    EXPECT_EQ(command.result().getValue(), XCODE_EXIT + 7);
    EXPECT_TRUE(command.writes("one!two[]"));

    ZK::Shell::StreamCallback const answer =
        ZK::bindArgs(ZK::directCall(), [this](String const&) { EXPECT_TRUE(m_future.sendData("\n")); });
    ASSERT_TRUE(invoke(script("echo question; read x"), nullptr, answer, m_future));
    EXPECT_TRUE(m_future->waitForCompletion());
}

TEST_F(ShellFuture, ObserverGetsWhatCameBeforeIt)
{
    ASSERT_TRUE(m_immediate->invokeJob(job("printf text; printf oops >&2").getObj(), m_future.getFuture()));
    EXPECT_TRUE(m_future->waitForCompletion());
    ZKPtr<ZK::IFutureResult<String>> result;
    ASSERT_TRUE(m_future->queryIf(result));
    String value, output, errors;
    EXPECT_TRUE(result->waitForResult(value));
    m_future.setStreamObserver(ZK::StreamType::STANDARD_OUTPUT, [&](String const& text) { output = text; });
    m_future.setStreamObserver(ZK::StreamType::STANDARD_ERROR, [&](String const& text) { errors = text; });
    EXPECT_EQ(value, "text");
    EXPECT_EQ(output, "text");
    EXPECT_EQ(errors, "oops");
    EXPECT_TRUE(eventually([this] { return !childrenOf(m_server->pid()).back().isRunning(); }))
        << "a command that has ended keeps no process";
    EXPECT_EQ(m_future->cancel(15), XCode(XCODE_FAILURE)) << "it has completed";
    EXPECT_FALSE(m_future->execute());
    EXPECT_EQ(m_future->getState(), State::done);
}

TEST_F(ShellFuture, CancelEndsWhatHasNotStarted)
{
    m_thread->suspend();
    ASSERT_TRUE(m_thread->invokeJob(job("exit 0").getObj(), m_future.getFuture()));
    EXPECT_EQ(m_future.sendData("x").getValue(), XCODE_ERRNO + EBADF);
    EXPECT_TRUE(m_future->cancel(15));
    EXPECT_EQ(m_future->waitForCompletion().getValue(), XCODE_SIGNAL + 15);
    EXPECT_FALSE(m_future->execute());
    EXPECT_EQ(m_future->getState(), State::cancelled);
}

TEST_F(ShellFuture, CancelEndsProgramsThatOtherExecutorsStarted)
{
    ASSERT_TRUE(m_thread->invokeJob(job(ENDLESS).getObj(), m_future.getFuture()));
    EXPECT_TRUE(eventually([this] { return m_future.sendData("\n").isSuccess(); }));
    EXPECT_EQ(m_future->cancel(12345).getValue(), XCODE_ERRNO + EINVAL);
    EXPECT_EQ(m_future->getState(), State::executing);
    EXPECT_TRUE(m_future->cancel(SIGKILL).toString().startsWith("FUNCTION EXECUTION CANNOT BE CANCELLED"))
        << "by the executor";
    EXPECT_EQ(m_future->waitForCompletion().getValue(), XCODE_SIGNAL + SIGKILL);
    EXPECT_EQ(m_future->getState(), State::cancelled);

    ASSERT_TRUE(IO::INSTANCE().getExecutor()->invokeJob(job(ENDLESS).getObj(), m_future.getFuture()));
    EXPECT_FALSE(m_future->waitForCompletion()) << "that one can't start any";
}

TEST_F(ShellFuture, CallsThatWaitRefuseOnTheLoop)
{
    ObservedCommand command("stty raw; echo ready; exec sleep 1000");
    EXPECT_TRUE(command.writes("ready\n"));
    String const much(std::string(500000, 'x').c_str());
    {
        ZKAutoLock<ZKEventLoop> const stop(IO::INSTANCE());
        EXPECT_EQ(command.future->cancel(9).toString(), "CANNOT CANCEL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(command.future->signal(9).toString(), "CANNOT SIGNAL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(command.result().toString(), "CANNOT WAIT FOR SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_TRUE(command.future.sendData("what fits\n"));
        EXPECT_EQ(command.future.sendData(much).toString(),
                  "CANNOT SEND DATA BLOCKING WHILE SYNCHRONIZED ON IO EVENT LOOP");
    }
    std::thread canceller([&] { EXPECT_TRUE(command.future->cancel(SIGKILL)); });
    EXPECT_FALSE(command.future.sendData(much)) << "nobody reads it";
    canceller.join();
    EXPECT_EQ(command.result().getValue(), XCODE_SIGNAL + SIGKILL);
}

TEST_F(ShellFuture, SendDataWaitsForTheReader)
{
    ObservedCommand command("stty raw; echo ready; head -c 500000 | wc -c");
    EXPECT_TRUE(command.writes("ready\n"));
    EXPECT_TRUE(command.future.sendData(String(std::string(500000, 'x').c_str())));
    EXPECT_TRUE(command.writes("ready\n500000\n[]"));
}

TEST_F(ShellFuture, LostConnectionLeavesTheEndToCancel)
{
    for (bool isCancelled : {false, true})
    {
        ObservedCommand command(ENDLESS);
        EXPECT_TRUE(command.writes("ready\n"));
        EXPECT_TRUE(isCancelled ? command.future->cancel(0) : command.future->signal(0));
        ::kill(childrenOf(m_server->pid()).back().pid, SIGKILL);
        EXPECT_TRUE(eventually([&] { return isCancelled || command.future->signal(0).isErr(); }));
        EXPECT_FALSE(command.future->hasCompleted());
        EXPECT_TRUE(eventually([&] { return command.future->cancel(SIGTERM).isSuccess(); }));
        EXPECT_EQ(command.result().getValue(), XCODE_SIGNAL + SIGTERM);
        EXPECT_EQ(command.future->getState(), State::cancelled);
    }
}

TEST_F(ShellFuture, ServerMayGoAndComeAgain)
{
    {
        ObservedCommand command(ENDLESS);
        EXPECT_TRUE(command.writes("ready\n"));
        ::kill(m_server->pid(), SIGKILL);
        EXPECT_TRUE(command.future->cancel(SIGKILL)) << "a connection outlives the server";
    }
    m_server.reset();
    EXPECT_EQ(execute("/bin/true").toString(), "COULD NOT CONNECT TO SERVER /tmp/shellexec.sck: "
                                               "COULD NOT BIND CLIENT SOCKET TO PATH /tmp/shellexec.sck");
    m_server.emplace();
    EXPECT_TRUE(execute("/bin/true"));
}

TEST_F(ShellFuture, LastReferenceMayGoInAnObserver)
{
    std::atomic<int> calls = 0;
    auto const drop = [&]
    {
        m_future = ZK::Future<String>();
        ++calls;
    };
    ASSERT_TRUE(invoke("/bin/echo", nullptr, ZK::bindArgs(ZK::directCall(), [&](String const&) { drop(); }), m_future));
    EXPECT_TRUE(eventually([&] { return calls == 1; }));
    ASSERT_TRUE(invoke(script("read x"), nullptr, m_future));
    m_future.setResultObserver([&](XCode const&, String const&) { drop(); });
    ZK::Future<String>(m_future).sendData("\n");
    EXPECT_TRUE(eventually([&] { return calls == 2; }));
}

TEST_F(ShellFuture, BackgroundProcessThatHoldsStandardErrorKeepsItRunning)
{
    TemporaryDirectory directory;
    String const path = directory / "go";
    ObservedCommand command(String::stringOfFormat(
        "trap '' HUP; (until [ -e %s ]; do sleep 0.01; done; echo late >&2) & printf now; exit 3", path.c_str()));
    EXPECT_TRUE(command.writes("now"));
    EXPECT_FALSE(command.future->hasCompleted());
    EXPECT_TRUE(ZKFile(path, true, false).create(0600, 0));
    EXPECT_TRUE(command.writes("now!late\n[]"));
    EXPECT_EQ(command.result().getValue(), XCODE_EXIT + 3);
}

namespace
{
struct OwnJob : CJobShell
{
    XCode execute(ZK::IFuture*) override { return XCODE_SUCCESS; }
};
}

TEST_F(ShellFuture, DerivedJobMayDoTheWorkAndBeCancelled)
{
    ZKPtr<OwnJob> const job(ZK::MovePtr<OwnJob>(new OwnJob));
    EXPECT_TRUE(m_immediate->invokeJob(job.getObj(), m_future.getFuture()));
    EXPECT_TRUE(m_future->cancel(15));
    EXPECT_EQ(m_future->waitForCompletion().getValue(), XCODE_SIGNAL + 15);
}
