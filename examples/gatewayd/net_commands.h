#pragma once

#include "command_group.h"
#include "task_thread.h"

#include <atomic>
#include <list>

/// Names of hosts, URIs, HTTP, and commands on other devices.
class NetCommands : public CommandGroup
{
public:
    NetCommands();

    void end() override;

private:
    void resolve(Call const& call, String const& arguments);
    void parseUri(Call const& call, String const& arguments);
    void fetch(Call const& call, String const& arguments);
    void upload(Call const& call, String const& arguments);
    void telnet(Call const& call, String const& arguments);
    void runOnThread(Call const& call, std::function<void()> const& task);

    /// One for each name.
    struct Lookup
    {
        Lookup(Call const& by, String const& name);

        void onResult(XCode const& code, ZKVector<String> const& addresses);

        Call call;
        String host;
        std::atomic<bool> isOver{false};
        ZK::DnsLookupThread thread;
    };

    TaskThreads m_tasks;         // what waits for other machines
    std::list<Lookup> m_lookups; // those under way, and others that no later look-up has cleared away
};
