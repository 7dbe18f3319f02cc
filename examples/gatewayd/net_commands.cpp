#include "net_commands.h"

namespace
{
constexpr std::size_t MAX_LOOKUPS = 16;
constexpr int MAX_SHOWN = 4096; // bytes

/// A reply as an operator can read it.
String textOf(TString<char> const& reply)
{
    String text;
    for (int i = 0; i < reply.length() && i < MAX_SHOWN; ++i)
    {
        bool const isShown = reply[i] == '\n' || reply[i] == '\t' || static_cast<unsigned char>(reply[i]) >= ' ';
        text += isShown ? reply[i] : '.';
    }
    return text;
}
}

NetCommands::NetCommands() : m_transfers("Transfer")
{
    add("resolve", "NAME", "shows the addresses of a host", &NetCommands::resolve);
    add("parse-uri", "URI", "shows the parts of a URI, and their text put together again", &NetCommands::parseUri);
    add("fetch", "URL", "shows what a web server sends", &NetCommands::fetch);
    add("upload", "FILE URL", "posts a file to a web server, as a form does", &NetCommands::upload);
}

void NetCommands::end()
{
    m_transfers.join();
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

void NetCommands::fetch(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a URL");
        return;
    }
    transfer(call,
             [call, url = arguments]
             {
                 ZK::Xfer server;
                 TString<char> reply;
                 if (XCode const code = server.getBinary(reply, url, ""); code.isErr())
                 {
                     call.say(code.toString());
                     return;
                 }
                 call.say(textOf(reply));
                 call.say(String(String::Formatted(), "%d bytes", reply.length()));
             });
}

void NetCommands::upload(Call const& call, String const& arguments)
{
    String url = arguments;
    String const file = CommandLine::takeWord(url);
    if (url.isEmpty())
    {
        refuse(call, "it takes a file and a URL");
        return;
    }
    transfer(call,
             [call, file, url]
             {
                 ZK::Xfer server;
                 XCode const code = server.uploadFile(url, file);
                 call.say(code.isErr() ? code.toString() : String(String::Formatted(), "%s is there", file.c_str()));
             });
}

/// A transfer waits for the other side, so it has a thread of its own.
void NetCommands::transfer(Call const& call, std::function<void()> const& task)
{
    if (m_transfers.run(task).isErr())
    {
        call.say("too many transfers are under way");
    }
}
