#include "command_server.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace
{
constexpr unsigned int MILLISECONDS_TO_ANSWER = 5000;
constexpr unsigned int STEP = 10; // milliseconds

/// Whether a shell server takes clients.
bool answers()
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, ZK::Shell::SERVER_PATH, sizeof(address.sun_path) - 1);
    int const fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool const isThere = fd >= 0 && connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return isThere;
}
}

CommandServer::~CommandServer()
{
    end();
}

XCode CommandServer::start()
{
    if (answers())
    {
        return XCODE_SUCCESS;
    }
    m_daemon = getpid();
    if (XCode code = Server::start(); code.isErr())
    {
        return code;
    }
    m_isRunning = true;
    for (unsigned int waited = 0; waited < MILLISECONDS_TO_ANSWER; waited += STEP)
    {
        if (answers())
        {
            return XCODE_SUCCESS;
        }
        if (hasEnded())
        {
            XCode code(XCODE_FAILURE);
            code.setString(String(String::Formatted(), "the shell server can't listen at %s", ZK::Shell::SERVER_PATH));
            return code;
        }
        usleep(STEP * 1000);
    }
    end();
    return XCode(XCODE_ERRNO + static_cast<unsigned int>(ETIMEDOUT));
}

/// In the server process.
XCode CommandServer::runChild()
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != m_daemon)
    {
        // it has gone meanwhile
        _exit(0);
    }
    return Server::runChild();
}

bool CommandServer::hasEnded()
{
    if (waitpid(getPid(), nullptr, WNOHANG) == getPid())
    {
        m_isRunning = false;
    }
    return !m_isRunning;
}

void CommandServer::end()
{
    // the number of a process that was reaped may be another's
    if (!std::exchange(m_isRunning, false))
    {
        return;
    }
    kill(getPid(), SIGTERM);
    while (waitpid(getPid(), nullptr, 0) < 0 && errno == EINTR)
    {
    }
}
