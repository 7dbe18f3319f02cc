#pragma once

#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"

class String;

namespace ZK::Shell
{
/// Starts a program as a child on a new pseudo-terminal, with a pipe for its standard error, and waits for its end.
///
/// The terminal doesn't echo and changes no newlines of the program, so what is read from its master is what the program
/// wrote. For a process without threads: the child runs code of this process before it becomes the program. Once a
/// program was waited for, the object can start another one.
///
///     ForkAndExec program;
///     XCode code = program.forkAndExec(arguments, environment);
///     if (code)
///         code = program.waitForTermination();
class ForkAndExec
{
public:
    /// Starts the program `args[0]`, looked for in this process's PATH, with the environment `env` ("NAME=value"), or
    /// with this process's own if `env` is empty. The general failure without arguments, the code of `errno` if there is
    /// no child, both with a text. That the child didn't become the program is told by `waitForTermination`.
    XCode forkAndExec(ZKVector<String> const& args, ZKVector<String> const& env);

    /// The child's part: makes the terminal transparent and becomes the program. Returns only if that fails.
    XCode runChild(char** argv, char** envp);

    /// Signals the program; a success without effect while there is none.
    XCode kill(int signal);

    /// Blocks until the program has ended, and closes all descriptors. Success for the exit status 0, `XCODE_EXIT` with
    /// a status from 1 to 254, `XCODE_SIGNAL` with the signal that ended it. After 255 it is what the child told of why
    /// it couldn't become the program, or the general failure if it told nothing. Without a program, the code of ECHILD.
    XCode waitForTermination();

    /// Tells the parent why the child can't become the program.
    void writeToXcPipe(XCode const& code);

    /// What the child told, and the general failure if it told nothing. Doesn't block.
    XCode readFromXcPipe();

    /// Whether there is such a file.
    XCode checkProgramAccessibility(String const& path);

    /// Closes all descriptors and forgets the program, which runs on. The destructor does neither.
    void closeAll();

    /// The terminal's master, the program's standard input and output; -1 while closed. It stays this object's.
    int getMaster() const { return m_master; }

    /// The read end of the program's standard error; -1 while closed. It stays this object's.
    int getStderrRead() const { return m_stderrRead; }

private:
    XCode openPipes();
    XCode forkChild(char** argv, char** envp);

    int m_master = -1;
    int m_stderrWrite = -1;
    int m_stderrRead = -1;
    int m_xcWrite = -1; // the child tells its failure here
    int m_xcRead = -1;
    int m_pid = 0;
};
}
