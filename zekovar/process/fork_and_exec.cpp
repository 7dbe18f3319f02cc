#include "zekovar/process/fork_and_exec.h"

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/process/system_call.h"

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

using ZK::Detail::closeFd;
using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;
using ZK::Detail::withContext;
using ZK::Detail::withText;

namespace ZK::Shell
{
namespace
{
constexpr int START_FAILED = 255; // exit status of a child that didn't become the program
constexpr unsigned int XC_SIZE = 1024;

constexpr char const* CANNOT_EXECUTE = "CANNOT EXECUTE PROGRAM";

/// Both ends are close-on-exec.
XCode openPipe(int& readEnd, int& writeEnd, char const* context)
{
    int ends[2] = {-1, -1};
    XCode const code = codeOfResult(::pipe2(ends, O_CLOEXEC));
    readEnd = ends[0];
    writeEnd = ends[1];
    return withContext(code, context);
}

/// The texts' own memory with a null at the end; without memory it is shorter.
ZKVector<char*> pointersTo(ZKVector<String> const& texts)
{
    ZKVector<char*> pointers;
    pointers.enlarge(texts.size());
    for (String const& text : texts)
        pointers.add(const_cast<char*>(text.c_str()));
    pointers.add(nullptr);
    return pointers;
}

XCode makeTerminalTransparent(int terminal)
{
    termios attributes;
    XCode const code = codeOfResult(::tcgetattr(terminal, &attributes));
    if (code.isErr())
        return withContext(code, "CANNOT GET TERMINAL ATTRIBUTES");
    attributes.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
    attributes.c_oflag &= ~static_cast<tcflag_t>(ONLCR);
    return withContext(codeOfResult(::tcsetattr(terminal, TCSANOW, &attributes)), "CANNOT SET TERMINAL ATTRIBUTES");
}
}

XCode ForkAndExec::forkAndExec(ZKVector<String> const& args, ZKVector<String> const& env)
{
    if (args.isEmpty())
        return withText(XCODE_FAILURE, "NO PROGRAM SPECIFIED");
    ZKVector<char*> argv = pointersTo(args);
    ZKVector<char*> envp = pointersTo(env);
    if (argv.size() <= args.size() || envp.size() <= env.size())
        return codeOfErrno(ENOMEM);
    XCode code = openPipes();
    if (code)
        code = forkChild(argv.begin(), envp.begin());
    closeFd(m_stderrWrite);
    closeFd(m_xcWrite);
    if (code.isErr())
        closeAll();
    return code;
}

XCode ForkAndExec::openPipes()
{
    XCode code = openPipe(m_stderrRead, m_stderrWrite, "CANNOT OPEN PIPE FOR STDERR");
    if (code)
        code = openPipe(m_xcRead, m_xcWrite, "CANNOT OPEN PIPE FOR PASSING ERROR CODE");
    return code;
}

/// What `forkpty` does, but the terminal never echoes, not even to a client that writes before the child has run; and the
/// child borrows this process's memory until it is the program, which is waited for, instead of copying it.
XCode ForkAndExec::forkChild(char** argv, char** envp)
{
    constexpr char const* context = "FORK FAILED";
    int slave = -1;
    XCode const code = codeOfResult(::openpty(&m_master, &slave, nullptr, nullptr, nullptr));
    if (code.isErr())
        return withContext(code, context);
    ::fcntl(m_master, F_SETFD, FD_CLOEXEC);
    makeTerminalTransparent(slave); // the child meets the same failure, and tells of it
    m_pid = ::vfork();
    if (m_pid == 0)
    {
        if (::login_tty(slave) == 0)
            writeToXcPipe(runChild(argv, envp));
        ::_exit(START_FAILED);
    }
    ::close(slave);
    return withContext(codeOfResult(m_pid), context);
}

XCode ForkAndExec::runChild(char** argv, char** envp)
{
    XCode const code = makeTerminalTransparent(STDIN_FILENO);
    if (code.isErr())
        return code;
    ::dup2(m_stderrWrite, STDERR_FILENO);
    ::close(m_stderrRead); // the members are the parent's
    ::close(m_xcRead);
    ::fcntl(m_xcWrite, F_SETFD, 0); // stays open in the program
    std::signal(SIGPIPE, SIG_DFL);  // what is ignored stays so in the program
    int const result = envp[0] != nullptr ? ::execvpe(argv[0], argv, envp) : ::execvp(argv[0], argv);
    if (result >= 0)
        return withText(XCODE_FAILURE, "EXECUTED PROGRAM HAS NO EXIT POINT");
    return withContext(codeOfResult(result), CANNOT_EXECUTE);
}

XCode ForkAndExec::kill(int signal)
{
    return m_pid > 0 ? codeOfResult(::kill(m_pid, signal)) : XCode();
}

XCode ForkAndExec::waitForTermination()
{
    int status = 0;
    int result = -1;
    errno = ECHILD;
    while (m_pid > 0)
    {
        result = ::waitpid(m_pid, &status, 0);
        if (result < 0 ? errno != EINTR : WIFEXITED(status) || WIFSIGNALED(status))
            break;
    }
    if (result < 0)
        return withText(codeOfResult(result), "CANNOT WAIT FOR PROGRAM TERMINATION");

    XCode code;
    if (WIFSIGNALED(status))
        code = XCode(XCODE_SIGNAL + static_cast<unsigned int>(WTERMSIG(status)));
    else if (WEXITSTATUS(status) == START_FAILED)
        code = readFromXcPipe();
    else if (WEXITSTATUS(status) != 0)
        code = XCode(XCODE_EXIT + static_cast<unsigned int>(WEXITSTATUS(status)));
    closeAll();
    return code;
}

void ForkAndExec::writeToXcPipe(XCode const& code)
{
    String const text = String::stringOfFormat("%u|%s", code.getRawValue(), ZK::Detail::attachedText(code).c_str());
    // Nobody is left to hear of a failure.
    [[maybe_unused]] ssize_t const count =
        ::write(m_xcWrite, text.c_str(), static_cast<std::size_t>(text.length()) + 1);
    ::fsync(m_xcWrite);
}

XCode ForkAndExec::readFromXcPipe()
{
    XCode const code = codeOfResult(::fcntl(m_xcRead, F_SETFL, O_NONBLOCK));
    if (code.isErr())
        return code;
    char told[XC_SIZE] = {};
    std::size_t length = 0;
    while (length < XC_SIZE - 1)
    {
        ssize_t const count = ::read(m_xcRead, told + length, XC_SIZE - 1 - length);
        if (count > 0)
            length += static_cast<std::size_t>(count);
        else if (count == 0 || errno == EAGAIN)
            break;
        else if (errno != EINTR)
            return withText(XCODE_FAILURE, CANNOT_EXECUTE);
    }

    unsigned int value = 0;
    char text[XC_SIZE] = {};
    if (std::sscanf(told, "%u|%1023c", &value, text) < 2)
        return withText(XCODE_FAILURE, CANNOT_EXECUTE);
    XCode result(value);
    result.setString(text);
    return result;
}

XCode ForkAndExec::checkProgramAccessibility(String const& path)
{
    struct stat info;
    return withContext(codeOfResult(::stat(path.c_str(), &info)),
                       String::stringOfFormat("CANNOT ACCESS PROGRAM: %s", path.c_str()).c_str());
}

void ForkAndExec::closeAll()
{
    closeFd(m_master);
    closeFd(m_stderrWrite);
    closeFd(m_stderrRead);
    closeFd(m_xcWrite);
    closeFd(m_xcRead);
    m_pid = 0;
}
}
