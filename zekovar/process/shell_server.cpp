#include "zekovar/process/shell_server.h"

#include "zekovar/events/standard_loops.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/connection_process.h"

#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using ZK::Detail::codeOfResult;
using ZK::Detail::withContext;
using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
constexpr int BACKLOG = 5;

/// The caller's handlers would act for a process that isn't theirs, and what it ignores or blocks its programs would, too.
void resetSignals()
{
    for (int signalNumber = 1; signalNumber < NSIG; ++signalNumber)
        std::signal(signalNumber, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// The caller's standard streams are let go: whoever waits for their end waits for the caller alone. None of the three
/// numbers may be free, though, because programs get their terminal there. All other descriptors are kept from programs.
void settleDescriptors()
{
    int const null = ::open("/dev/null", O_RDWR);
    for (int fd = STDIN_FILENO; null >= 0 && fd <= STDERR_FILENO; ++fd)
        ::dup2(null, fd);
    if (null > STDERR_FILENO)
        ::close(null);
    ZKVector<String> names;
    ZKFile::LIST_DIRECTORY("/proc/self/fd", names, false);
    for (String const& name : names)
    {
        if (int const number = name.toInteger(); number > STDERR_FILENO)
            ::fcntl(number, F_SETFD, FD_CLOEXEC);
    }
}
}

// Nothing is ever connected to the file, so it needs no thread of the loop: not here, where there may be none yet, and not
// in the server process, which has none of the caller's threads.
Server::Server() : Socket(IO::PLACE(), -1)
{
}

XCode Server::start()
{
    m_pid = ::fork();
    if (m_pid == 0)
    {
        resetSignals();
        settleDescriptors();
        m_exitStatus = runChild();
        ::_exit(255);
    }
    return withContext(codeOfResult(m_pid), "FORK FAILED");
}

XCode Server::runChild()
{
    XCode code = listen(SERVER_PATH);
    if (code.isErr())
        return withContext(code, "COULD NOT LISTEN TO COMMAND EXECUTION CONNECTIONS");
    while (code)
        code = accept();
    close();
    return withContext(code, "COULD NOT ACCEPT COMMAND EXECUTION CONNECTION");
}

XCode Server::listen(String const& path)
{
    ::unlink(path.c_str());
    int const fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    XCode code = codeOfResult(fd);
    if (code.isErr())
        return withText(code, "COULD NOT CREATE SERVER SOCKET");
    code = file().setFd(fd);
    if (code)
        code = bindAndListen(path);
    if (code.isErr())
        close();
    return code;
}

XCode Server::bindAndListen(String const& path)
{
    int const fd = file().getFd();
    sockaddr_un address;
    socklen_t length = MAKE_ADDRESS(address, path);
    auto* const general = reinterpret_cast<sockaddr*>(&address);

    // The socket's own mode becomes that of the path, so there is no moment in which others could connect.
    XCode code = codeOfResult(::fchmod(fd, S_IRUSR | S_IWUSR));
    if (code)
        code = codeOfResult(::bind(fd, general, length));
    if (code.isErr())
    {
        code.setStringF("COULD NOT BIND SERVER SOCKET TO PATH %s", path.c_str());
        return code;
    }
    length = sizeof m_address;
    code = codeOfResult(::getsockname(fd, reinterpret_cast<sockaddr*>(&m_address), &length));
    if (code.isErr())
        return withText(code, "COULD NOT GET SERVER ADDRESS");
    return withText(codeOfResult(::listen(fd, BACKLOG)), "COULD NOT LISTEN ON SERVER SOCKET");
}

XCode Server::accept()
{
    sockaddr_un client = {};
    int fd = -1;
    do
    {
        socklen_t length = sizeof client;
        fd = ::accept4(file().getFd(), reinterpret_cast<sockaddr*>(&client), &length, SOCK_CLOEXEC);
    } while (fd < 0 && (errno == EINTR || errno == ECONNABORTED));
    XCode code = codeOfResult(fd);
    if (code.isErr())
        return withText(code, "COULD NOT ACCEPT CLIENT CONNECTION");

    int const pid = ::fork();
    code = codeOfResult(pid);
    if (pid == 0)
        serve(fd, client);
    ::close(fd);
    if (code.isErr())
        return withText(code, "COULD NOT FORK");
    m_children.add(pid);
    reapChildren();
    return code;
}

void Server::serve(int fd, sockaddr_un& client)
{
    file().close();
    {
        ConnectionProcess connection(fd, client);
        connection.process();
    }
    ::_exit(0);
}

void Server::reapChildren()
{
    for (unsigned int i = 0; i < m_children.size();)
    {
        if (::waitpid(m_children[i], nullptr, WNOHANG) == 0)
            ++i;
        else
            m_children.remove(m_children[i]);
    }
}

XCode Server::close()
{
    m_address = {};
    return Socket::close();
}
}
