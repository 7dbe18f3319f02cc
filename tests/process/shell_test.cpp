#include "zekovar/process/shell.h"

#include "tests/process/running_server.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <string>

using testing::HasSubstr;
using ZK::Shell::Environment;

namespace
{
ZKVector<String> script(String const& text)
{
    ZKVector<String> args;
    args.add("/bin/sh");
    args.add("-c");
    args.add(text);
    return args;
}

/// Collects what callbacks get.
class Record
{
public:
    ZK::Shell::ResultCallback onResult()
    {
        return ZK::bindArgs(ZK::directCall(),
                            [this](XCode code, String text)
                            {
                                std::lock_guard const guard(m_mutex);
                                m_result = code;
                                m_events += "[" + std::string(text.c_str()) + "]";
                                ++m_results;
                            });
    }

    ZK::Shell::StreamCallback onText(char const* prefix)
    {
        return ZK::bindArgs(ZK::directCall(),
                            [this, prefix](String text)
                            {
                                std::lock_guard const guard(m_mutex);
                                m_events += prefix + std::string(text.c_str());
                            });
    }

    std::string events() const
    {
        std::lock_guard const guard(m_mutex);
        return m_events;
    }

    XCode result() const
    {
        std::lock_guard const guard(m_mutex);
        return m_result;
    }

    int results() const
    {
        std::lock_guard const guard(m_mutex);
        return m_results;
    }

private:
    mutable std::mutex m_mutex;
    std::string m_events;
    XCode m_result;
    int m_results = 0;
};

class ShellExecute : public testing::Test
{
protected:
    RunningServer m_server;
};

class ShellInvoke : public ShellExecute
{
};
}

TEST_F(ShellExecute, GivesOutputErrorsAndResult)
{
    String output = "before ", errors;
    EXPECT_TRUE(ZK::Shell::execute("echo one \"two  three\" four", output));
    EXPECT_EQ(output, "before one two  three four\n");

    EXPECT_TRUE(ZK::Shell::execute("/bin/true"));
    XCode code = ZK::Shell::execute(script("printf out; printf oops >&2; exit 3"));
    EXPECT_EQ(code.getValue(), XCODE_EXIT + 3);
    EXPECT_EQ(code.toString(), "oops");

    output = "";
    errors = "old ";
    code = ZK::Shell::execute(script("printf out; printf oops >&2; exit 3"), output, errors);
    EXPECT_EQ(code.getValue(), XCODE_EXIT + 3);
    EXPECT_EQ(code.toString(), "oops");
    EXPECT_EQ(output, "out");
    EXPECT_EQ(errors, "old oops");
}

TEST_F(ShellExecute, ReportsHowProgramsEnd)
{
    EXPECT_EQ(ZK::Shell::execute(script("exit 254")).getValue(), XCODE_EXIT + 254);
    XCode code = ZK::Shell::execute(script("exit 255"));
    EXPECT_EQ(code, XCode(XCODE_FAILURE));
    EXPECT_EQ(code.toString(), "CANNOT EXECUTE PROGRAM");
    EXPECT_EQ(ZK::Shell::execute(script("kill -9 $$")).getValue(), XCODE_SIGNAL + 9);
    code = ZK::Shell::execute("/no/such/program");
    EXPECT_EQ(code.getValue(), XCODE_ERRNO + ENOENT);
    EXPECT_THAT(code.toString().c_str(), HasSubstr("CANNOT EXECUTE PROGRAM"));
    EXPECT_EQ(ZK::Shell::execute("").toString(), "NO PROGRAM SPECIFIED");
}

TEST_F(ShellExecute, EnvironmentReplacesTheServers)
{
    Environment env;
    env.set("NAME", "value");
    String output;
    EXPECT_TRUE(ZK::Shell::execute("/usr/bin/env", env, output));
    EXPECT_EQ(output, "NAME=value\n");
    output = "";
    EXPECT_TRUE(ZK::Shell::execute(script("echo ${PATH:+set}"), output));
    EXPECT_EQ(output, "set\n");
}

TEST_F(ShellExecute, RefusesWhereTheLoopWouldHaveToWaitForItself)
{
    ZKAutoLock<ZKEventLoop> const stop(IO::INSTANCE());
    testing::internal::CaptureStderr();
    XCode const code = ZK::Shell::execute("/bin/true");
    EXPECT_EQ(code.getValue(), XCODE_FAILURE);
    EXPECT_EQ(code.toString(),
              "CANNOT EXECUTE COMMAND '/bin/true' BLOCKING WHILE BEING SYNCHRONIZED TO THE I/O EVENT LOOP");
    EXPECT_EQ("***** " + std::string(code.toString().c_str()) + "\n", testing::internal::GetCapturedStderr());
    ZK::Future<String> future;
    EXPECT_EQ(ZK::Shell::invoke("/bin/true", nullptr, future).toString(),
              "CANNOT EXECUTE SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
    EXPECT_FALSE(future);
}

TEST_F(ShellInvoke, ResultComesBehindAllOutput)
{
    Record record;
    ZK::Future<String> future;
    ASSERT_TRUE(ZK::Shell::invoke(script("printf one; printf two >&2; exit 7"), record.onResult(), record.onText("o:"),
                                  record.onText("e:"), future));
    EXPECT_EQ(future->waitForCompletion().getValue(), XCODE_EXIT + 7);
    EXPECT_TRUE(eventually([&] { return record.results() == 1; }));
    EXPECT_EQ(record.result().getValue(), XCODE_EXIT + 7);
}
