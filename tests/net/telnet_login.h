#pragma once

#include "tests/net/scripted_host.h"
#include "tests/process/running_server.h"
#include "zekovar/net/telnet_client.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <string>

using ZK::TelnetClient;

constexpr unsigned int REFUSED = XCODE_ERRNO + ECONNREFUSED;
constexpr unsigned int ABORTED = XCODE_ERRNO + ECONNABORTED;
constexpr unsigned int RESET = XCODE_ERRNO + ECONNRESET;
constexpr unsigned int TIMED_OUT = XCODE_ERRNO + ETIMEDOUT;

/// Writes down what it is told, and may do something about it first.
class Watcher : public ZK::TelnetClientObserver
{
public:
    using Reaction = std::function<void(std::string const& kind, ZKPtr<TelnetClient> const& client)>;

    explicit Watcher(Reaction reaction = nullptr)
        : m_reaction(std::move(reaction)),
          m_delegate(ZK::MovePtr<TelnetClient::Delegate>(new TelnetClient::Delegate(this)))
    {
    }

    virtual ~Watcher() { m_delegate->stopNotifications(); }

    void onConnected(Event& event) override { tell<String>("connected", event); }

    void onConnectionFailed(Event& event) override { tell<XCode>("failed", event); }

    void onDisconnected(Event& event) override { tell<XCode>("disconnected", event); }

    void onCommandDone(Event& event) override { tell<String>("done", event); }

    void onDataReceived(Event& event) override { tell<String>("data", event); }

    void onErrorReceived(Event& event) override { tell<String>("error", event); }

    TelnetClient::Delegate* delegate() { return m_delegate.getObj(); }

    /// What came for `kind`, one behind the other.
    std::string get(std::string const& kind)
    {
        std::lock_guard const guard(m_mutex);
        return m_texts[kind];
    }

    /// The kinds but for the program's output, in their order, with a blank behind each.
    std::string kinds()
    {
        std::lock_guard const guard(m_mutex);
        return m_kinds;
    }

    bool waitFor(std::string const& kind, std::string const& text)
    {
        return eventually([&] { return get(kind).find(text) != std::string::npos; });
    }

private:
    static std::string textOf(String const& text) { return std::string(text.c_str(), text.length()); }

    static std::string textOf(XCode const& code)
    {
        return std::to_string(code.getRawValue()) + " " + code.toString().c_str();
    }

    template <class T>
    void tell(std::string const& kind, Event& event)
    {
        T payload;
        event.getMarshaller().unmarshal(payload);
        if (m_reaction)
            m_reaction(kind, event.getSource());
        std::lock_guard const guard(m_mutex);
        m_texts[kind] += textOf(payload);
        if (kind != "data" && kind != "error")
            m_kinds += kind + " ";
    }

    Reaction m_reaction;
    ZKPtr<TelnetClient::Delegate> m_delegate;
    std::mutex m_mutex;
    std::map<std::string, std::string> m_texts;
    std::string m_kinds;
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
        if (std::system("command -v telnet > /dev/null") != 0)
            GTEST_SKIP() << "there is no telnet program";
    }

    RunningServer m_server;
};
