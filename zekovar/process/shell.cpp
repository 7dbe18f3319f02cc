#include "zekovar/process/shell.h"

#include "zekovar/diagnostics/log.h"
#include "zekovar/events/loop_standstill.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/events/synchronized.h"
#include "zekovar/jobs/executor_immediate.h"
#include "zekovar/process/future_shell.h"
#include "zekovar/process/job_shell.h"
#include "zekovar/process/text_growth.h"

#include <cstdio>

namespace ZK::Shell
{
namespace
{
/// A command whose callbacks are there before it is started.
class ObservedJob final : public CJobShell
{
public:
    /// What is referred to is the caller's.
    ObservedJob(StreamCallback const& output, StreamCallback const& errors, Future<String>* handle)
        : m_output(output), m_errors(errors), m_handle(handle)
    {
    }

    /// The first run gets the callbacks, and the caller's handle gets it.
    ZKPtr<IFuture> createFuture() override
    {
        ZKPtr<CFutureShell> const future(MovePtr<CFutureShell>(new CFutureShell(this)));
        future->setStreamObserver(StreamType::STANDARD_OUTPUT, std::exchange(m_output, nullptr));
        future->setStreamObserver(StreamType::STANDARD_ERROR, std::exchange(m_errors, nullptr));
        if (Future<String>* const handle = std::exchange(m_handle, nullptr))
            *handle = Future<String>(future);
        return future;
    }

private:
    StreamCallback m_output;
    StreamCallback m_errors;
    Future<String>* m_handle;
};

/// What is to be run, in either form. It refers to the caller's objects.
class Command
{
public:
    Command(String const& line, Environment const& env) : m_line(line), m_args(nullptr), m_env(env) {}

    Command(ZKVector<String> const& args, Environment const& env) : m_line(String::s_empty), m_args(&args), m_env(env)
    {
    }

    String const& getLine() const { return m_line; }

    /// Has the command sent. A callback may change `handle`, which may be null, while this goes on.
    XCode start(StreamCallback const& output, StreamCallback const& errors, Future<String>* handle,
                Future<String>& run) const
    {
        ZKPtr<IExecutor> const executor(MovePtr<IExecutor>(new CExecutorImmediate()));
        ZKPtr<CJobShell> const job(MovePtr<CJobShell>(new ObservedJob(output, errors, handle)));
        job->setEnvironment(m_env);
        if (m_args != nullptr)
            job->setCmdLineArgs(*m_args);
        else
            job->setCmdLine(m_line);
        XCode code = executor->invokeJob(job.getObj(), run.getFuture());
        if (code.isErr() && handle != nullptr)
            *handle = run;
        return code;
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
    String ownErrors;
    if (errors == nullptr)
        errors = &ownErrors;
    int const errorsBefore = errors->length();
    Future<String> future;
    XCode code = command.start(appendTo(output), appendTo(errors), nullptr, future);
    if (code.isErr())
        return code;
    code = future->waitForCompletion();
    // A process that the program has left behind may go on writing.
    future.setStreamObserver(StreamType::STANDARD_OUTPUT, appendTo(nullptr));
    future.setStreamObserver(StreamType::STANDARD_ERROR, appendTo(nullptr));
    if (code.isErr() && errors->length() > errorsBefore)
        code.setString(errors->substring(errorsBefore));
    return code;
}

XCode refuseSynchronous(FunctionContext const& context, char const* text)
{
    return context.type == FunctionContext::Type::SYNC ? failure(text) : XCode(XCODE_SUCCESS);
}

/// Has `callback` called on the loop or while it stands still, also by a thread that finds the command ended.
ResultCallback besidesNoOther(ResultCallback const& callback)
{
    return bindArgs(directCall(),
                    [callback](XCode code, String text)
                    {
                        Detail::LoopStandstill const standstill(IO::INSTANCE());
                        callback(std::move(code), std::move(text));
                    });
}

XCode invokeCommand(Command const& command, ResultCallback const& result, StreamCallback const& output,
                    StreamCallback const& errors, Future<String>& future)
{
    XCode code = refuseSynchronous(result.getContext(), "CANNOT USE SYNCHRONOUS RESULT CALLBACK FOR SHELL COMMANDS");
    if (code)
        code = refuseSynchronous(output.getContext(), "CANNOT USE SYNCHRONOUS STDOUT CALLBACK FOR SHELL COMMANDS");
    if (code)
        code = refuseSynchronous(errors.getContext(), "CANNOT USE SYNCHRONOUS STDERR CALLBACK FOR SHELL COMMANDS");
    Future<String> run;
    if (code)
        code = command.start(output, errors, &future, run);
    if (code && result)
        run.setResultObserver(besidesNoOther(result));
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
