#include "tests/events/loop_fixture.h"
#include "tests/process/observed_command.h"
#include "tests/process/running_server.h"
#include "tests/string_printer.h"
#include "zekovar/events/standard_loops.h"

#include <algorithm>
#include <random>
#include <thread>

using State = ZK::IFuture::State;

namespace
{
constexpr int COMMANDS = 1000 / SLOWER;
constexpr unsigned int THREADS = 16;

/// Runs commands of all kinds, one after the other.
class Worker
{
public:
    explicit Worker(unsigned int seed) : m_random(seed) {}

    void runOne()
    {
        static constexpr void (Worker::*KINDS[])() = {&Worker::exits, &Worker::cancelled, &Worker::dropped,
                                                      &Worker::leavesChild, &Worker::justEnds};
        (this->*KINDS[below(std::size(KINDS))])();
    }

private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_random()) % limit; }

    void pause() { std::this_thread::sleep_for(std::chrono::microseconds(below(5000))); }

    void exits()
    {
        int const bytes = static_cast<int>(below(300000));
        String output, errors;
        XCode const code =
            ZK::Shell::execute(script(String::stringOfFormat("head -c %d /dev/zero; head -c %d /dev/zero >&2; exit 3",
                                                             bytes, 300000 - bytes)),
                               output, errors);
        EXPECT_EQ(code.getValue(), XCODE_EXIT + 3);
        EXPECT_EQ(output.length(), bytes);
        EXPECT_EQ(errors.length(), 300000 - bytes);
    }

    void cancelled()
    {
        ObservedCommand command("exec sleep 1000");
        EXPECT_TRUE(command.future->cancel(SIGTERM));
        EXPECT_EQ(command.result().getValue(), XCODE_SIGNAL + SIGTERM);
        EXPECT_EQ(command.future->getState(), State::cancelled);
    }

    void dropped()
    {
        ZK::Future<String> future;
        EXPECT_TRUE(ZK::Shell::invoke("head -c 10000 /dev/zero", nullptr, future));
        pause();
    }

    void leavesChild()
    {
        String output;
        EXPECT_TRUE(ZK::Shell::execute(script("(trap '' HUP; exec sleep 1000) 2>&- & printf early"), output));
        EXPECT_EQ(output, "early");
    }

    /// The end meets a cancel.
    void justEnds()
    {
        ObservedCommand command("printf 12345");
        pause();
        bool const isCancelled = command.future->cancel(SIGKILL).isSuccess();
        unsigned int const status = command.result().getValue();
        EXPECT_EQ(command.future->getState(), isCancelled ? State::cancelled : State::done);
        EXPECT_TRUE(status == XCODE_SUCCESS || (isCancelled && status == XCODE_SIGNAL + SIGKILL)) << status;
        EXPECT_TRUE(status != XCODE_SUCCESS || command.writes("12345[]"));
    }

    std::minstd_rand m_random;
};
}

TEST(ShellStress, CommandsOfManyThreadsEndAsTheyShouldAndLeaveNothing)
{
    RunningServer const server;
    IO::INSTANCE();
    std::size_t const serversDescriptors = openDescriptors(server.pid());
    std::size_t const ownDescriptors = openDescriptors(::getpid());
    auto const threads = ownThreads();

    std::atomic<int> left = COMMANDS;
    std::vector<std::thread> workers;
    for (unsigned int seed = 1; seed <= THREADS; ++seed)
    {
        workers.emplace_back(
            [&left, seed]
            {
                for (Worker worker(seed); left-- > 0;)
                    worker.runOne();
            });
    }
    for (std::thread& worker : workers)
        worker.join();

    // connections are reaped when the next one comes
    EXPECT_TRUE(eventually([&] { return ZK::Shell::execute("/bin/true") && childrenOf(server.pid()).size() <= 2; }));
    EXPECT_TRUE(eventually([&] { return openDescriptors(::getpid()) == ownDescriptors; }));
    EXPECT_LE(openDescriptors(server.pid()), serversDescriptors);
    EXPECT_EQ(ownThreads(), threads);
}
