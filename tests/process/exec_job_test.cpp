#include "tests/eventually.h"
#include "tests/process/tidy_test.h"
#include "tests/string_printer.h"
#include "zekovar/process/exec_job.h"
#include "zekovar/process/exec_job_supervisor.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <mutex>
#include <random>
#include <string>
#include <sys/syscall.h>
#include <thread>

namespace
{
using Texts = std::vector<std::string>;
std::atomic<int> s_strays{0}; // signals to processes that aren't ours, or were reaped

/// Keeps what a job reports, and stops it when the output ends in `stopAt`, or at the end of run number `lastRun`.
class Recorder : public _ZKExecJob::CallbackHandler
{
public:
    void statusUpdate(_ZKExecJob* job, String const& text, int length) override
    {
        EXPECT_EQ(length, text.length());
        EXPECT_LE(length, 160);
        std::lock_guard guard(m_mutex);
        m_texts.emplace_back(text.c_str(), static_cast<std::size_t>(length));
        m_output += m_texts.back();
        if (!stopAt.empty() && m_output.ends_with(stopAt))
            job->stop();
    }

    void terminated(_ZKExecJob* job, String const& text, XCode code) override
    {
        EXPECT_EQ(text, "\n");
        std::lock_guard guard(m_mutex);
        m_codes.push_back(code);
        if (m_codes.size() == lastRun)
            job->stop();
    }

    /// To be called when the job has ended.
    Texts const& texts() const { return m_texts; }

    std::string output() const
    {
        std::lock_guard guard(m_mutex);
        return m_output;
    }

    std::vector<XCode> codes() const
    {
        std::lock_guard guard(m_mutex);
        return m_codes;
    }

    std::string stopAt; // these two are set before the start
    std::size_t lastRun = 0;

private:
    mutable std::mutex m_mutex;
    Texts m_texts;
    std::string m_output;
    std::vector<XCode> m_codes;
};

/// Runs one line on its own thread, as classes do that run several.
class LineJob : public _ZKExecJob
{
public:
    LineJob(Recorder& recorder, String const& line, bool quiet, bool progress)
        : _ZKExecJob("line"), m_line(line), m_quiet(quiet), m_progress(progress)
    {
        setup(&recorder, "unused", false);
        EXPECT_TRUE(start("").isSuccess());
        join();
    }

    ~LineJob() override { cleanup(); }

    XCode runThread() override { return code = executeCmd(m_line, m_quiet, m_progress); }

    XCode code;

private:
    String m_line;
    bool m_quiet;
    bool m_progress;
};

class ExecJob : public TidyTest
{
protected:
    ExecJob() { s_strays = 0; }

    ~ExecJob() override { EXPECT_EQ(s_strays, 0); }

    void start(String const& script, bool respawn = false)
    {
        job.setup(&recorder, "/bin/sh", {"-c", script}, respawn);
        EXPECT_TRUE(job.start("").isSuccess());
    }

    void run(String const& command, std::vector<String> const& arguments, std::vector<String> const& environment = {})
    {
        job.setup(&recorder, command, arguments, environment, false);
        EXPECT_TRUE(job.start("").isSuccess());
        job.join();
    }

    Recorder recorder;
    _ZKExecJob job{"test"};
};
}

// Comes before the C library's own, for the library under test as well.
extern "C" int kill(pid_t pid, int signal)
{
    siginfo_t info;
    if (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0)
        ++s_strays;
    return static_cast<int>(::syscall(SYS_kill, pid, signal));
}

TEST_F(ExecJob, RunsAProgramOnATerminal)
{
    job.setup(&recorder, "sh -c \"test -t 0 -a -t 1 -a -t 2 && printf  a; printf $0 >&2; exit 3\" b", false);
    for (std::size_t run = 1; run <= 2; ++run)
    {
        ASSERT_TRUE(job.start("").isSuccess());
        EXPECT_EQ(job.start("").getValue(), XCODE_FAILURE) << "a job runs once at a time";
        job.join();
        EXPECT_EQ(recorder.codes().size(), run);
    }
    EXPECT_EQ(recorder.output(), "abab");
    EXPECT_EQ(recorder.codes()[0].getValue(), XCODE_FAILURE);
    EXPECT_EQ(job.getExitStatus(), 3);
    run("sh", {"-c", "head -c 3000000 /dev/zero; printf 'a\\0b'"});
    EXPECT_EQ(recorder.output(), "abab" + std::string(3000000, '\0') + std::string("a\0b", 3));
}

TEST_F(ExecJob, GivesItsEnvironmentUnlessThereIsAnother)
{
    ::setenv("ZEKOVAR_TEST", "own", 1);
    std::vector<String> const arguments{"-c", "printf \"$ZEKOVAR_TEST,$OTHER;\""};
    run("/bin/sh", arguments);
    run("/bin/sh", arguments, {"OTHER=given"});
    EXPECT_EQ(recorder.output(), "own,;,given;");
    ::unsetenv("ZEKOVAR_TEST");
    for (char const* command : {"/no/such/program", "", "sh"})
    {
        run(command, {}, {"PATH=/bin:/usr/bin"});
        EXPECT_EQ(recorder.codes().back().getValue(), XCODE_FAILURE);
        EXPECT_EQ(job.getExitStatus(), 1) << command << ": PATH doesn't count with an environment";
    }
}

TEST_F(ExecJob, TurnsASpinnerWhileNothingComes)
{
    recorder.stopAt = "\b/";
    EXPECT_EQ(LineJob(recorder, "sleep 1000", false, true).code.getValue(), XCODE_FAILURE);
    Texts texts = recorder.texts();
    EXPECT_EQ(texts.back(), "\b");
    texts.resize(4); // a slow machine may add steps before the program is gone
    EXPECT_EQ(texts, (Texts{"-", "\b\\", "\b|", "\b/"}));

    Recorder loud;
    EXPECT_TRUE(LineJob(loud, "printf text", false, true).code.isSuccess());
    EXPECT_THAT(loud.output(), testing::MatchesRegex("-(\b[^t])*\btext((\b[^t])+\b)?"));
    Recorder quiet;
    EXPECT_TRUE(LineJob(quiet, "sh -c \"echo out; echo err >&2; test -t 0\"", true, false).code.isSuccess());
    EXPECT_EQ(quiet.output(), "");
}

TEST_F(ExecJob, StartsAgainUntilItIsStopped)
{
    recorder.lastRun = 3;
    start("exit 2", true);
    job.join();
    EXPECT_EQ(recorder.codes().size(), 3u);
    recorder.stopAt = "up\r\n";
    start("trap 'exit 0' INT; echo up; while :; do sleep .1; done", true);
    job.join();
    EXPECT_EQ(recorder.codes().size(), 4u);
    EXPECT_TRUE(recorder.codes().back().isSuccess());

    _ZKExecJobSupervisor::Report report;
    ASSERT_TRUE(_ZKExecJobSupervisor::INSTANCE().getByCmdLine("/bin/sh -c exit 2", report).isSuccess());
    EXPECT_EQ(listed(report.starts, report.failedEnds, report.maxRun), "3|3|3");
    ASSERT_TRUE(_ZKExecJobSupervisor::INSTANCE().getByJob(&job, report).isSuccess());
    EXPECT_EQ(listed(report.starts, report.stoppedEnds, report.cleanEnds), "1|1|0")
        << "whatever the program makes of it";
}

TEST_F(ExecJob, TakesInputAndSignals)
{
    EXPECT_EQ(job.executeCmd("echo", false, false).toString(), "CANCELED BEFORE EXECUTION");
    EXPECT_EQ(job.sendInput("x").getValue(), XCODE_FAILURE);

    start("trap 'echo USR1' USR1; stty -echo; echo up; read x; echo got $x; while :; do sleep .1; done");
    ASSERT_TRUE(eventually([&] { return recorder.output() == "up\r\n"; }));
    EXPECT_TRUE(job.sendInput("text\n").isSuccess());
    ASSERT_TRUE(eventually([&] { return recorder.output() == "up\r\ngot text\r\n"; }));
    EXPECT_TRUE(job.signal(SIGUSR1).isSuccess());
    EXPECT_TRUE(eventually([&] { return recorder.output() == "up\r\ngot text\r\nUSR1\r\n"; }));
    EXPECT_TRUE(job.stop(SIGKILL).isSuccess());
    EXPECT_EQ(job.signal(SIGKILL).getValue(), XCODE_FAILURE);
    job.join();
}

TEST_F(ExecJob, StopsAtAnyMoment)
{
    std::minstd_rand random(17);
    for (int i = 0; i < 60; ++i)
    {
        std::thread stopper(
            [this, moment = std::chrono::microseconds(random() % 4000)]
            {
                std::this_thread::sleep_for(moment);
                job.stop(SIGTERM);
            });
        start(i % 2 == 0 ? "exit 0" : "exec sleep 1000", true);
        stopper.join();
        job.stop(SIGTERM); // the other one may have come before the start
        job.join();
    }
    EXPECT_GE(recorder.codes().size(), 60u);
}

TEST_F(ExecJob, SignalsNobodyElse)
{
    recorder.lastRun = 100;
    start("exit 0", true);
    int sent = 0;
    while (recorder.codes().size() < recorder.lastRun)
        sent += job.signal(0).isSuccess();
    job.join();
    EXPECT_GT(sent, 0);
}

TEST_F(ExecJob, EndsWithItsObject)
{
    for (char const* script :
         {"trap '' INT; echo up; while :; do sleep .1; done", "trap '' HUP; while echo up; do sleep .1; done &"})
    {
        std::size_t const before = recorder.output().size();
        start(script, true);
        ASSERT_TRUE(eventually([&] { return recorder.output().size() > before; }));
        job.cleanup();
        EXPECT_FALSE(job.isAlive());
    }
    EXPECT_EQ(recorder.codes().size(), 2u);
}

TEST_F(ExecJob, TellsWhatTheSystemLacks)
{
    char const* const expected[] = {"CREATING PIPE FAILED: TOO MANY OPEN FILES",
                                    "CREATING PTY FAILED: TOO MANY OPEN FILES", "INTERNAL ERROR"};
    start("exit 0"); // sanitizers need descriptors when they meet a class for the first time
    job.join();
    for (int few = 1; few <= 3; ++few)
    {
        FewDescriptors const descriptors(few);
        start("exit 0");
        job.join();
        EXPECT_EQ(recorder.codes().back().toString(), expected[few - 1]);
    }
}

TEST_F(ExecJob, LeavesItsFiguresUntilManyOthersHaveGone)
{
    _ZKExecJobSupervisor& supervisor = _ZKExecJobSupervisor::INSTANCE();
    job.setup(nullptr, "kept", false);
    _ZKExecJob other("other");
    for (unsigned int i = 0; i <= _ZKExecJobSupervisor::MAX_IDLE_REPORTS + 1; ++i)
        other.setup(nullptr, String::stringOfFormat("idle %u", i), false);
    _ZKExecJobSupervisor::Report report;
    EXPECT_EQ(supervisor.getByCmdLine("idle 0", report).getValue(), XCODE_FAILURE);
    EXPECT_TRUE(supervisor.getByCmdLine("idle 1", report).isSuccess());
    EXPECT_TRUE(report.jobs.empty());
    EXPECT_TRUE(supervisor.getByCmdLine("kept", report).isSuccess());
    EXPECT_EQ(report.jobs, std::vector<_ZKExecJob*>{&job});
}
