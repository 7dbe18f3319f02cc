#include "workbench.h"

#include "console.h"
#include "crypto_commands.h"
#include "debug_commands.h"
#include "job_commands.h"
#include "link_commands.h"
#include "loop_commands.h"
#include "regex_commands.h"
#include "report_commands.h"
#include "timer_commands.h"

#include <cctype>

namespace
{
constexpr int USAGE_COLUMN = 28;
}

Workbench::Workbench(ZKEventLoop& loop, Console& console) : CommandGroup(console)
{
    add("help", "", "lists the commands", &Workbench::help);
    add("wait", "MS", "takes no further command for that time; for scripts", &Workbench::wait);
    add("quit", "", "ends the daemon", &Workbench::quit);

    m_groups.push_back(std::make_unique<LoopCommands>(console, loop));
    m_groups.push_back(std::make_unique<TimerCommands>(console, loop));
    m_groups.push_back(std::make_unique<DebugCommands>(console, m_monitors));
    m_groups.push_back(std::make_unique<LinkCommands>(console, loop));
    m_groups.push_back(std::make_unique<JobCommands>(console));
    m_groups.push_back(std::make_unique<RegexCommands>(console));
    m_groups.push_back(std::make_unique<CryptoCommands>(console));
    m_groups.push_back(std::make_unique<ReportCommands>(console, m_monitors));
}

void Workbench::execute(String const& line)
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
        m_console.say(String(String::Formatted(), "no command '%.40s', try 'help'", name.c_str()));
        return;
    }
    command->run(*command, arguments);
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

void Workbench::help(Command const& command, String const& arguments)
{
    if (!takesNone(command, arguments))
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
    m_console.write(text);
}

void Workbench::wait(Command const& command, String const& arguments)
{
    unsigned int milliseconds = 0;
    if (!CommandLine::parseNumber(arguments, 1, CommandLine::MAX_MILLISECONDS, milliseconds))
    {
        refuse(command, "MS is a number from 1 to 86400000");
        return;
    }
    m_console.pause(milliseconds);
}

void Workbench::quit(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        m_console.end("quit");
    }
}
