#pragma once

#include "command_group.h"

#include <atomic>
#include <list>

/// Names of hosts and texts of the network.
class NetCommands : public CommandGroup
{
public:
    NetCommands();

    void end() override;

private:
    void resolve(Call const& call, String const& arguments);
    void parseUri(Call const& call, String const& arguments);

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

    std::list<Lookup> m_lookups; // those under way, and others that no later look-up has cleared away
};
