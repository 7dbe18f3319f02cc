#include "workbench.h"

#include "crypto_commands.h"
#include "debug_commands.h"
#include "job_commands.h"
#include "link_commands.h"
#include "loop_commands.h"
#include "net_commands.h"
#include "process_commands.h"
#include "regex_commands.h"
#include "report_commands.h"
#include "session.h"
#include "system_commands.h"
#include "timer_commands.h"

#include <cctype>

namespace
{
constexpr int USAGE_COLUMN = 28;
}

Workbench::Workbench(ZKEventLoop& loop, Console& console)
{
    add("help", "", "lists the commands", &Workbench::help);
    add("wait", "MS", "takes no further command for that time; for scripts", &Workbench::wait);
    add("quit", "", "ends the daemon; on a TCP port, the session", &Workbench::quit);

    m_groups.push_back(std::make_unique<LoopCommands>(loop));
    m_groups.push_back(std::make_unique<TimerCommands>(loop));
    m_groups.push_back(std::make_unique<DebugCommands>(m_monitors));
    m_groups.push_back(std::make_unique<LinkCommands>(console, loop));
    m_groups.push_back(std::make_unique<JobCommands>());
    m_groups.push_back(std::make_unique<NetCommands>());
    m_groups.push_back(std::make_unique<ProcessCommands>());
    m_groups.push_back(std::make_unique<RegexCommands>());
    m_groups.push_back(std::make_unique<CryptoCommands>());
    m_groups.push_back(std::make_unique<ReportCommands>(m_monitors));
    m_groups.push_back(std::make_unique<SystemCommands>());
}

void Workbench::execute(std::shared_ptr<Session> const& session, String const& line)
{
    String arguments = line;
    arguments.trim(&isspace);
    String const name = CommandLine::takeWord(arguments);
    if (name.isEmpty())
    {
        return;
    }
    Command const* const command = find(name);
    if (command == nullptr)
    {
        session->say(String(String::Formatted(), "no command '%.40s', try 'help'", name.c_str()));
        return;
    }
    command->run({*command, session}, arguments);
}

void Workbench::end()
{
    for (auto const& group : m_groups)
    {
        group->end();
    }
}

Command const* Workbench::find(String const& name) const
{
    auto const search = [&name](CommandGroup const& group) -> Command const*
    {
        for (Command const& command : group.commands())
        {
            if (name == command.name)
            {
                return &command;
            }
        }
        return nullptr;
    };
    Command const* command = search(*this);
    for (auto group = m_groups.begin(); command == nullptr && group != m_groups.end(); ++group)
    {
        command = search(**group);
    }
    return command;
}

void Workbench::help(Call const& call, String const& arguments)
{
    if (!takesNone(call, arguments))
    {
        return;
    }
    String text;
    auto const describe = [&text](CommandGroup const& group)
    {
        for (Command const& each : group.commands())
        {
            String const usage = String(String::Formatted(), "%s %s", each.name, each.arguments);
            bool const fits = usage.length() <= USAGE_COLUMN;
            text.concatf("  %-*s%s%s\n", USAGE_COLUMN, usage.c_str(), fits ? " " : "\n        ", each.purpose);
        }
    };
    describe(*this);
    for (auto const& group : m_groups)
    {
        describe(*group);
    }
    call.write(text);
}

void Workbench::wait(Call const& call, String const& arguments)
{
    unsigned int milliseconds = 0;
    if (!CommandLine::parseNumber(arguments, 1, CommandLine::MAX_MILLISECONDS, milliseconds))
    {
        refuse(call, "MS is a number from 1 to 86400000");
        return;
    }
    call.session->pause(milliseconds);
}

void Workbench::quit(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments))
    {
        call.session->end("quit");
    }
}
