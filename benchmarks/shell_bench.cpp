#include "zekovar/process/shell_server.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/process/shell.h"

#include <benchmark/benchmark.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <pty.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QProcess>
#endif

// Commands through the shell server beside other ways of running a program. "MB" is how much memory the caller has in
// use, which makes a fork dear. The server gives a terminal besides, and a popen a shell.
//
// This is a program of its own: the server is forked while it is small and has no threads.

namespace
{
using namespace ZK::Shell;

constexpr int OUTPUT_BYTES = 100'000'000;

/// A client without threads that waits for one command.
class BlockingClient : public Socket
{
public:
    BlockingClient() : Socket(IO::PLACE(), -1) {}

    XCode connect()
    {
        file().setFd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, SERVER_PATH);
        return testExpression(::connect(file().getFd(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0);
    }

    XCode execute(ZKVector<String> const& arguments)
    {
        MsgBuffer message;
        XCode code = buildExecute(message, arguments, ZKStringHashTable<String>());
        if (code)
            code = send(message.header(), 0, nullptr);
        unsigned int fdCount = 0;
        int fds[MAX_DESCRIPTORS];
        for (int answer = 0; answer < 2 && code; ++answer)
        {
            code = recv(message.header(), sizeof message.bytes, fdCount, fds);
            CLOSE_ALL(fdCount, fds);
        }
        XCode result;
        if (code)
            code = readXCode(*message.header(), result);
        return code ? result : code;
    }
};

/// Memory in use, as much as the argument says.
class Ballast
{
public:
    explicit Ballast(benchmark::State const& state) : m_bytes(static_cast<std::size_t>(state.range(0)) << 20, 1) {}

private:
    std::vector<char> m_bytes;
};

void runByExecute(benchmark::State& state)
{
    Ballast const ballast(state);
    for (auto _ : state)
    {
        if (execute("/bin/true").isErr())
            state.SkipWithError("execute");
    }
}

void runByServer(benchmark::State& state)
{
    Ballast const ballast(state);
    ZKVector<String> arguments;
    arguments.add("/bin/true");
    for (auto _ : state)
    {
        BlockingClient client;
        XCode code = client.connect();
        if (code)
            code = client.execute(arguments);
        if (code.isErr())
            state.SkipWithError(code.toString().c_str());
    }
}

void runByPopen(benchmark::State& state)
{
    Ballast const ballast(state);
    for (auto _ : state)
    {
        std::FILE* const output = ::popen("/bin/true", "r");
        if (output == nullptr || ::pclose(output) != 0)
            state.SkipWithError("popen");
    }
}

/// Without a shell and without any pipe: what the kernel takes.
void runBySpawn(benchmark::State& state)
{
    Ballast const ballast(state);
    char path[] = "/bin/true";
    char* arguments[] = {path, nullptr};
    for (auto _ : state)
    {
        pid_t pid = 0;
        int status = -1;
        if (::posix_spawn(&pid, path, nullptr, nullptr, arguments, environ) != 0 || ::waitpid(pid, &status, 0) != pid)
            state.SkipWithError("posix_spawn");
    }
}

void runByFork(benchmark::State& state)
{
    Ballast const ballast(state);
    for (auto _ : state)
    {
        int const pid = ::fork();
        if (pid == 0)
        {
            ::execl("/bin/true", "true", nullptr);
            ::_exit(1);
        }
        int status = -1;
        if (::waitpid(pid, &status, 0) != pid || status != 0)
            state.SkipWithError("fork");
    }
}

#ifdef ZEKOVAR_BENCH_HAS_QT
void runByQProcess(benchmark::State& state)
{
    Ballast const ballast(state);
    for (auto _ : state)
    {
        QProcess process;
        process.start("/bin/true", QStringList());
        if (!process.waitForFinished())
            state.SkipWithError("QProcess");
    }
}
#endif

/// Several commands at once; an item is one of them.
void runManyByInvoke(benchmark::State& state)
{
    for (auto _ : state)
    {
        std::vector<ZK::Future<String>> futures(static_cast<std::size_t>(state.range(0)));
        for (auto& future : futures)
        {
            if (invoke("/bin/true", nullptr, future).isErr())
                return state.SkipWithError("invoke");
        }
        for (auto& future : futures)
        {
            if (future->waitForCompletion().isErr())
                state.SkipWithError("result");
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void readByExecute(benchmark::State& state)
{
    String const command = String::stringOfFormat("head -c %d /dev/zero", OUTPUT_BYTES);
    for (auto _ : state)
    {
        String output;
        if (execute(command, output).isErr() || output.length() != OUTPUT_BYTES)
            state.SkipWithError("execute");
    }
    state.SetBytesProcessed(state.iterations() * OUTPUT_BYTES);
}

int startOnTerminal(int& master)
{
    int const pid = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0)
    {
        termios terminal;
        ::tcgetattr(STDIN_FILENO, &terminal);
        terminal.c_oflag &= ~static_cast<tcflag_t>(ONLCR);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &terminal);
        ::execlp("head", "head", "-c", std::to_string(OUTPUT_BYTES).c_str(), "/dev/zero", nullptr);
        ::_exit(1);
    }
    return pid;
}

/// Nothing but reading from such a terminal: what the kernel takes.
void readByTerminal(benchmark::State& state)
{
    std::vector<char> block(64 * 1024);
    for (auto _ : state)
    {
        int master = -1;
        int const pid = startOnTerminal(master);
        long total = 0;
        for (ssize_t count = 0; (count = ::read(master, block.data(), block.size())) > 0;)
            total += count;
        ::close(master);
        ::waitpid(pid, nullptr, 0);
        if (total != OUTPUT_BYTES)
            state.SkipWithError("terminal");
    }
    state.SetBytesProcessed(state.iterations() * OUTPUT_BYTES);
}
}

BENCHMARK(runByExecute)->Name("Shell/execute")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
BENCHMARK(runByServer)->Name("Shell/bareServer")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
BENCHMARK(runByPopen)->Name("Shell/popen")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
BENCHMARK(runBySpawn)->Name("Shell/posix_spawn")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
BENCHMARK(runByFork)->Name("Shell/fork")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
#ifdef ZEKOVAR_BENCH_HAS_QT
BENCHMARK(runByQProcess)->Name("Shell/QProcess")->ArgName("MB")->Arg(10)->Arg(1024)->UseRealTime();
#endif
BENCHMARK(runManyByInvoke)->Name("Shell/invoke")->ArgName("AtOnce")->Arg(1)->Arg(50)->UseRealTime();
BENCHMARK(readByExecute)->Name("ShellOutput/execute")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(readByTerminal)->Name("ShellOutput/bareTerminal")->UseRealTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    Server server;
    if (server.start().isErr())
        return 1;
    while (BlockingClient().connect().isErr())
        ::usleep(1000);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    ::kill(server.getPid(), SIGKILL);
    ::waitpid(server.getPid(), nullptr, 0);
    return 0;
}
