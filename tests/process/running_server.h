#pragma once

#include "tests/eventually.h"
#include "zekovar/process/shell_server.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// A process as the kernel shows it; one that isn't there has the state '?'.
struct ProcessInfo
{
    explicit ProcessInfo(int number) : pid(number)
    {
        std::string stat;
        std::getline(std::ifstream("/proc/" + std::to_string(pid) + "/stat"), stat);
        stat.erase(0, stat.rfind(')')); // the name may hold anything
        std::sscanf(stat.c_str(), ") %c %d", &state, &parent);
    }

    bool isRunning() const { return state != '?' && state != 'Z'; }

    int pid;
    int parent = 0;
    char state = '?'; // 'Z' if it has ended and wasn't reaped
};

inline std::vector<ProcessInfo> childrenOf(int parent)
{
    std::vector<ProcessInfo> children;
    for (auto const& entry : std::filesystem::directory_iterator("/proc"))
    {
        if (ProcessInfo const info(std::atoi(entry.path().filename().c_str())); info.parent == parent)
            children.push_back(info);
    }
    return children;
}

inline std::size_t openDescriptors(int pid)
{
    ZKVector<String> names;
    EXPECT_TRUE(ZKFile::LIST_DIRECTORY(String::stringOfFormat("/proc/%d/fd", pid), names, false));
    return names.size();
}

inline auto ownThreads()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// A shell server for as long as the object lives. All processes that came of it, and all other children of this one, are
/// ended and reaped then; so make it before there are threads and let it go last.
class RunningServer
{
public:
    RunningServer()
    {
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        EXPECT_TRUE(m_server.start());
        EXPECT_TRUE(m_server.waitUntilListening());
    }

    ~RunningServer()
    {
        // the children of one that ends become ours
        EXPECT_TRUE(eventually(
            []
            {
                for (ProcessInfo const& child : childrenOf(::getpid()))
                    ::kill(child.pid, SIGKILL);
                while (::waitpid(-1, nullptr, WNOHANG) > 0)
                    continue;
                return childrenOf(::getpid()).empty();
            }));
        ::prctl(PR_SET_CHILD_SUBREAPER, 0);
        ::unlink(ZK::Shell::SERVER_PATH);
    }

    int pid() const { return m_server.getPid(); }

private:
    /// Ends with the process that started it, and tells when it can be connected to.
    class TestServer : public ZK::Shell::Server
    {
    public:
        TestServer() { EXPECT_TRUE(ZKFile::CREATE_PIPE(m_waiting, m_ready, true)); }

        XCode listen(String const& path) override
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            XCode const code = Server::listen(path);
            if (code)
                m_ready.write("!", true);
            m_ready.close();
            m_waiting.close();
            return code;
        }

        XCode waitUntilListening()
        {
            m_ready.close();
            char ready = 0;
            return m_waiting.readFixedSize(&ready, 1, true);
        }

    private:
        ZKFile m_waiting, m_ready;
    };

    TestServer m_server;
};
