#pragma once

#include "zekovar/foundation/string.h"
#include "zekovar/foundation/xcode.h"

#include <vector>

/// Runs one short command and hands back its output: no other process in between, no event loop, no cancel.
///
/// Safe from all threads. The caller blocks until the command has ended, without limit, also while its own thread is
/// cancelled. The process must not ignore SIGCHLD, or the command's end can't be told.
///
/// The output, standard output and error together, is read when the command has ended and must fit the kernel's pipe
/// (64 KiB as a rule): a command that writes more blocks for ever, and its caller with it. `_ZKExecJob` has no such
/// limit.
///
///     int exitCode = -1;
///     String output;
///     if (XCode code = _ZKSystem::executeCmd("uname -r", exitCode, output, true); code.isErr())
///         report(exitCode, output);
class _ZKSystem
{
public:
    /// Appends what the command wrote, without zero bytes, to `output`: always with `alwaysCapture`, else unless the
    /// command exits with 0. `exitCode` is the command's exit status, 0 to 255, or -1 if it didn't start or didn't exit
    /// by itself. Success is an exit with 0; `XCODE_FAILURE` is all else. A command that isn't found through PATH, or
    /// can't be executed, exits with 1.
    ///
    /// A failure of this process replaces `output` by its text: "CREATING PIPE FAILED: ...", "GET PIPE MODE
    /// FAILED: ...", "SET NON-BLOCKING FAILED: ..." or "FORK FAILED: ..."; all but the first are the code's text, too.
    static XCode executeCmd(String const& command, std::vector<String> const& arguments, int& exitCode, String& output,
                            bool alwaysCapture);

    /// As above for a line that is split at blanks and tabs; double quotes keep text together. No shell looks at it.
    static XCode executeCmd(String const& commandLine, int& exitCode, String& output, bool alwaysCapture);
};

/// @name Commands for the shell
/// Run `cmd` by "/bin/sh -c" and block until it has ended. Success is an exit with 0, all else is `XCODE_FAILURE`.
/// `status` is 0 on success, else the `errno` of what failed in this process: 0 again if the command itself failed.
/// What the command writes to standard output is appended to `out`, or dropped by the forms without it; behind a zero
/// byte the rest of a line is lost.
/// @{
XCode executeSystem(String const& cmd);
XCode executeSystem(String const& cmd, int& status);
XCode executeSystem(String const& cmd, int& status, String& out);
/// @}
