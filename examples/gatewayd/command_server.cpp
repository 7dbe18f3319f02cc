#include "command_server.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

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
    for (unsigned int waited = 0; waited < MILLISECONDS_TO_ANSWER; waited += STEP)
    {
        if (answers())
        {
            return XCODE_SUCCESS;
        }
        usleep(STEP * 1000);
    }
    end();
    return XCode(XCODE_ERRNO + static_cast<unsigned int>(ETIMEDOUT));
}

/// In the server process.
XCode CommandServer::runChild()
{
    // the daemon's signals are blocked, and its standard streams may be pipes whose other side waits for their end
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    int const nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(nothing, STDIN_FILENO);
    dup2(nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != m_daemon)
    {
        // it has gone meanwhile
        _exit(0);
    }
    return Server::runChild();
}

void CommandServer::end()
{
    if (getPid() > 0 && kill(getPid(), SIGTERM) == 0)
    {
        while (waitpid(getPid(), nullptr, 0) < 0 && errno == EINTR)
        {
        }
    }
}
