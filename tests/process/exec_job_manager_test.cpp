#include "tests/events/loop_fixture.h"
#include "tests/process/tidy_test.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/process/exec_job_manager.h"

#include <csignal>
#include <memory>

namespace
{
/// Keeps what arrives on the loop, and calls `onReport` for each report.
class Recorder : public _ZKExecJobEvent::CallbackHandler
{
public:
    void statusUpdate(_ZKExecJobEvent* event, String const& text) override
    {
        output += text;
        onReport(event->getName());
    }

    void terminated(_ZKExecJobEvent* event, String const&, XCode code) override
    {
        lastCode = code;
        ends++;
        onReport(event->getName());
    }

    std::function<void(String const& name)> onReport = [](String const&) {};
    String output; // these two are read when the loop stands still
    XCode lastCode = XCODE_EXIT;
    std::atomic<unsigned int> ends{0};
};

class ExecJobManager : public TidyTest
{
protected:
    ~ExecJobManager() override { loop.stop(); }

    String execute(char const* script, String const& outputFile = "")
    {
        String name;
        EXPECT_TRUE(manager->executeJob("sh", {"-c", script}, name, outputFile).isSuccess());
        return name;
    }

    /// The job of that name; null if there is none.
    _ZKExecJob* find(String const& name)
    {
        _ZKExecJob* job = nullptr;
        manager->getJobPtr(name, &job);
        return job;
    }

    template <class Condition>
    bool eventuallyStopped(Condition condition)
    {
        return eventually(
            [&]
            {
                ZKAutoLock<ZKEventLoop> const stop(loop);
                return condition();
            });
    }

    /// Starts a job on a loop that doesn't run, and waits until no report finds a place.
    String executeUntilFull(char const* script = "while :; do echo text; done")
    {
        String const name = execute(script);
        ZKEventQueue& queue = loop.getQueue(EventPrio::NORMAL);
        EXPECT_TRUE(eventually([&] { return queue.getFillLevel() == _ZKExecJobEvent::PLACES; }));
        return name;
    }

    TestLoop loop;
    Recorder recorder;
    std::unique_ptr<_ZKExecJobManager> manager =
        std::make_unique<_ZKExecJobManager>(loop, EventPrio::NORMAL, &recorder);
};
}

TEST_F(ExecJobManager, ReportsOnTheLoopAndForgetsWhatHasEnded)
{
    TemporaryDirectory const directory;
    Recorder other;
    String otherName;
    String const name = execute("printf 'a\\0b'; exit 3", directory / "output");
    EXPECT_TRUE(
        manager->executeJobWithUserProvidedHandler("/bin/sh", {"-c", "printf $X"}, {"X=given"}, otherName, "", &other)
            .isSuccess());
    EXPECT_TRUE(manager->isJobExecuting(name));
    loop.start();
    ASSERT_TRUE(eventuallyStopped([&] { return find(name) == nullptr && find(otherName) == nullptr; }));
    EXPECT_EQ(recorder.lastCode.getValue(), XCODE_FAILURE);
    EXPECT_EQ(recorder.output, "  a") << "what a zero byte hides is padded";
    TString<char> written;
    ASSERT_TRUE(ZKFile::READ_TSTRING(directory / "output", written, O_RDONLY, true).isSuccess());
    EXPECT_EQ(String(written.data(), written.length(), 0, written.length()), "  a\n");
    EXPECT_EQ(other.output, "given");
}

TEST_F(ExecJobManager, RefusesWhatItCannotRunOrDoesNotKnow)
{
    String name = "unchanged";
    EXPECT_EQ(manager->executeJob("true", {}, name, "/no/such/directory/file").getRawValue(), XCODE_ERRNO + ENOENT);
    EXPECT_EQ(manager->executeJob(nullptr, name, "").getValue(), XCODE_FAILURE);
    String running = execute("exec sleep 1000");
    EXPECT_EQ(manager->executeJob(find(running), name, "").getValue(), XCODE_FAILURE);
    manager->onJobTerminated(running); // a job at the same address has ended before
    EXPECT_TRUE(manager->isJobExecuting(running));
    EXPECT_EQ(manager->sendInputToJob(name, "text").getValue(), XCODE_FAILURE);
    EXPECT_EQ(manager->destroyJobEvent(name).getValue(), XCODE_FAILURE);
    EXPECT_EQ(name, "unchanged");
}

TEST_F(ExecJobManager, LosesNothingToASlowLoop)
{
    execute("head -c 500000 /dev/zero | tr '\\0' x");
    loop.start();
    ASSERT_TRUE(eventually([&] { return recorder.ends == 1; }));
    loop.stop();
    EXPECT_TRUE(recorder.lastCode.isSuccess());
    EXPECT_EQ(recorder.output, String::repeat("x", 500000));

    // the loop's thread may wait for a job that it has stopped, and hears of its end
    _ZKExecJob* const job = find(executeUntilFull());
    job->stop(SIGKILL);
    job->join();
    ASSERT_TRUE(loop.handleAll());
    EXPECT_EQ(recorder.ends, 2u);
}

TEST_F(ExecJobManager, GivesJobsBack)
{
    auto passed = std::make_unique<_ZKExecJob>("passed");
    passed->setup(nullptr, "sleep 1000", false);
    String name;
    _ZKExecJob* job = nullptr;
    ASSERT_TRUE(manager->executeJob(passed.get(), name, "").isSuccess());
    ASSERT_TRUE(manager->getTheJobBack(name, &job).isSuccess());
    EXPECT_EQ(manager->cancelAndDestroyJob(name).getValue(), XCODE_FAILURE);
    EXPECT_TRUE(manager->isJobExecuting(name));
    passed.reset();
    loop.start();
    ASSERT_TRUE(eventuallyStopped([&] { return !manager->isJobExecuting(name); }));
    EXPECT_EQ(recorder.ends, 1u) << "the end is still reported";
    loop.stop();

    recorder.onReport = [&](String const& ended) // at the end
    {
        EXPECT_FALSE(manager->isJobExecuting(ended));
        EXPECT_TRUE(manager->getTheJobBack(ended, &job).isSuccess());
        passed.reset(job);
    };
    job = new _ZKExecJob("respawning");
    job->setup(nullptr, "sh -c \"exit 5\"", true);
    ASSERT_TRUE(manager->executeJob(job, name, "").isSuccess());
    loop.start();
    ASSERT_TRUE(eventuallyStopped([&] { return recorder.ends == 2; }));
    passed->join(); // a manager runs it once
    EXPECT_EQ(passed->getExitStatus(), 5);
    EXPECT_TRUE(passed->start("").isSuccess()) << "it is a job like any other, whose reports nobody takes";
}

TEST_F(ExecJobManager, CancelsInEveryState)
{
    EXPECT_TRUE(manager->cancelAndDestroyJob(execute("sleep 1000")).isSuccess()) << "just started";
    EXPECT_TRUE(manager->cancelAndDestroyJob(executeUntilFull()).isSuccess());
    ASSERT_TRUE(loop.handleAll());
    loop.stop();

    _ZKExecJob* job = nullptr;
    String const back = executeUntilFull("head -c 100000 /dev/zero");
    ASSERT_TRUE(manager->getTheJobBack(back, &job).isSuccess());
    EXPECT_TRUE(manager->destroyJobEvent(back).isSuccess());
    job->join();
    delete job;

    String const ended = execute("true");
    find(ended)->join();
    EXPECT_TRUE(manager->cancelAndDestroyJob(ended).isSuccess()) << "and the loop doesn't know yet";
    ASSERT_TRUE(loop.handleAll());
    EXPECT_EQ(recorder.ends, 0u) << "no handler hears of what was cancelled";
}

TEST_F(ExecJobManager, LetsHandlersCancelAndDestroy)
{
    std::atomic<int> cancelled{0};
    recorder.onReport = [&](String const& name) { cancelled += manager->cancelAndDestroyJob(name).isSuccess(); };
    execute("echo text; exec sleep 1000");
    execute("true");
    loop.start();
    ASSERT_TRUE(eventually([&] { return cancelled == 2; }));
    loop.stop();
    recorder.onReport = [&](String const&) { manager.reset(); };
    execute("echo text; exec sleep 1000");
    execute("exec sleep 1000");
    loop.start();
    EXPECT_TRUE(eventuallyStopped([&] { return manager == nullptr; }));
}
