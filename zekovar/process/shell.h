#pragma once

#include "zekovar/events/function.h"
#include "zekovar/foundation/hash_table.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/jobs/future_handle.h"

/// Running commands by way of the shell server (`ZK::Shell::Server`), which the process forks when it starts.
///
/// A command is a line that is split into words, where double quotes keep words together, or the program and its
/// arguments as they are. An environment replaces that of the server. Safe from all threads.
///
///     String output;
///     if (XCode code = ZK::Shell::execute("uptime -p", output); code.isErr())
///         return code; // XCODE_EXIT, XCODE_SIGNAL or what failed, with the text from standard error
///
///     ZK::Future<String> ping;
///     XCode code = ZK::Shell::invoke("ping 10.0.0.1", ZK::bindArgs(&Probe::onEnd, this, _1, _2),
///                                    ZK::bindArgs(&Probe::onLine, this, _1), ping);
namespace ZK::Shell
{
using Environment = ZKStringHashTable<String>;
using ResultCallback = Function<void(XCode, String)>;
using StreamCallback = Function<void(String)>;

/// @name Running a command to its end
/// Block until the program has ended. What it wrote is appended to `output` and `errors`; without `output` it is dropped.
/// Success for the exit status 0, `XCODE_EXIT` or `XCODE_SIGNAL` with a number for another end, with what the program
/// wrote to standard error as text. Otherwise the failure to have it executed.
///
/// Refuse on a thread that is synchronised to the loop `IO`, which would have to do the work: "CANNOT EXECUTE COMMAND '%s'
/// BLOCKING WHILE BEING SYNCHRONIZED TO THE I/O EVENT LOOP". If the server is lost meanwhile they don't return.
/// @{
XCode execute(String const& command);
XCode execute(String const& command, String& output);
XCode execute(String const& command, String& output, String& errors);
XCode execute(String const& command, Environment const& env);
XCode execute(String const& command, Environment const& env, String& output);
XCode execute(String const& command, Environment const& env, String& output, String& errors);
XCode execute(ZKVector<String> const& args);
XCode execute(ZKVector<String> const& args, String& output);
XCode execute(ZKVector<String> const& args, String& output, String& errors);
XCode execute(ZKVector<String> const& args, Environment const& env);
XCode execute(ZKVector<String> const& args, Environment const& env, String& output);
XCode execute(ZKVector<String> const& args, Environment const& env, String& output, String& errors);
/// @}

/// @name Starting a command
/// Return when the server has taken the command; on failure there is no future and no callback is called. `future` is set
/// before the first callback. Keep it: what it holds ends with it.
///
/// `output` and `errors` get what the program writes, piece by piece, and `result` how it ended, once, behind all of
/// that, together with what was written to standard output while there was no callback for it. Direct callbacks run on
/// the loop `IO`, or on this thread while that loop stands still; they mustn't wait for a command. Synchronous ones would
/// block that loop and are refused: "CANNOT USE SYNCHRONOUS RESULT CALLBACK FOR SHELL COMMANDS", or "STDOUT", or "STDERR".
/// Empty ones are left out. Refuse on a thread that is synchronised to that loop, too.
/// @{
XCode invoke(String const& command, ResultCallback const& result, Future<String>& future);
XCode invoke(String const& command, ResultCallback const& result, StreamCallback const& output, Future<String>& future);
XCode invoke(String const& command, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future);
XCode invoke(String const& command, Environment const& env, ResultCallback const& result, Future<String>& future);
XCode invoke(String const& command, Environment const& env, ResultCallback const& result, StreamCallback const& output,
             Future<String>& future);
XCode invoke(String const& command, Environment const& env, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future);
XCode invoke(ZKVector<String> const& args, ResultCallback const& result, Future<String>& future);
XCode invoke(ZKVector<String> const& args, ResultCallback const& result, StreamCallback const& output,
             Future<String>& future);
XCode invoke(ZKVector<String> const& args, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future);
XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result,
             Future<String>& future);
XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result,
             StreamCallback const& output, Future<String>& future);
XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result,
             StreamCallback const& output, StreamCallback const& errors, Future<String>& future);
/// @}
}
