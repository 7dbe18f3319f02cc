#include "zekovar/process/shell.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/events/loop_standstill.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/process/job_shell.h"
#include "zekovar/process/text_growth.h"

#include <cstdio>

namespace ZK::Shell
{
namespace
{
/// What is to be run, in either form. It refers to the caller's objects.
class Command
{
public:
    Command(String const& line, Environment const& env) : m_line(line), m_args(nullptr), m_env(env) {}

    Command(ZKVector<String> const& args, Environment const& env) : m_line(String::s_empty), m_args(&args), m_env(env)
    {
    }

    String const& getLine() const { return m_line; }

    /// Has the command sent.
    XCode start(Future<String>& future) const
    {
        ZKPtr<IExecutor> const executor(MovePtr<IExecutor>(new CExecutorImmediate()));
        ZKPtr<CJobShell> const job(MovePtr<CJobShell>(new CJobShell(m_line, m_env)));
        if (m_args != nullptr)
            job->setCmdLineArgs(*m_args);
        return executor->invokeJob(job.getObj(), future.getFuture());
    }

private:
    String const& m_line;
    ZKVector<String> const* m_args;
    Environment const& m_env;
};

XCode failure(String const& text)
{
    XCode code(XCODE_FAILURE);
    code.setString(text);
    return code;
}

XCode refuseToBlock(String const& line)
{
    String const text = String::stringOfFormat(
        "CANNOT EXECUTE COMMAND '%s' BLOCKING WHILE BEING SYNCHRONIZED TO THE I/O EVENT LOOP", line.c_str());
    std::fprintf(stderr, "***** %s\n", text.c_str());
    RTD::error(MON_SYSTEM, "%s", text.c_str());
    return failure(text);
}

/// Drops the pieces if there is no text.
StreamCallback appendTo(String* text)
{
    return bindArgs(directCall(),
                    [text](String const& piece)
                    {
                        if (text != nullptr)
                            ZK::Detail::appendGrowing(*text, piece);
                    });
}

/// Either text may be null.
XCode executeCommand(Command const& command, String* output, String* errors)
{
    if (isCurrentThreadSynchronizedTo(IO::INSTANCE()))
        return refuseToBlock(command.getLine());
    Future<String> future;
    XCode code = command.start(future);
    if (code.isErr())
        return code;
    String ownErrors;
    if (errors == nullptr)
        errors = &ownErrors;
    int const errorsBefore = errors->length();
    future.setStreamObserver(StreamType::STANDARD_ERROR, appendTo(errors));
    future.setStreamObserver(StreamType::STANDARD_OUTPUT, appendTo(output));
    code = future->waitForCompletion();
    // A process that the program has left behind may go on writing.
    future.setStreamObserver(StreamType::STANDARD_ERROR, appendTo(nullptr));
    future.setStreamObserver(StreamType::STANDARD_OUTPUT, appendTo(nullptr));
    if (code.isErr() && errors->length() > errorsBefore)
        code.setString(errors->substring(errorsBefore));
    return code;
}

XCode refuseSynchronous(FunctionContext const& context, char const* name)
{
    if (context.type != FunctionContext::Type::SYNC)
        return XCODE_SUCCESS;
    return failure(String::stringOfFormat("CANNOT USE SYNCHRONOUS %s CALLBACK FOR SHELL COMMANDS", name));
}

XCode invokeCommand(Command const& command, ResultCallback const& result, StreamCallback const& output,
                    StreamCallback const& errors, Future<String>& future)
{
    XCode code = refuseSynchronous(result.getContext(), "RESULT");
    if (code)
        code = refuseSynchronous(output.getContext(), "STDOUT");
    if (code)
        code = refuseSynchronous(errors.getContext(), "STDERR");
    Future<String> run;
    if (code)
        code = command.start(run);
    // One stop for all, so that the first callback may already use the future, and the result comes last.
    Detail::LoopStandstill const standstill(IO::INSTANCE());
    future = run;
    if (code.isErr())
        return code;
    if (output)
        run.setStreamObserver(StreamType::STANDARD_OUTPUT, output);
    if (errors)
        run.setStreamObserver(StreamType::STANDARD_ERROR, errors);
    if (result)
        run.setResultObserver(result);
    return code;
}
}

XCode execute(String const& command)
{
    return executeCommand(Command(command, Environment()), nullptr, nullptr);
}

XCode execute(String const& command, String& output)
{
    return executeCommand(Command(command, Environment()), &output, nullptr);
}

XCode execute(String const& command, String& output, String& errors)
{
    return executeCommand(Command(command, Environment()), &output, &errors);
}

XCode execute(String const& command, Environment const& env)
{
    return executeCommand(Command(command, env), nullptr, nullptr);
}

XCode execute(String const& command, Environment const& env, String& output)
{
    return executeCommand(Command(command, env), &output, nullptr);
}

XCode execute(String const& command, Environment const& env, String& output, String& errors)
{
    return executeCommand(Command(command, env), &output, &errors);
}

XCode execute(ZKVector<String> const& args)
{
    return executeCommand(Command(args, Environment()), nullptr, nullptr);
}

XCode execute(ZKVector<String> const& args, String& output)
{
    return executeCommand(Command(args, Environment()), &output, nullptr);
}

XCode execute(ZKVector<String> const& args, String& output, String& errors)
{
    return executeCommand(Command(args, Environment()), &output, &errors);
}

XCode execute(ZKVector<String> const& args, Environment const& env)
{
    return executeCommand(Command(args, env), nullptr, nullptr);
}

XCode execute(ZKVector<String> const& args, Environment const& env, String& output)
{
    return executeCommand(Command(args, env), &output, nullptr);
}

XCode execute(ZKVector<String> const& args, Environment const& env, String& output, String& errors)
{
    return executeCommand(Command(args, env), &output, &errors);
}

XCode invoke(String const& command, ResultCallback const& result, Future<String>& future)
{
    return invokeCommand(Command(command, Environment()), result, nullptr, nullptr, future);
}

XCode invoke(String const& command, ResultCallback const& result, StreamCallback const& output, Future<String>& future)
{
    return invokeCommand(Command(command, Environment()), result, output, nullptr, future);
}

XCode invoke(String const& command, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future)
{
    return invokeCommand(Command(command, Environment()), result, output, errors, future);
}

XCode invoke(String const& command, Environment const& env, ResultCallback const& result, Future<String>& future)
{
    return invokeCommand(Command(command, env), result, nullptr, nullptr, future);
}

XCode invoke(String const& command, Environment const& env, ResultCallback const& result, StreamCallback const& output,
             Future<String>& future)
{
    return invokeCommand(Command(command, env), result, output, nullptr, future);
}

XCode invoke(String const& command, Environment const& env, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future)
{
    return invokeCommand(Command(command, env), result, output, errors, future);
}

XCode invoke(ZKVector<String> const& args, ResultCallback const& result, Future<String>& future)
{
    return invokeCommand(Command(args, Environment()), result, nullptr, nullptr, future);
}

XCode invoke(ZKVector<String> const& args, ResultCallback const& result, StreamCallback const& output,
             Future<String>& future)
{
    return invokeCommand(Command(args, Environment()), result, output, nullptr, future);
}

XCode invoke(ZKVector<String> const& args, ResultCallback const& result, StreamCallback const& output,
             StreamCallback const& errors, Future<String>& future)
{
    return invokeCommand(Command(args, Environment()), result, output, errors, future);
}

XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result, Future<String>& future)
{
    return invokeCommand(Command(args, env), result, nullptr, nullptr, future);
}

XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result,
             StreamCallback const& output, Future<String>& future)
{
    return invokeCommand(Command(args, env), result, output, nullptr, future);
}

XCode invoke(ZKVector<String> const& args, Environment const& env, ResultCallback const& result,
             StreamCallback const& output, StreamCallback const& errors, Future<String>& future)
{
    return invokeCommand(Command(args, env), result, output, errors, future);
}
}
