#include "zekovar/files/file.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/time.h"
#include "zekovar/process/command_line.h"
#include "zekovar/process/exec_job.h"
#include "zekovar/process/held_signals.h"
#include "zekovar/process/system_call.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/no_cancellation.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <utmp.h>

using ZK::Detail::uninterrupted;

/// What the child reads, so that it needs no memory of its own.
struct _ZKExecJob::Program
{
    std::vector<char*> arguments;
    std::vector<char*> environment;
    bool isQuiet;

    /// The body of the child; only calls that a child of a process with threads may make.
    [[noreturn]] void become(int terminal, ZK::Detail::HeldSignals const& signals) const
    {
        fcntl(terminal, F_SETFD, 0); // one that is a standard descriptor already stays where it is
        if (login_tty(terminal) != 0)
            _exit(CANNOT_EXECUTE);
        if (isQuiet)
        {
            int const null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
        }
        signals.releaseInChild();
        if (environment.front() == nullptr)
            execvp(arguments.front(), arguments.data());
        else
            execve(arguments.front(), arguments.data(), environment.data());
        _exit(CANNOT_EXECUTE);
    }

    static constexpr int CANNOT_EXECUTE = 1;
};

/// The descriptors between job and program, all close-on-exec.
struct _ZKExecJob::Channels
{
    ZKFile execRead; // ends when the program has taken the child's place, or the child has failed to become it
    ZKFile execWrite;
    ZKFile master;
    ZKFile terminal; // the program's end
};

namespace
{
constexpr int SLICE = 1000;           // milliseconds without output that turn the spinner by a step
constexpr std::size_t CHUNK = 160;    // bytes of output in one report
constexpr char FRAMES[] = "-\\|/";    // of the spinner
constexpr std::size_t PATH_SIZE = 32; // of the terminal's path

/// The code of `errno`, with its text put into `format`.
XCode failureOf(char const* format)
{
    int const error = errno;
    XCode code = ZK::Detail::codeOfErrno(error);
    code.setStringF(format, String::stringOfErrno(error).upperCase().c_str());
    return code;
}

/// What shows at the end of the output while nothing comes. Each step rubs out the character before.
class Spinner
{
public:
    explicit Spinner(bool isOn) : m_isOn(isOn), m_isShowing(isOn) {}

    /// The texts to report are empty if there is nothing to show or to hide.
    String begin() const { return m_isOn ? String(FRAMES[0]) : String(); }

    String turn()
    {
        if (!m_isOn)
            return String();
        m_frame = (m_frame + 1) % (sizeof FRAMES - 1);
        m_isShowing = true;
        return String::stringOfFormat("\b%c", FRAMES[m_frame]);
    }

    String hide() { return std::exchange(m_isShowing, false) ? "\b" : ""; }

private:
    bool m_isOn;
    bool m_isShowing;
    std::size_t m_frame = 0;
};
}

XCode _ZKExecJob::executeCmd(String const& line, bool quiet, bool progress)
{
    String command;
    std::vector<String> arguments;
    ZK::Detail::splitCommandLine(line, command, arguments);
    return executeCmd(command, arguments, quiet, progress);
}

XCode _ZKExecJob::executeCmd(String const& cmd, std::vector<String>& args, bool quiet, bool progress)
{
    std::vector<String> environment;
    return executeCmd(cmd, args, environment, quiet, progress);
}

XCode _ZKExecJob::executeCmd(String const& cmd, std::vector<String>& args, std::vector<String>& env, bool quiet,
                             bool progress)
{
    ZK::Detail::NoCancellation const noCancellation;
    Program const program{ZK::Detail::argumentArray(cmd, args), ZK::Detail::environmentArray(env), quiet};
    Channels channels;
    if (XCode code = openChannels(channels); code.isErr())
        return code;
    pid_t pid = 0;
    if (XCode code = launch(program, channels, pid); code.isErr())
        return code;
    reportOutput(channels.master.getFd(), progress);
    return awaitEnd(pid);
}

XCode _ZKExecJob::openChannels(Channels& channels)
{
    if (ZKFile::CREATE_PIPE(channels.execRead, channels.execWrite, true).isErr())
        return failureOf("CREATING PIPE FAILED: %s");
    int const master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0)
        return failureOf("CREATING PTY FAILED: %s");
    channels.master = ZKFile(master, true, false);
    if (grantpt(master) != 0)
        return failureOf("GRANTING PTY FAILED: %s");
    if (unlockpt(master) != 0)
        return failureOf("UNLOCKING PTY FAILED: %s");

    // Opened here, because nothing would end the reading of a terminal whose other end a child failed to open, for want
    // of a descriptor say. It counts as that child's failure.
    char path[PATH_SIZE];
    bool const isKnown = ptsname_r(master, path, sizeof path) == 0;
    channels.terminal = ZKFile(isKnown ? path : "", true, false);
    if (channels.terminal.open(O_RDWR | O_NOCTTY, 0, ZKFile::XO_NONE))
        return XCODE_SUCCESS;
    m_exitStatus = Program::CANNOT_EXECUTE;
    return XCODE_FAILURE;
}

XCode _ZKExecJob::launch(Program const& program, Channels& channels, pid_t& pid)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_lock);
    if (m_stopped)
    {
        XCode code = XCODE_FAILURE;
        code.setString("CANCELED BEFORE EXECUTION");
        return code;
    }
    if (m_child != 0) // another thread runs a program
        return XCODE_FAILURE;
    {
        ZK::Detail::HeldSignals const signals;
        pid = fork();
        if (pid == 0)
            program.become(channels.terminal.getFd(), signals);
    }
    if (pid < 0)
        return failureOf("FORK FAILED: %s");
    m_pid = pid;
    m_child = pid;
    m_master = channels.master.getFd();
    channels.terminal.close();
    channels.execWrite.close();
    char byte = 0;
    unsigned int count = 0;
    channels.execRead.readOnce(&byte, sizeof byte, count, true);
    channels.execRead.close();
    return XCODE_SUCCESS;
}

void _ZKExecJob::reportOutput(int master, bool progress)
{
    std::shared_ptr<CallbackHandler> const handler = getHandler();
    auto const report = [this, &handler](String const& text)
    {
        if (handler != nullptr && !text.isEmpty())
            handler->statusUpdate(this, text, text.length());
    };
    Spinner spinner(progress);
    report(spinner.begin());
    while (!m_abandoned)
    {
        if (!isDataToRead(master))
        {
            report(spinner.turn());
            continue;
        }
        char chunk[CHUNK];
        ssize_t const count = uninterrupted([&] { return ::read(master, chunk, sizeof chunk); });
        if (count < 0 && errno == EAGAIN)
            continue;
        if (count <= 0) // EIO: nobody has the terminal open any more
            break;
        report(spinner.hide());
        report(String(chunk, static_cast<int>(count), 0, static_cast<int>(count)));
    }
    report(spinner.hide());
}

bool _ZKExecJob::isDataToRead(int fd) const
{
    using ZK::Time;
    Time deadline = Time::NOW(Time::Source::MONOTONIC);
    deadline.addMilliseconds(SLICE);
    pollfd file{fd, POLLIN, 0}; // select takes no descriptor above 1023
    long long left = SLICE;
    int result = -1;
    while ((result = poll(&file, 1, static_cast<int>(left))) < 0 && errno == EINTR)
        left = std::max(deadline.millisecondsSince(Time::NOW(Time::Source::MONOTONIC)), 0LL);
    return result != 0;
}

/// Leaves the program a zombie until nobody can send it a signal any more: only then its id may go to another process.
XCode _ZKExecJob::awaitEnd(pid_t pid)
{
    siginfo_t info;
    uninterrupted([&] { return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT); });
    int status = 0;
    pid_t ended = 0;
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_lock);
        m_pid = 0;
        m_child = 0;
        m_master = -1;
        ended = uninterrupted([&] { return waitpid(pid, &status, 0); });
    }
    if (ended != pid || !WIFEXITED(status))
        return XCODE_FAILURE;
    m_exitStatus = WEXITSTATUS(status);
    return testExpression(WEXITSTATUS(status) == 0);
}
