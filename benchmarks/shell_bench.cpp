#include "zekovar/process/shell_server.h"

#include "zekovar/events/standard_loops.h"

#include <benchmark/benchmark.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ZEKOVAR_BENCH_HAS_QT
#include <QProcess>
#endif

// The start and end of /bin/true, with its output piped to the caller. The server gives a terminal besides, and a popen
// a shell. "Memory" is how many MB the caller has in use: the server was forked before.

namespace
{
using namespace ZK::Shell;

class RunningServer
{
public:
    RunningServer() { m_server.start(); }

    ~RunningServer()
    {
        ::kill(m_server.getPid(), SIGKILL);
        ::waitpid(m_server.getPid(), nullptr, 0);
    }

private:
    Server m_server;
};

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

/// Memory in use, which makes forks dear.
class Ballast
{
public:
    explicit Ballast(benchmark::State const& state)
        : m_size(static_cast<std::size_t>(state.range(0)) << 20), m_bytes(new char[m_size])
    {
        std::memset(m_bytes.get(), 1, m_size);
    }

private:
    std::size_t m_size;
    std::unique_ptr<char[]> m_bytes;
};

void runByServer(benchmark::State& state)
{
    static RunningServer const s_server;
    Ballast const ballast(state);
    ZKVector<String> arguments;
    arguments.add("/bin/true");
    while (BlockingClient().connect().isErr())
        ::usleep(1000);
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
}

BENCHMARK(runByServer)->Name("Shell/server")->ArgName("Memory")->Arg(0)->Arg(256)->UseRealTime();
BENCHMARK(runByPopen)->Name("Shell/popen")->ArgName("Memory")->Arg(0)->Arg(256)->UseRealTime();
BENCHMARK(runBySpawn)->Name("Shell/posix_spawn")->ArgName("Memory")->Arg(0)->Arg(256)->UseRealTime();
#ifdef ZEKOVAR_BENCH_HAS_QT
BENCHMARK(runByQProcess)->Name("Shell/QProcess")->ArgName("Memory")->Arg(0)->Arg(256)->UseRealTime();
#endif
