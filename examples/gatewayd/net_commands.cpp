#include "net_commands.h"

namespace
{
constexpr std::size_t MAX_LOOKUPS = 16;
}

NetCommands::NetCommands()
{
    add("resolve", "NAME", "shows the addresses of a host", &NetCommands::resolve);
    add("parse-uri", "URI", "shows the parts of a URI, and their text put together again", &NetCommands::parseUri);
}

void NetCommands::end()
{
    for (Lookup& lookup : m_lookups)
    {
        lookup.thread.join();
    }
}

void NetCommands::resolve(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a name");
        return;
    }
    m_lookups.remove_if([](Lookup const& each) { return each.isOver.load(); });
    if (m_lookups.size() >= MAX_LOOKUPS)
    {
        call.say("too many look-ups are under way");
        return;
    }
    if (XCode code = m_lookups.emplace_back(call, arguments).thread.start(""); code.isErr())
    {
        m_lookups.pop_back();
        call.say(code.toString());
    }
}

NetCommands::Lookup::Lookup(Call const& by, String const& name)
    : call(by),
      host(name),
      thread("Resolver",
             ZK::bindArgs(ZK::directCall(), &Lookup::onResult, this, std::placeholders::_1, std::placeholders::_2),
             name, IpAddress::NetAddressType::EMPTY, 0)
{
}

/// On the look-up's thread.
void NetCommands::Lookup::onResult(XCode const& code, ZKVector<String> const& addresses)
{
    if (code.isErr())
    {
        call.say(String(String::Formatted(), "%s: %s", host.c_str(), code.toString().c_str()));
    }
    for (String const& address : addresses)
    {
        call.say(String(String::Formatted(), "%s has the address %s", host.c_str(), address.c_str()));
    }
    isOver = true;
}

void NetCommands::parseUri(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a URI");
        return;
    }
    String protocol;
    String host;
    String path;
    String error;
    unsigned int port = 0;
    if (UriUtil::splitUri(arguments, protocol, host, port, path, error).isErr())
    {
        call.say(error);
        return;
    }
    call.write(String(String::Formatted(), "protocol '%s'\nhost     '%s'\nport     %u\npath     '%s'\ntogether '%s'\n",
                      protocol.c_str(), host.c_str(), port, path.c_str(),
                      UriUtil::buildUri(protocol, host, port, path).c_str()));
}
