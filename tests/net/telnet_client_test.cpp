#include "zekovar/net/telnet_client.h"

#include "tests/net/telnet_login.h"
#include "tests/string_printer.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(TelnetClientSettings, PatternsAreChecked)
{
    TelnetClient client("host");
    EXPECT_TRUE(client.isDisconnected());
    EXPECT_EQ(client.setPromptPattern("> ").toString(), "INVALID PROMPT REGEX: > , MUST END WITH '$'");
    EXPECT_TRUE(client.setPromptPattern("").isErr());
    EXPECT_EQ(client.setPromptPattern("(> $").toString(), "FAILED TO SET  PROMPT: INVALID REGULAR EXPRESSION: (> $");
    EXPECT_TRUE(client.setPromptPattern("> $"));
    EXPECT_EQ(client.setUserPromptPattern("user").toString(),
              "INVALID USER PROMPT REGEX: user, MUST END WITH '$' OR MUST BE EMPTY");
    EXPECT_EQ(client.setPasswordPromptPattern("word").toString(),
              "INVALID PASSWORD PROMPT REGEX: word, MUST END WITH '$' OR MUST BE EMPTY");
    EXPECT_EQ(client.setUserPromptPattern("(user$").toString(),
              "FAILED TO SET USER  PROMPT: INVALID REGULAR EXPRESSION: (user$");
    EXPECT_EQ(client.setPasswordPromptPattern("(word$").toString(),
              "FAILED TO SET PASSWORD  PROMPT: INVALID REGULAR EXPRESSION: (word$");
    EXPECT_TRUE(client.setUserPromptPattern(""));
    EXPECT_TRUE(client.setPasswordPromptPattern(""));

    auto const connect = [](char const* user, char const* password, char const* prompt)
    {
        ZKPtr<TelnetClient> const broken(
            ZK::MovePtr<TelnetClient>(new TelnetClient("host", 23, "joe", "secret", user, password, prompt)));
        return broken->connectAsync().toString();
    };
    EXPECT_EQ(connect("(", "", "$"), "INVALID USER PROMPT REGULAR EXPRESSION");
    EXPECT_EQ(connect("", "(", "$"), "INVALID PASSWORD PROMPT REGULAR EXPRESSION");
    EXPECT_EQ(connect("", "", "("), "INVALID PROMPT REGULAR EXPRESSION");
}

TEST(TelnetClientSettings, NothingIsSentWithoutConnection)
{
    TelnetClient client("host", "joe", "secret");
    String out, err;
    EXPECT_EQ(client.waitForPrompt().toString(), "NOT CONNECTED");
    EXPECT_EQ(client.sendAsync("ls\n").toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    EXPECT_EQ(client.sendSync("ls\n", out, err).toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    EXPECT_TRUE(client.disconnectAsync());
    EXPECT_TRUE(client.disconnectSync());

    ZKAutoLock<ZKEventLoop> const stop(IO::INSTANCE());
    EXPECT_EQ(client.connectSync().toString(), "CANNOT CONNECT SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
    EXPECT_EQ(client.disconnectSync().toString(),
              "CANNOT DISCONNECT SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
    EXPECT_EQ(client.sendSync("ls\n", out).toString(), "CANNOT SEND SYNCHRONOUSLY WHILE SYNCHRONIZED ON IO EVENT LOOP");
}

TEST_F(TelnetLogin, RunsCommandsAndTellsItsObservers)
{
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    for (int round = 0; round < 2; ++round)
    {
        String out, err;
        XCode const code = client->connectSync(out, err);
        ASSERT_TRUE(code) << code.toString().c_str();
        EXPECT_THAT(out.c_str(), AllOf(HasSubstr("login: "), HasSubstr("Welcome\r\n>")));
        EXPECT_TRUE(client->isConnected() && client->isPromptReady() && !client->isDisconnected());

        EXPECT_TRUE(client->sendSync("one\n", out));
        EXPECT_EQ(out, "ran one");
        EXPECT_TRUE(client->sendAsync("two\n"));
        EXPECT_TRUE(client->waitForPrompt(out, err));
        EXPECT_EQ(out, "ran two");
        EXPECT_TRUE(client->disconnectSync());
        EXPECT_TRUE(client->isDisconnected() && !client->isConnected());
        EXPECT_EQ(client->waitForPrompt(out, err).getValue(), ABORTED);
    }
    EXPECT_TRUE(eventually([&] { return watcher.kinds().size() == 8; }));
    EXPECT_THAT(watcher.kinds(),
                ElementsAre("connected", "done", "done", "disconnected", "connected", "done", "done", "disconnected"));
    EXPECT_EQ(watcher.get("done"), "ran oneran tworan oneran two");
    EXPECT_THAT(watcher.get("disconnected"), StartsWith(std::to_string(ABORTED)));
    EXPECT_THAT(watcher.get("data"), HasSubstr("Welcome"));
}

TEST_F(TelnetLogin, ObserversAreToldInTheClientsOrder)
{
    class Named : public Watcher
    {
    public:
        Named(char name, std::string& order) : m_name(name), m_order(order) {}

    private:
        void react(std::string const& kind, Event&) override
        {
            if (kind == "connected")
                m_order += m_name;
        }

        char m_name;
        std::string& m_order;
    };

    std::string order;
    Named first('a', order), second('b', order), urgent('c', order);
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    ASSERT_TRUE(client->addObserver(first.delegate(), 1));
    ASSERT_TRUE(client->addObserver(second.delegate(), 1));
    ASSERT_TRUE(client->addObserver(urgent.delegate(), 0));
    ASSERT_TRUE(client->connectSync());
    for (Watcher const* watcher : {&first, &second, &urgent})
        EXPECT_TRUE(watcher->waitFor("connected", ">"));
    EXPECT_EQ(order, "cba") << "the last one first among equals";
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, EchoAndPromptStayIfWanted)
{
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    EXPECT_TRUE(client->setRemoveEcho(false));
    ASSERT_TRUE(client->connectSync());
    String out;
    EXPECT_TRUE(client->sendSync("one\n", out));
    EXPECT_EQ(out, "one\r\nran one");
    EXPECT_TRUE(client->disconnectSync());
    EXPECT_TRUE(client->setRemovePrompt(false));
    ASSERT_TRUE(client->connectSync());
    EXPECT_TRUE(client->sendSync("one\n", out));
    EXPECT_EQ(out, "one\r\nran one\r\n>\r");
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, WrongPasswordIsTold)
{
    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port(), "guess");
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    XCode const code = client->connectSync();
    EXPECT_EQ(code.getValue(), REFUSED);
    EXPECT_EQ(code.toString(), "FAILED TO CONNECT: WRONG CREDENTIALS");
    EXPECT_TRUE(client->isDisconnected());
    EXPECT_TRUE(eventually([&] { return watcher.kinds().size() == 2; }));
    EXPECT_THAT(watcher.kinds(), ElementsAre("failed", "disconnected"));
    EXPECT_EQ(watcher.get("failed"), std::to_string(REFUSED) + " WRONG CREDENTIALS");
}

TEST_F(TelnetLogin, WrongPasswordIsStillToldWhenTheHostHasHungUp)
{
    ScriptedHost host(
        [](Caller& caller)
        {
            askForLogin(caller);
            caller.say("\r\nLogin incorrect\r\nlogin: ");
        });
    ZKPtr<TelnetClient> const client = newClient(host.port(), "guess");
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->connectAsync());
    ASSERT_TRUE(watcher.waitFor("failed", "WRONG CREDENTIALS"));
    ASSERT_TRUE(watcher.waitFor("disconnected", std::to_string(RESET)));
    String out, err;
    XCode const code = client->waitForPrompt(out, err);
    EXPECT_EQ(code.getValue(), REFUSED);
    EXPECT_EQ(code.toString(), "WRONG CREDENTIALS");
    EXPECT_THAT(out.c_str(), HasSubstr("Login incorrect"));
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
        [&](Caller& caller)
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

TEST_F(TelnetLogin, NobodyLogsInWithoutUser)
{
    ScriptedHost host(
        [](Caller& caller)
        {
            caller.say("\xff\xfb\x01\xff\xfb\x03>\r");
            serveCommands(caller);
        });
    ZKPtr<TelnetClient> const client(ZK::MovePtr<TelnetClient>(new TelnetClient("127.0.0.1")));
    ASSERT_TRUE(client->setPort(host.port()));
    ASSERT_TRUE(client->connectSync());
    String out;
    EXPECT_TRUE(client->sendSync("one\n", out));
    EXPECT_EQ(out, "ran one");
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, SettingsStayDuringAConnection)
{
    ScriptedHost host(
        [](Caller& caller)
        {
            if (askForLogin(caller))
                caller.line(); // what the client sends before it changes the prompt
            caller.say("\r\n>\r");
            EXPECT_EQ(caller.line(), "su");
            caller.say("su\r\n# ");
            caller.waitForEnd();
        });
    ZKPtr<TelnetClient> const client = newClient(host.port());
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->setWaitPromptRefreshPeriod(1)); // sends a line
    ASSERT_TRUE(client->connectSync());

    auto const refusal = [](char const* what)
    { return String::stringOfFormat("CANNOT CHANGE %s WHILE A CONNECTION IS ONGOING", what); };
    EXPECT_EQ(client->setHost("h").toString(), refusal("HOST"));
    EXPECT_EQ(client->setPort(1).toString(), refusal("PORT"));
    EXPECT_EQ(client->setUser("u").toString(), refusal("USER"));
    EXPECT_EQ(client->setPassword("p").toString(), refusal("PASSWORD"));
    EXPECT_EQ(client->setRemoveEcho(true).toString(), refusal("REMOVE ECHO"));
    EXPECT_EQ(client->setRemovePrompt(true).toString(), refusal("REMOVE PROMPT"));
    EXPECT_EQ(client->setUserPromptPattern("$").toString(), refusal("USER PROMPT PATTERN"));
    EXPECT_EQ(client->setPasswordPromptPattern("$").toString(), refusal("PASSWORD PROMPT PATTERN"));
    EXPECT_EQ(client->addObserver(nullptr, 0).toString(), "CANNOT ADD OBSERVER WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->removeObserver(watcher.delegate()).toString(),
              "CANNOT REMOVE OBSERVER WHILE A CONNECTION IS ONGOING");
    EXPECT_EQ(client->connectAsync().toString(),
              String::stringOfFormat("ALREADY CONNECTED TO 127.0.0.1:%u", host.port()));

    EXPECT_TRUE(client->setPromptPattern("^# $")) << "another prompt may come";
    String out;
    EXPECT_TRUE(client->sendSync("su\n", out));
    EXPECT_TRUE(client->disconnectSync());
    EXPECT_TRUE(client->removeObserver(watcher.delegate()));
}

TEST_F(TelnetLogin, SilentHostTimesOut)
{
    std::atomic<int> refreshes = 0;
    ScriptedHost host(
        [&](Caller& caller)
        {
            askForLogin(caller);
            while (caller.line() != "<end>")
                ++refreshes;
        });
    ZKPtr<TelnetClient> const client = newClient(host.port());
    EXPECT_TRUE(client->setTimeout(3));
    EXPECT_TRUE(client->setWaitPromptRefreshPeriod(1));
    XCode const code = client->connectSync();
    EXPECT_EQ(code.getValue(), TIMED_OUT);
    EXPECT_EQ(code.toString(), "FAILED TO CONNECT");
    EXPECT_TRUE(client->isDisconnected());
    EXPECT_TRUE(eventually([&] { return refreshes == 2; })) << refreshes;
}

TEST_F(TelnetLogin, EndByTheHostIsTold)
{
    ScriptedHost host(&serve);
    unsigned short const port = host.port();
    ZKPtr<TelnetClient> const client = newClient(port);
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    ASSERT_TRUE(client->connectSync());
    String out, err;
    XCode code = client->sendSync("exit\n", out, err);
    EXPECT_EQ(code.getValue(), RESET);
    EXPECT_TRUE(client->isDisconnected());
    EXPECT_TRUE(watcher.waitFor("disconnected", std::to_string(RESET)));
    EXPECT_EQ(client->sendSync("one\n", out).toString(), "CANNOT SEND DATA: PROMPT NOT READY");
    EXPECT_TRUE(client->disconnectSync());
}

TEST_F(TelnetLogin, ProgramsErrorIsTheText)
{
    unsigned short const port = ScriptedHost([](Caller&) {}).port(); // nobody is there any more
    ZKPtr<TelnetClient> const client = newClient(port);
    Watcher watcher;
    ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
    XCode const code = client->connectSync();
    EXPECT_EQ(code.getValue(), RESET);
    EXPECT_THAT(code.toString().c_str(), AllOf(StartsWith("FAILED TO CONNECT: "), HasSubstr("onnection refused")));
    EXPECT_TRUE(watcher.waitFor("disconnected", std::to_string(RESET)));
    EXPECT_THAT(watcher.get("error"), HasSubstr("onnection refused"));
}
