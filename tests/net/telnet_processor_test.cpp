#include "zekovar/net/telnet_processor.h"

#include "tests/captured_syslog.h"
#include "tests/net/telnet_login.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <thread>
#include <vector>

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(TelnetLogin, ObserversAreToldInTheClientsOrderAndMaySendAndLeave)
{
    std::string order;
    auto const join = [&](char name)
    {
        return [&order, name](std::string const& kind, ZKPtr<TelnetClient> const&)
        {
            if (kind == "connected")
                order += name;
        };
    };
    Watcher first(join('1')), last(join('4')), second(join('3'));
    Watcher worker(
        [&, toldWorker = join('2')](std::string const& kind, ZKPtr<TelnetClient> const& client)
        {
            toldWorker(kind, client);
            XCode code;
            if (kind == "connected")
                code = client->sendAsync("one\n");
            else if (kind == "done")
                code = client->sendAsync("exit\n");
            else if (kind == "disconnected")
                code = client->removeObserver(worker.delegate());
            EXPECT_TRUE(code) << code.toString().c_str();
        });
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    ASSERT_TRUE(client->addObserver(last.delegate(), 2));
    ASSERT_TRUE(client->addObserver(second.delegate(), 1));
    ASSERT_TRUE(client->addObserver(worker.delegate(), 1)); // the last one comes first among equals
    ASSERT_TRUE(client->addObserver(first.delegate(), 0));
    ASSERT_TRUE(client->connectAsync());
    EXPECT_TRUE(last.waitFor("disconnected", std::to_string(RESET)));
    EXPECT_EQ(order, "1234");
    EXPECT_EQ(last.get("done"), "ran one");

    ASSERT_TRUE(client->connectSync());
    EXPECT_TRUE(client->disconnectSync());
    EXPECT_TRUE(last.waitFor("disconnected", std::to_string(ABORTED)));
    EXPECT_EQ(order, "1234134");
}

TEST_F(TelnetLogin, LoopCanOnlyHangUp)
{
    std::atomic<bool> hasLeft = false;
    ScriptedHost host(
        [&](Caller const& caller)
        {
            serve(caller);
            hasLeft = true;
        });
    ZKPtr<TelnetClient> const client = newClient(host.port());
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->connectSync());
    {
        ZKAutoLock<ZKEventLoop> const stop(IO::INSTANCE());
        String out;
        EXPECT_EQ(client->connectSync().toString(), "CANNOT CONNECT SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(client->disconnectSync().toString(),
                  "CANNOT DISCONNECT SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(client->sendSync("ls\n", out).toString(),
                  "CANNOT SEND SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(client->waitForPrompt().toString(), "CANNOT WAIT FOR PROMPT WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(client->disconnectAsync().toString(),
                  "FAILED TO CANCEL JOB: CANNOT CANCEL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_TRUE(client->isDisconnected());
        EXPECT_THAT(client->connectAsync().toString().c_str(), StartsWith("CANNOT CONNECT TO HOST (127.0.0.1:"));
        EXPECT_TRUE(client->isDisconnected());
    }
    EXPECT_TRUE(eventually([&] { return hasLeft.load(); })) << "the program has lost its terminal";
    EXPECT_EQ(watcher.kinds(), "connected ");
    EXPECT_TRUE(client->connectSync());
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, PasswordIsInNoLine)
{
    auto& repository = RTD::REPOSITORY::_INSTANCE();
    ZKPPtr<RTD::Monitor> const monitor = repository->addMonitor(MON_TEST, RTD::NO_SLOT, RTD::NO_PORT);
    monitor->setMinDebugLevel(9);
    CapturedSyslog log;
    Watcher watcher;
    ScriptedHost host(
        [&](Caller const& caller)
        {
            EXPECT_TRUE(askForLogin(caller));
            caller.say("secr"); // what no host should do
            EXPECT_TRUE(watcher.waitFor("data", "secr"));
            caller.say("et\r\n>\r");
            EXPECT_TRUE(watcher.waitFor("connected", ">"));
            caller.say("secret");
            EXPECT_TRUE(watcher.waitFor("data", ">\rsecret"));
            serveCommands(caller);
        });
    ZKPtr<TelnetClient> client = newClient(host.port(), "secret", monitor.getObj());
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->connectSync());
    EXPECT_TRUE(watcher.waitFor("data", ">\rsecret"));
    String out;
    EXPECT_TRUE(client->sendSync("passwd secret\n", out));
    EXPECT_TRUE(client->disconnectSync());
    EXPECT_TRUE(watcher.waitFor("disconnected", std::to_string(ABORTED)));
    EXPECT_TRUE(eventually([&] { return client->getRefCount() == 1; }));
    client = nullptr;

    std::vector<std::string> const lines = log.lines();
    EXPECT_THAT(lines, Each(Not(HasSubstr("secr"))));
    EXPECT_THAT(lines, Each(Not(HasSubstr("73 65 63"))));
    for (char const* part :
         {"[Telnet-0x", "Check prompt:", "Data received in PromptReady state ignored:", "data=passwd ***",
          "Disconnected event triggered by client", "Telnet Client destroyed: 127.0.0.1"})
        EXPECT_THAT(lines, Contains(HasSubstr(part)));
    repository->removeMonitor(monitor.getObj());
}

TEST_F(TelnetLogin, ClientsMayGoOnAnyThread)
{
    std::vector<ZKPtr<TelnetClient>> clients;
    ScriptedHost host(&serve);
    for (int round = 0; round < 6; ++round)
    {
        ZKPtr<TelnetClient> const& client = clients.emplace_back(newClient(host.port()));
        Watcher watcher;
        ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
        std::thread connecting([&] { client->connectSync(); });
        std::thread working(
            [&]
            {
                client->setWaitPromptRefreshPeriod(20);
                client->waitForPrompt();
                String out;
                client->sendSync("one\n", out);
            });
        // some go before the program is there, some while it starts, some when it is ready
        char const* const stage[] = {"", "T", ">"};
        watcher.waitFor("data", stage[round % 3]);
        client->disconnectSync();
        connecting.join();
        working.join();
        EXPECT_TRUE(client->disconnectSync());
    }
    for (ZKPtr<TelnetClient> const& client : clients)
        EXPECT_TRUE(eventually([&] { return client->getRefCount() == 1; }));
}

TEST_F(TelnetLogin, RealServerLetsIn)
{
    if (::access("/usr/sbin/telnetd", X_OK) != 0 || ::geteuid() != 0)
        GTEST_SKIP() << "there is no telnet server, or it may not be started";
    TemporaryDirectory directory;
    std::string const login = (directory / "login").c_str();
    std::ofstream(login) << R"(#!/bin/sh
printf 'login: '; read -r user
stty -echo; printf 'Password: '; read -r password; stty echo; echo
[ "$user/$password" = joe/secret ] || { printf 'Login incorrect\nlogin: '; read -r user; exit 1; }
while printf '>'; read -r line; do $line; done)";
    std::filesystem::permissions(login, std::filesystem::perms::owner_all);
    ScriptedHost host(
        [&](Caller const& caller)
        {
            posix_spawn_file_actions_t files;
            posix_spawn_file_actions_init(&files);
            for (int fd = 0; fd < 3; ++fd)
                posix_spawn_file_actions_adddup2(&files, caller.fd(), fd);
            char const* const args[] = {"telnetd", "-h", "-E", login.c_str(), nullptr};
            pid_t pid = 0;
            EXPECT_EQ(::posix_spawn(&pid, "/usr/sbin/telnetd", &files, nullptr, const_cast<char**>(args), environ), 0);
            posix_spawn_file_actions_destroy(&files);
            ::waitpid(pid, nullptr, 0);
        });
    for (char const* password : {"secret", "guess"})
    {
        ZKPtr<TelnetClient> const client = newClient(host.port(), password);
        XCode const code = client->connectSync();
        EXPECT_EQ(code.getValue(), strcmp(password, "secret") == 0 ? XCODE_SUCCESS : XCodeValue(REFUSED))
            << code.toString().c_str();
        String out;
        XCode const sent = client->sendSync("echo one  two\n", out);
        EXPECT_EQ(sent.isSuccess(), code.isSuccess()) << sent.toString().c_str();
        EXPECT_EQ(out, code ? "one two" : "");
        EXPECT_TRUE(client->disconnectSync());
    }
}
