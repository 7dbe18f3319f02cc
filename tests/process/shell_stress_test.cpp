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
        static constexpr void (Worker::*KINDS[])() = {&Worker::exits,       &Worker::writesMuch, &Worker::missing,
                                                      &Worker::cancelled,   &Worker::signalled,  &Worker::dropped,
                                                      &Worker::leavesChild, &Worker::justEnds,   &Worker::reads};
        (this->*KINDS[below(std::size(KINDS))])();
    }

private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(m_random()) % limit; }

    void pause() { std::this_thread::sleep_for(std::chrono::microseconds(below(5000))); }

    void exits()
    {
        unsigned int const status = below(255);
        String output;
        XCode const code =
            ZK::Shell::execute(script(String::stringOfFormat("printf out; echo err >&2; exit %u", status)), output);
        EXPECT_EQ(code.getValue(), status == 0 ? 0 : XCODE_EXIT + status);
        EXPECT_EQ(code.toString(), status == 0 ? "" : "err\n");
        EXPECT_EQ(output, "out");
    }

    void writesMuch()
    {
        int const bytes = static_cast<int>(below(300000));
        String output, errors;
        EXPECT_TRUE(ZK::Shell::execute(
            script(String::stringOfFormat("head -c %d /dev/zero; head -c %d /dev/zero >&2", bytes, 300000 - bytes)),
            output, errors));
        EXPECT_EQ(output.length(), bytes);
        EXPECT_EQ(errors.length(), 300000 - bytes);
    }

    void missing() { EXPECT_EQ(ZK::Shell::execute("/no/such/program").getValue(), XCODE_ERRNO + ENOENT); }

    void cancelled()
    {
        int const signal = below(2) == 0 ? SIGTERM : SIGKILL;
        ObservedCommand command("exec sleep 1000");
        EXPECT_TRUE(command.future->cancel(signal));
        EXPECT_EQ(command.result().getValue(), XCODE_SIGNAL + static_cast<unsigned int>(signal));
        EXPECT_EQ(command.future->getState(), State::cancelled);
    }

    void signalled()
    {
        ObservedCommand command("trap 'exit 9' USR1; echo ready; while :; do read x; done");
        EXPECT_TRUE(command.writes("ready\n"));
        EXPECT_TRUE(command.future->signal(SIGUSR1));
        EXPECT_EQ(command.result().getValue(), XCODE_EXIT + 9);
        EXPECT_EQ(command.future->getState(), State::done);
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

    void reads()
    {
        std::string const text(below(3000), 'x');
        ObservedCommand command("read x; printf %s \"$x\"");
        EXPECT_TRUE(command.future.sendData((text + "\n").c_str()));
        EXPECT_TRUE(command.result());
        EXPECT_TRUE(command.writes(text + "[]"));
    }

    std::minstd_rand m_random;
};

/// The descriptors of a process that are sockets, terminals or pipes.
std::size_t channelsOf(int pid)
{
    std::size_t count = 0;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"))
    {
        std::error_code gone;
        std::string const target = std::filesystem::read_symlink(entry.path(), gone);
        count += target.starts_with("socket:") || target.starts_with("pipe:") || target == "/dev/ptmx";
    }
    return count;
}

std::size_t threads()
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}
}

TEST(ShellStress, CommandsOfManyThreadsEndAsTheyShouldAndLeaveNothing)
{
    RunningServer const server;
    IO::INSTANCE();
    std::size_t const serversChannels = channelsOf(server.pid());
    std::size_t const ownChannels = channelsOf(::getpid());
    std::size_t const ownThreads = threads();

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

    // connections are reaped when the next one comes, and programs that were left running are ours
    EXPECT_TRUE(eventually([&] { return ZK::Shell::execute("/bin/true") && childrenOf(server.pid()).size() <= 2; }));
    EXPECT_TRUE(eventually(
        [&]
        {
            for (ProcessInfo const& child : childrenOf(::getpid()))
            {
                if (child.pid != server.pid() && ::kill(child.pid, SIGKILL) == 0)
                    ::waitpid(child.pid, nullptr, 0);
            }
            return childrenOf(::getpid()).size() == 1;
        }));
    EXPECT_TRUE(eventually([&] { return channelsOf(::getpid()) == ownChannels; }));
    EXPECT_LE(channelsOf(server.pid()), serversChannels);
    EXPECT_EQ(threads(), ownThreads);
}
