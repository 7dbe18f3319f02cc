#include "zekovar/process/system_command.h"

#include "zekovar/files/file.h"
#include "zekovar/process/command_line.h"
#include "zekovar/process/held_signals.h"
#include "zekovar/process/system_call.h"
#include "zekovar/threads/no_cancellation.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
/// Puts the failure, with the system's text for it, in place of the output and gives it as a code with that text.
XCode failureOf(char const* format, String& output)
{
    output.format(format, String::stringOfErrno(errno).c_str());
    XCode code = XCODE_FAILURE;
    code.setString(output);
    return code;
}

/// `dup2`, also of a descriptor onto itself: that one must outlive `exec` too.
bool redirect(int from, int to)
{
    return (from == to ? fcntl(to, F_SETFD, 0) : dup2(from, to)) >= 0;
}

/// The child after `vfork`: it shares the parent's memory and doesn't return.
[[noreturn]] void runChild(char** arguments, int writeEnd, ZK::Detail::HeldSignals const& signals)
{
    // the read end and what is left of the write end close on exec
    if (redirect(writeEnd, STDOUT_FILENO) && redirect(writeEnd, STDERR_FILENO))
    {
        signals.releaseInChild();
        execvp(arguments[0], arguments);
    }
    _exit(1);
}

pid_t startChild(char** arguments, int writeEnd)
{
    ZK::Detail::HeldSignals const signals;
    pid_t const pid = vfork();
    if (pid == 0)
        runChild(arguments, writeEnd, signals); // NOLINT(clang-analyzer-unix.Vfork): it writes to its own frames only
    return pid;
}

/// The status of a child that has exited, 0 to 255; -1 if it ended otherwise or nothing can be told.
int awaitExit(pid_t pid)
{
    int status = 0;
    pid_t const ended = ZK::Detail::uninterrupted([&] { return waitpid(pid, &status, 0); });
    return ended == pid && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void appendWithoutZeros(ZKFile const& file, String& output)
{
    char block[1024];
    unsigned int count = 0;
    while (file.readOnce(block, sizeof block, count, true).isSuccess() && count > 0)
    {
        for (char const* byte = block; byte != block + count; ++byte)
            output += *byte; // a zero adds nothing
    }
}

void appendLines(std::FILE* stream, String& out)
{
    bool isEnd = false;
    while (!isEnd)
    {
        char block[1024] = {}; // a signal ends fgets behind part of a line, which has no zero byte behind it
        errno = 0;
        isEnd = std::fgets(block, sizeof block, stream) == nullptr && errno != EINTR;
        if (!isEnd)
            out += block;
        std::clearerr(stream);
    }
}
}

XCode _ZKSystem::executeCmd(String const& command, std::vector<String> const& arguments, int& exitCode, String& output,
                            bool alwaysCapture)
{
    ZK::Detail::NoCancellation const noCancellation; // the child is reaped in any case
    exitCode = -1;
    std::vector<char*> array = ZK::Detail::argumentArray(command, arguments);
    ZKFile readEnd;
    ZKFile writeEnd;
    if (ZKFile::CREATE_PIPE(readEnd, writeEnd, true).isErr())
    {
        failureOf("CREATING PIPE FAILED: %s", output);
        return XCODE_FAILURE;
    }
    int flags = 0;
    if (readEnd.getFlags(flags).isErr())
        return failureOf("GET PIPE MODE FAILED: %s", output);
    if (readEnd.setFlags(flags | O_NONBLOCK).isErr())
        return failureOf("SET NON-BLOCKING FAILED: %s", output);

    pid_t const pid = startChild(array.data(), writeEnd.getFd());
    if (pid < 0)
        return failureOf("FORK FAILED: %s", output);
    writeEnd.close();
    int const status = awaitExit(pid);
    if (alwaysCapture || status != 0)
        appendWithoutZeros(readEnd, output);
    exitCode = status;
    return testExpression(status == 0);
}

XCode _ZKSystem::executeCmd(String const& commandLine, int& exitCode, String& output, bool alwaysCapture)
{
    String command;
    std::vector<String> arguments;
    ZK::Detail::splitCommandLine(commandLine, command, arguments);
    return executeCmd(command, arguments, exitCode, output, alwaysCapture);
}

XCode executeSystem(String const& cmd)
{
    int status = 0;
    return executeSystem(cmd, status);
}

XCode executeSystem(String const& cmd, int& status)
{
    String out;
    return executeSystem(cmd, status, out);
}

XCode executeSystem(String const& cmd, int& status, String& out)
{
    ZK::Detail::NoCancellation const noCancellation;
    std::FILE* const stream = popen(cmd.c_str(), "re");
    if (stream == nullptr)
    {
        status = errno;
        return XCODE_FAILURE;
    }
    appendLines(stream, out);
    errno = 0; // a command that fails leaves it alone
    bool const isSuccess = pclose(stream) == 0;
    status = isSuccess ? 0 : errno;
    return testExpression(isSuccess);
}
