#include "zekovar/net/telnet_client.h"

#include "tests/net/telnet_login.h"
#include "tests/string_printer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST(TelnetClientSettings, PatternsAreChecked)
{
    TelnetClient client("host");
    EXPECT_EQ(client.setPromptPattern("> ").toString(), "INVALID PROMPT REGEX: > , MUST END WITH '$'");
    EXPECT_TRUE(client.setPromptPattern("").isErr());
    EXPECT_EQ(client.setPromptPattern("(> $").toString(), "FAILED TO SET  PROMPT: INVALID REGULAR EXPRESSION: (> $");
    EXPECT_EQ(client.setUserPromptPattern("user").toString(),
              "INVALID USER PROMPT REGEX: user, MUST END WITH '$' OR MUST BE EMPTY");
    EXPECT_EQ(client.setPasswordPromptPattern("(word$").toString(),
              "FAILED TO SET PASSWORD  PROMPT: INVALID REGULAR EXPRESSION: (word$");
    EXPECT_TRUE(client.setUserPromptPattern("") && client.setPasswordPromptPattern(""));

    auto const connect = [](char const* user, char const* password, char const* prompt)
    { return TelnetClient("host", 23, "joe", "secret", user, password, prompt).connectAsync().toString(); };
    EXPECT_EQ(connect("(", "", "$"), "INVALID USER PROMPT REGULAR EXPRESSION");
    EXPECT_EQ(connect("", "(", "$"), "INVALID PASSWORD PROMPT REGULAR EXPRESSION");
    EXPECT_EQ(connect("", "", "("), "INVALID PROMPT REGULAR EXPRESSION");
}

TEST(TelnetClientSettings, NothingIsSentWithoutConnection)
{
    TelnetClient client("host", "joe", "secret");
    String out;
    EXPECT_EQ(client.waitForPrompt().toString(), "NOT CONNECTED");
    EXPECT_EQ(client.sendAsync("ls\n").toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    EXPECT_EQ(client.sendSync("ls\n", out).toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    EXPECT_TRUE(client.disconnectAsync() && client.disconnectSync());
}

TEST_F(TelnetLogin, RunsCommandsAndTellsItsObservers)
{
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    String out, err;

    struct
    {
        bool removeEcho;
        bool removePrompt;
        char const* reply;
    } const rounds[] = {
        {true, true, "ran one"}, {false, true, "one\r\nran one"}, {false, false, "one\r\nran one\r\n>\r"}};

    for (auto const& [removeEcho, removePrompt, reply] : rounds)
    {
        ASSERT_TRUE(client->setRemoveEcho(removeEcho) && client->setRemovePrompt(removePrompt));
        XCode const code = client->connectSync(out, err);
        ASSERT_TRUE(code) << code.toString().c_str();
        EXPECT_THAT(out.c_str(), AllOf(HasSubstr("login: "), HasSubstr("Welcome\r\n>")));
        EXPECT_TRUE(client->isConnected() && client->isPromptReady() && !client->isDisconnected());

        EXPECT_TRUE(client->sendSync("one\n", out));
        EXPECT_EQ(out, reply);
        EXPECT_TRUE(client->sendAsync("one\n"));
        EXPECT_TRUE(client->waitForPrompt(out, err));
        EXPECT_EQ(out, reply);
        EXPECT_TRUE(client->disconnectSync());
        EXPECT_TRUE(client->isDisconnected() && !client->isConnected());
        EXPECT_EQ(client->waitForPrompt(out, err).getValue(), ABORTED);
        EXPECT_TRUE(watcher.waitFor("done", std::string(reply) + reply));
    }
    EXPECT_THAT(watcher.get("disconnected"), StartsWith(std::to_string(ABORTED)));

    ASSERT_TRUE(client->connectSync());
    EXPECT_EQ(client->sendSync("exit\n", out).getValue(), RESET);
    EXPECT_TRUE(client->isDisconnected());
    EXPECT_TRUE(watcher.waitFor("disconnected", std::to_string(RESET)));
    EXPECT_EQ(client->sendSync("one\n", out).toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    std::string const round = "connected done done disconnected ";
    EXPECT_EQ(watcher.kinds(), round + round + round + "connected disconnected ");
    EXPECT_THAT(watcher.get("data"), HasSubstr("Welcome"));
}

TEST_F(TelnetLogin, WrongPasswordIsToldAlsoWhenTheHostHasHungUp)
{
    for (bool const hangsUp : {false, true})
    {
        ScriptedHost host(
            [&](Caller const& caller)
            {
                askForLogin(caller);
                caller.say("\r\nLogin incorrect\r\nlogin: ");
                if (!hangsUp)
                    caller.waitForEnd();
            });
        ZKPtr<TelnetClient> const client = newClient(host.port(), "guess");
        Watcher watcher;
        ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
        ASSERT_TRUE(client->connectAsync());
        std::string const end = std::to_string(hangsUp ? RESET : ABORTED);
        EXPECT_TRUE(!hangsUp || watcher.waitFor("disconnected", end));
        String out, err;
        XCode const code = client->waitForPrompt(out, err);
        EXPECT_EQ(code.getValue(), REFUSED);
        EXPECT_EQ(code.toString(), "WRONG CREDENTIALS");
        EXPECT_THAT(out.c_str(), HasSubstr("Login incorrect"));
        EXPECT_TRUE(client->isDisconnected());
        EXPECT_TRUE(watcher.waitFor("disconnected", end));
        EXPECT_EQ(watcher.kinds(), "failed disconnected ");
        EXPECT_EQ(watcher.get("failed"), std::to_string(REFUSED) + " WRONG CREDENTIALS");
    }
}

TEST_F(TelnetLogin, PromptsMayComeInPieces)
{
    Watcher watcher;
    auto const say = [&](Caller const& caller, std::string const& first, std::string const& second)
    {
        caller.say(first);
        EXPECT_TRUE(watcher.waitFor("data", first));
        caller.say(second);
    };
    ScriptedHost host(
        [&](Caller const& caller)
        {
            caller.say("\xff\xfb\x01\xff\xfb\x03");
            say(caller, "log", "in: ");
            EXPECT_EQ(caller.line(), "joe");
            say(caller, "\r\nPass", "word: ");
            EXPECT_EQ(caller.line(), "secret");
            say(caller, "\r\nWelcome\r\nrouter", "> ");
            EXPECT_EQ(caller.line(), "show");
            say(caller, "show\r\nrouter is u", "p\r\nrouter> ");
            caller.waitForEnd();
        });
    ZKPtr<TelnetClient> const client = newClient(host.port());
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->setPromptPattern("^router> $"));
    ASSERT_TRUE(client->connectSync());
    String out;
    EXPECT_TRUE(client->sendSync("show\n", out));
    EXPECT_EQ(out, "router is up");
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, NobodyLogsInWithoutUserAndSettingsStayDuringAConnection)
{
    ScriptedHost host(
        [](Caller const& caller)
        {
            EXPECT_EQ(caller.line(), "") << "what the client sends when no prompt comes";
            caller.say("\xff\xfb\x01\xff\xfb\x03>\r");
            EXPECT_EQ(caller.line(), "su");
            caller.say("su\r\n# ");
            caller.waitForEnd();
        });
    ZKPtr<TelnetClient> const client(ZK::MovePtr<TelnetClient>(new TelnetClient("127.0.0.1")));
    ASSERT_TRUE(client->setPort(host.port()) && client->setWaitPromptRefreshPeriod(1));
    ASSERT_TRUE(client->connectSync());

    EXPECT_EQ(client->setHost("h").toString(), "CANNOT CHANGE HOST WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->setUserPromptPattern("$").toString(),
              "CANNOT CHANGE USER PROMPT PATTERN WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->addObserver(nullptr, 0).toString(), "CANNOT ADD OBSERVER WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->removeObserver(nullptr).toString(), "CANNOT REMOVE OBSERVER WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->connectAsync().toString(),
              String::stringOfFormat("ALREADY CONNECTED TO 127.0.0.1:%u", host.port()));

    EXPECT_TRUE(client->setPromptPattern("^# $")) << "another prompt may come";
    String out;
    EXPECT_TRUE(client->sendSync("su\n", out));
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, SilentHostTimesOut)
{
    std::atomic<int> refreshes = 0;
    ScriptedHost host(
        [&](Caller const& caller)
        {
            askForLogin(caller);
            while (caller.line() != "<end>")
                ++refreshes;
        });
    ZKPtr<TelnetClient> const client = newClient(host.port());
    EXPECT_TRUE(client->setTimeout(3) && client->setWaitPromptRefreshPeriod(1));
    XCode const code = client->connectSync();
    EXPECT_EQ(code.getValue(), TIMED_OUT);
    EXPECT_EQ(code.toString(), "FAILED TO CONNECT");
    EXPECT_TRUE(client->isDisconnected());
    EXPECT_TRUE(eventually([&] { return refreshes == 2; })) << refreshes;
}

TEST_F(TelnetLogin, ProgramsErrorIsTheText)
{
    unsigned short const port = ScriptedHost([](Caller const&) {}).port(); // nobody is there any more
    ZKPtr<TelnetClient> const client = newClient(port);
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    XCode const code = client->connectSync();
    EXPECT_EQ(code.getValue(), RESET);
    EXPECT_THAT(code.toString().c_str(), AllOf(StartsWith("FAILED TO CONNECT: "), HasSubstr("onnection refused")));
    EXPECT_TRUE(watcher.waitFor("error", "onnection refused"));
}
