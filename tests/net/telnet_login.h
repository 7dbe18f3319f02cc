#pragma once

#include "tests/net/scripted_host.h"
#include "tests/process/running_server.h"
#include "zekovar/net/telnet_client.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

using ZK::TelnetClient;

constexpr unsigned int REFUSED = XCODE_ERRNO + ECONNREFUSED;
constexpr unsigned int ABORTED = XCODE_ERRNO + ECONNABORTED;
constexpr unsigned int RESET = XCODE_ERRNO + ECONNRESET;
constexpr unsigned int TIMED_OUT = XCODE_ERRNO + ETIMEDOUT;

inline bool isInstalled(std::string const& program)
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

inline ZKPtr<TelnetClient> newClient(unsigned int port, char const* password = "secret",
                                     RTD::Monitor* monitor = nullptr)
{
    return ZK::MovePtr<TelnetClient>(
        new TelnetClient(monitor, "", "127.0.0.1", port, "joe", password, TelnetClient::DEFAULT_USER_PROMPT,
                         TelnetClient::DEFAULT_PASSWORD_PROMPT, TelnetClient::DEFAULT_PROMPT));
}

/// Asks for user and password as a telnet server does, so that the program doesn't echo. False for a wrong password.
inline bool askForLogin(Caller const& caller)
{
    caller.say("\xff\xfb\x01\xff\xfb\x03login: "); // will echo, will suppress go-ahead
    std::string const user = caller.line();
    caller.say(user + "\r\nPassword: ");
    return caller.line() == "secret" && user == "joe";
}

/// Answers each command with its echo and what it consists of, until the caller leaves or says "exit".
inline void serveCommands(Caller const& caller)
{
    for (std::string line = caller.line(); line != "<end>" && line != "exit"; line = caller.line())
        caller.say(line + "\r\nran " + line + "\r\n>\r");
}

inline void serve(Caller const& caller)
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
