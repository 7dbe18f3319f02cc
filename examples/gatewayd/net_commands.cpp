#include "net_commands.h"

namespace
{
constexpr std::size_t MAX_LOOKUPS = 16;
constexpr int MAX_SHOWN = 4096; // bytes
constexpr char const* NOBODY = "-";
constexpr char const* DEVICE_PROMPT = "^[^\\r\\n]*[>#$%] ?$";

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

NetCommands::NetCommands() : m_tasks("Remote")
{
    add("resolve", "NAME", "shows the addresses of a host", &NetCommands::resolve);
    add("parse-uri", "URI", "shows the parts of a URI, and their text put together again", &NetCommands::parseUri);
    add("fetch", "URL", "shows what a web server sends", &NetCommands::fetch);
    add("upload", "FILE URL", "posts a file to a web server, as a form does", &NetCommands::upload);
    add("telnet", "HOST PORT USER PASSWORD COMMAND",
        "runs a command on another device; USER - and PASSWORD - log in nowhere", &NetCommands::telnet);
}

void NetCommands::end()
{
    m_tasks.join();
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
    runOnThread(call,
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
    runOnThread(call,
                [call, file, url]
                {
                    ZK::Xfer server;
                    XCode const code = server.uploadFile(url, file);
                    call.say(code.isErr() ? code.toString() : String(String::Formatted(), "%s is there", file.c_str()));
                });
}

void NetCommands::telnet(Call const& call, String const& arguments)
{
    String command = arguments;
    String const host = CommandLine::takeWord(command);
    unsigned int port = 0;
    bool const isPort = CommandLine::parseNumber(CommandLine::takeWord(command), 1, 65535, port);
    String const user = CommandLine::takeWord(command);
    String const password = CommandLine::takeWord(command);
    if (!isPort || command.isEmpty())
    {
        refuse(call, "it takes a host, a port, a user, a password and a command");
        return;
    }
    runOnThread(call,
                [call, host, port, user, password, command]
                {
                    bool const logsIn = user != NOBODY;
                    ZKPtr<ZK::TelnetClient> client(ZK::MovePtr<ZK::TelnetClient>(new ZK::TelnetClient(
                        host, port, user, password, logsIn ? ZK::TelnetClient::DEFAULT_USER_PROMPT : String(),
                        logsIn ? ZK::TelnetClient::DEFAULT_PASSWORD_PROMPT : String(), DEVICE_PROMPT)));
                    String output;
                    XCode code = client->connectSync();
                    if (code.isSuccess())
                    {
                        code = client->sendSync(String(String::Formatted(), "%s\n", command.c_str()), output);
                    }
                    client->disconnectSync();
                    if (code.isErr())
                    {
                        output = code.toString();
                    }
                    output.trim(&isspace);
                    call.say(output);
                });
}

/// What waits for another machine has a thread of its own.
void NetCommands::runOnThread(Call const& call, std::function<void()> const& task)
{
    if (m_tasks.run(task).isErr())
    {
        call.say("too many such commands are under way");
    }
}
