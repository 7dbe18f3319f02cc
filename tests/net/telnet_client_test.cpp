#include "zekovar/net/telnet_client.h"

#include "tests/captured_syslog.h"
#include "tests/net/scripted_host.h"
#include "tests/process/running_server.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/diagnostics/repository.h"
#include "zekovar/events/event_sync.h"
#include "zekovar/events/standard_loops.h"
#include "zekovar/net/telnet_processor.h"
#include "zekovar/net/telnet_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <spawn.h>
#include <string>
#include <thread>
#include <vector>

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using ZK::TelnetClient;

namespace
{
constexpr unsigned int REFUSED = XCODE_ERRNO + ECONNREFUSED;
constexpr unsigned int ABORTED = XCODE_ERRNO + ECONNABORTED;
constexpr unsigned int RESET = XCODE_ERRNO + ECONNRESET;
constexpr unsigned int TIMED_OUT = XCODE_ERRNO + ETIMEDOUT;

bool isInstalled(std::string const& program)
{
    for (char const* directory : {"/usr/local/sbin/", "/usr/local/bin/", "/usr/sbin/", "/usr/bin/", "/sbin/", "/bin/"})
    {
        if (::access((directory + program).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

/// Writes down what it is told, and may do something about it first.
class Watcher : public ZK::TelnetClientObserver
{
public:
    Watcher() : m_delegate(ZK::MovePtr<TelnetClient::Delegate>(new TelnetClient::Delegate(this))) {}

    virtual ~Watcher() { m_delegate->stopNotifications(); }

    void onConnected(Event& event) override { tell<String>("connected", event); }

    void onConnectionFailed(Event& event) override { tell<XCode>("failed", event); }

    void onDisconnected(Event& event) override { tell<XCode>("disconnected", event); }

    void onCommandDone(Event& event) override { tell<String>("done", event); }

    void onDataReceived(Event& event) override { tell<String>("data", event); }

    void onErrorReceived(Event& event) override { tell<String>("error", event); }

    TelnetClient::Delegate* delegate() { return m_delegate.getObj(); }

    /// What came for `kind`, one behind the other.
    std::string get(std::string const& kind) const
    {
        std::lock_guard const guard(m_mutex);
        std::string texts;
        for (auto const& [known, text] : m_events)
            texts += known == kind ? text : "";
        return texts;
    }

    /// The kinds but for "data", in their order.
    std::vector<std::string> kinds() const
    {
        std::lock_guard const guard(m_mutex);
        std::vector<std::string> kinds;
        for (auto const& event : m_events)
        {
            if (event.first != "data")
                kinds.push_back(event.first);
        }
        return kinds;
    }

    bool waitFor(std::string const& kind, std::string const& text) const
    {
        return eventually([&] { return get(kind).find(text) != std::string::npos; });
    }

protected:
    virtual void react(std::string const& /*kind*/, Event&) {}

private:
    static std::string textOf(String const& text) { return std::string(text.c_str(), text.length()); }

    static std::string textOf(XCode const& code)
    {
        return std::to_string(code.getRawValue()) + " " + code.toString().c_str();
    }

    template <class T>
    void tell(char const* kind, Event& event)
    {
        T payload;
        event.getMarshaller().unmarshal(payload);
        EXPECT_TRUE(event.getSource());
        react(kind, event);
        std::lock_guard const guard(m_mutex);
        m_events.emplace_back(kind, textOf(payload));
    }

    ZKPtr<TelnetClient::Delegate> m_delegate;
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, std::string>> m_events;
};

ZKPtr<TelnetClient> newClient(unsigned int port, char const* password = "secret", RTD::Monitor* monitor = nullptr)
{
    return ZK::MovePtr<TelnetClient>(
        new TelnetClient(monitor, "", "127.0.0.1", port, "joe", password, TelnetClient::DEFAULT_USER_PROMPT,
                         TelnetClient::DEFAULT_PASSWORD_PROMPT, TelnetClient::DEFAULT_PROMPT));
}

/// Asks for user and password as a telnet server does, so that the program doesn't echo. False for a wrong password.
bool askForLogin(Caller const& caller)
{
    caller.say("\xff\xfb\x01\xff\xfb\x03login: "); // will echo, will suppress go-ahead
    std::string const user = caller.line();
    caller.say(user + "\r\nPassword: ");
    return caller.line() == "secret" && user == "joe";
}

/// Answers each command with its echo and what it consists of, until the caller leaves or says "exit".
void serveCommands(Caller const& caller)
{
    for (std::string line = caller.line(); line != "<end>" && line != "exit"; line = caller.line())
        caller.say(line + "\r\nran " + line + "\r\n>\r");
}

void serve(Caller const& caller)
{
    if (!askForLogin(caller))
    {
        caller.say("\r\nLogin incorrect\r\nlogin: ");
        return caller.waitForEnd();
    }
    caller.say("\r\nWelcome\r\n>\r");
    serveCommands(caller);
}

class TelnetLogin : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!isInstalled("telnet"))
            GTEST_SKIP() << "there is no telnet program";
    }

    RunningServer m_server;
};
}

TEST(TelnetText, PromptStandsAtTheEnd)
{
    struct
    {
        char const* expression;
        char const* text;
        int position; // -1 for none
    } const cases[] = {
        {"^>[\r]?$", "ls\nfile\n>\r", 8},
        {"^>[\r]?$", ">", 0},
        {"^>[\r]?$", "a\n>\r\n", 2},
        {"^>[\r]?$", "a\n>\nfile\n>", 9},
        {"^>[\r]?$", "a\n>\nfile", -1},
        {"^>[\r]?$", "a>", -1},
        {"^>$", "a\n>\r", 2},
        {"login: $", "Last login: never\nlogin: ", 18},
        {"login: $", "login: \r\njoe", -1},
        {"login: $", "logi", -1},
        {"a> $|b> $", "a> b> ", 3},
    };

    for (auto const& entry : cases)
    {
        ZKPtr<ZKRegEx::Pattern> const prompt = ZK::Detail::compilePrompt(entry.expression);
        ZKPtr<ZKRegEx::Matcher> const matcher = prompt->createMatcher(entry.text, RE_FLAG_MULTILINE);
        int start = -1;
        int end = -1;
        matcher->match();
        matcher->getCapture(0, start, end);
        EXPECT_EQ(start, entry.position) << entry.expression << " in " << entry.text;
        EXPECT_EQ(ZK::Detail::endsInPrompt(prompt, entry.text), entry.position >= 0) << entry.text;
    }
    EXPECT_FALSE(ZK::Detail::endsInPrompt(nullptr, "login: "));
}

TEST(TelnetText, EchoAndPromptAreCut)
{
    String text("ls\nfile\n \r\n>\r");
    ZK::Detail::removePrompt(text, 11);
    EXPECT_EQ(text, "ls\nfile");
    EXPECT_EQ(ZK::Detail::removeEcho(text), 3);
    EXPECT_EQ(text, "file");
    EXPECT_EQ(ZK::Detail::removeEcho(text), 0) << "without a line end there is no echo";
    EXPECT_EQ(text, "file");
    String zeros("\0ls\nfile", 8, 0, 8);
    EXPECT_EQ(ZK::Detail::removeEcho(zeros), 4);
}

TEST(TelnetText, SecretIsReplacedAlsoInPieces)
{
    auto const hide = [](std::string const& text)
    {
        int const size = static_cast<int>(text.size());
        String const shown = ZK::Detail::withoutSecret(String(text.data(), size, 0, size), "secret");
        return std::string(shown.c_str(), shown.length());
    };
    EXPECT_EQ(hide("no word of it"), "no word of it");
    EXPECT_EQ(hide("a secret, a secret."), "a ***, a ***.");
    EXPECT_EQ(hide("Password: secr"), "Password: ***");
    EXPECT_EQ(hide("ret\r\n> "), "***\r\n> ");
    EXPECT_EQ(hide("ecr"), "***");
    EXPECT_EQ(hide(std::string("\0secret", 7)), std::string("\0***", 4));
    EXPECT_EQ(ZK::Detail::withoutSecret("text", ""), "text");
}

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

TEST_F(TelnetLogin, ObserversMaySendAndLeave)
{
    class Operator : public Watcher
    {
        void react(std::string const& kind, Event& event) override
        {
            ZKPtr<TelnetClient> const client = event.getSource();
            XCode code;
            if (kind == "connected")
                code = client->sendAsync("one\n");
            else if (kind == "done")
                code = client->sendAsync("exit\n");
            else if (kind == "disconnected")
                code = client->removeObserver(delegate());
            EXPECT_TRUE(code) << code.toString().c_str();
        }
    };

    ScriptedHost host(&serve);
    ZKPtr<TelnetClient> const client = newClient(host.port());
    Watcher first, last;
    Operator worker;
    ASSERT_TRUE(client->addObserver(last.delegate(), 2));
    ASSERT_TRUE(client->addObserver(worker.delegate(), 1));
    ASSERT_TRUE(client->addObserver(first.delegate(), 0));
    ASSERT_TRUE(client->connectAsync());
    EXPECT_TRUE(last.waitFor("disconnected", std::to_string(RESET)));
    for (Watcher const* watcher : {&first, static_cast<Watcher*>(&worker), &last})
        EXPECT_THAT(watcher->kinds(), AllOf(Contains("done"), Contains("connected"), Contains("disconnected")));
    EXPECT_EQ(last.get("done"), "ran one");

    ASSERT_TRUE(client->connectSync());
    EXPECT_TRUE(client->disconnectSync());
    EXPECT_TRUE(eventually([&] { return last.get("disconnected") != worker.get("disconnected"); }));
    EXPECT_EQ(worker.get("connected"), first.get("connected").substr(0, worker.get("connected").size()));
}

TEST_F(TelnetLogin, LoopCanOnlyHangUp)
{
    std::atomic<bool> hasLeft = false;
    ScriptedHost host(
        [&](Caller& caller)
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
        EXPECT_EQ(client->waitForPrompt().toString(), "CANNOT WAIT FOR PROMPT WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_EQ(client->disconnectAsync().toString(),
                  "FAILED TO CANCEL JOB: CANNOT CANCEL SHELL WHILE SYNCHRONIZED ON IO EVENT LOOP");
        EXPECT_TRUE(client->isDisconnected());
        EXPECT_EQ(
            client->connectAsync().toString(),
            String::stringOfFormat("CANNOT CONNECT TO HOST (127.0.0.1:%u): CANNOT EXECUTE SHELL WHILE SYNCHRONIZED "
                                   "ON IO EVENT LOOP",
                                   host.port()));
        EXPECT_TRUE(client->isDisconnected());
    }
    EXPECT_TRUE(eventually([&] { return hasLeft.load(); })) << "the program has lost its terminal";
    EXPECT_THAT(watcher.kinds(), ElementsAre("connected"));
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
        [&](Caller& caller)
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
    EXPECT_TRUE(watcher.waitFor("disconnected", ""));
    EXPECT_TRUE(eventually([&] { return client->getRefCount() == 1; }));
    client = nullptr;

    std::vector<std::string> const lines = log.lines();
    EXPECT_THAT(lines, Each(Not(HasSubstr("secr"))));
    EXPECT_THAT(lines, Each(Not(HasSubstr("73 65 63"))));
    for (char const* part : {"Telnet Client created: run in thread ",
                             "[Telnet-0x",
                             "Telnet Client Processor created: 127.0.0.1:",
                             "Start Synchronous connection to host 127.0.0.1:",
                             "State changed from Connecting to WaitingUserPrompt",
                             "Check User prompt:",
                             "Send user name: joe",
                             "Check Password prompt:",
                             "Send password: ***",
                             "State changed from WaitingPasswdPrompt to WaitingPrompt",
                             "Check prompt:",
                             "Data received in PromptReady state ignored:",
                             "Send Synchronous data to host 127.0.0.1:",
                             "data=passwd ***",
                             "State changed from SendingData to PromptReady",
                             "remove prompt buff-len=",
                             "remove echo buff-len=",
                             "Disconnecting...",
                             "Disconnected event triggered by client",
                             "State changed from Disconnecting to Disconnected",
                             "Telnet Client Processor destroyed: 127.0.0.1:",
                             "Telnet Client destroyed: 127.0.0.1"})
        EXPECT_THAT(lines, Contains(HasSubstr(part)));
    repository->removeMonitor(monitor.getObj());
}

TEST_F(TelnetLogin, ClientsMayGoOnAnyThread)
{
    class CountedClient : public TelnetClient
    {
    public:
        CountedClient(std::atomic<int>& count, unsigned int port)
            : TelnetClient("127.0.0.1", port, "joe", "secret", DEFAULT_USER_PROMPT, DEFAULT_PASSWORD_PROMPT,
                           DEFAULT_PROMPT),
              m_count(count)
        {
            ++m_count;
        }

        ~CountedClient() override { --m_count; }

    private:
        std::atomic<int>& m_count;
    };

    std::atomic<int> count = 0;
    ScriptedHost host(&serve);
    for (int round = 0; round < 6; ++round)
    {
        ZKPtr<TelnetClient> client(ZK::MovePtr<TelnetClient>(new CountedClient(count, host.port())));
        Watcher watcher;
        ASSERT_TRUE(client->addObserver(watcher.delegate(), 0));
        auto const connect = [client] { client->connectSync(); };
        auto const work = [client]
        {
            client->setWaitPromptRefreshPeriod(20);
            client->waitForPrompt();
            String out;
            client->sendSync("one\n", out);
        };
        // some come before the program, some while it starts, some when it is ready
        auto const leave = [client, &watcher, round]
        {
            eventually(
                [&] {
                    return round % 3 == 0 || watcher.get("data").find(round % 3 == 1 ? "T" : ">") != std::string::npos;
                });
            client->disconnectSync();
        };
        std::vector<std::thread> threads;
        threads.emplace_back(connect);
        threads.emplace_back(work);
        threads.emplace_back(leave);
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_TRUE(client->disconnectSync());
    }
    EXPECT_TRUE(eventually([&] { return count == 0; })) << count;
}

TEST_F(TelnetLogin, RealServerLetsIn)
{
    if (!isInstalled("telnetd") || ::geteuid() != 0)
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
        [&](Caller& caller)
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
