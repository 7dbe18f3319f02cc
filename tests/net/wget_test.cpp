#include "zekovar/net/wget.h"

#include "tests/net/scripted_host.h"
#include "tests/process/running_server.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/process/shell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace
{
/// Answers each request by "hello".
void answer(Caller const& caller)
{
    while (!caller.line().empty()) // the empty one ends the request
        continue;
    caller.say("HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\nhello");
}

/// Runs commands with a `wget` of the test's choice. A class asks only once, so each test has a process of its own.
class Wget : public testing::Test
{
protected:
    /// Makes `script` the `wget` of the commands.
    void useScript(char const* script)
    {
        std::ofstream((m_directory / "wget").c_str()) << "#!/bin/sh\n" << script << "\n";
        std::filesystem::permissions((m_directory / "wget").c_str(), std::filesystem::perms::owner_all);
        ::setenv("PATH", String(m_directory.path()).concat(":/usr/bin:/bin").c_str(), 1);
        m_server = std::make_unique<RunningServer>();
    }

    /// Gets the page of `host` by a command of the arguments.
    String fetch(ScriptedHost const& host)
    {
        String const file = m_directory / "page";
        String const url = String::stringOfFormat("http://127.0.0.1:%u/", host.port());
        std::vector<String> args{"wget"};
        EXPECT_TRUE(WgetUtil::buildArgs(true, url, "joe", "secret", file, "", "", "", true, args));
        ZKVector<String> command;
        for (String const& arg : args)
            command.add(arg);
        XCode const code = ZK::Shell::execute(command);
        EXPECT_TRUE(code) << code.toString().c_str();
        std::string content;
        std::getline(std::ifstream(file.c_str()), content);
        return content.c_str();
    }

    static std::vector<String> build(char const* user, char const* directory)
    {
        std::vector<String> args{"first"};
        WgetUtil::buildArgs(true, "http://h/", user, "secret", "/tmp/f", directory, "c.pem", "k.pem", true, args);
        return args;
    }

private:
    TemporaryDirectory m_directory;
    std::unique_ptr<RunningServer> m_server;
};
}

TEST_F(Wget, FullProgramGetsAllArguments)
{
    useScript("echo GNU Wget");
    EXPECT_THAT(build("joe", "/ca"),
                ElementsAre("first", "-S", "--max-redirect=0", "--dns-timeout=10", "--connect-timeout=10",
                            "--read-timeout=20", "--tries=1", "--output-document=/tmp/f", "--http-user=joe",
                            "--http-password=secret", "--ca-directory=/ca", "--certificate=c.pem",
                            "--private-key=k.pem", "--quiet", "http://h/"));
    WgetUtil::s_userAgent = "agent/1";
    std::vector<String> args;
    EXPECT_TRUE(WgetUtil::buildArgs(false, "u", "", "secret", "", "", "", "", false, args));
    EXPECT_THAT(args,
                ElementsAre("--user-agent=agent/1", "--max-redirect=0", "--dns-timeout=10", "--connect-timeout=10",
                            "--read-timeout=20", "--tries=1", "--output-document=", "--no-check-certificate", "u"));
}

TEST_F(Wget, SmallProgramGetsFewArguments)
{
    useScript("echo bUsYbOx v1");
    EXPECT_THAT(build("joe", "/ca"), ElementsAre("first", "-S", "--output-document=/tmp/f", "--quiet", "http://h/"));
}

TEST_F(Wget, ProgramThatFailsCountsAsSmall)
{
    useScript("exit 1");
    EXPECT_THAT(build("", ""), ElementsAre("first", "-S", "--output-document=/tmp/f", "--quiet", "http://h/"));
}

TEST_F(Wget, FullProgramTakesTheArguments)
{
    if (!std::filesystem::exists("/usr/bin/wget"))
        GTEST_SKIP() << "there is no such program";
    useScript("exec /usr/bin/wget \"$@\"");
    ScriptedHost host(&answer);
    EXPECT_EQ(fetch(host), "hello");
    EXPECT_EQ(build("", "").size(), 13u) << "it is taken for the full one";
}

TEST_F(Wget, BusyboxTakesTheArguments)
{
    if (!std::filesystem::exists("/bin/busybox"))
        GTEST_SKIP() << "there is no such program";
    useScript("exec /bin/busybox wget \"$@\"");
    ScriptedHost host(&answer);
    WgetUtil::s_userAgent = "agent/1";
    EXPECT_EQ(fetch(host), "hello");
    EXPECT_EQ(build("", "").size(), 6u) << "it is taken for the small one";
}
