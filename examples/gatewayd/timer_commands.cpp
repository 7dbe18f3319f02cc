#include "timer_commands.h"

#include "console.h"

#include <climits>

using CommandLine::MAX_MILLISECONDS;
using CommandLine::parseNumber;
using CommandLine::takeWord;

TimerCommands::TimerCommands(Console& console, ZKEventLoop& loop)
    : CommandGroup(console), m_loop(loop), m_timers(loop, console)
{
    add("timer", "MS [periodic] TEXT", "shows TEXT after that time, or again and again", &TimerCommands::timer);
    add("timers", "", "lists the timers", &TimerCommands::timers);
    add("cancel", "N", "ends timer N", &TimerCommands::cancel);
}

void TimerCommands::end()
{
    ZKAutoLock<ZKEventSync> stopped(m_loop.getEventSync(EventPrio::LOW));
    m_timers.clear();
}

void TimerCommands::timer(Command const& command, String const& arguments)
{
    String text = arguments;
    unsigned int milliseconds = 0;
    if (!parseNumber(takeWord(text), 1, MAX_MILLISECONDS, milliseconds))
    {
        refuse(command, "MS is a number from 1 to 86400000");
        return;
    }
    String rest = text;
    bool const isPeriodic = takeWord(rest) == "periodic";
    if (isPeriodic)
    {
        text = rest;
    }
    if (text.isEmpty())
    {
        refuse(command, "a text is missing");
        return;
    }
    m_timers.start(milliseconds, isPeriodic, text);
}

void TimerCommands::timers(Command const& command, String const& arguments)
{
    if (takesNone(command, arguments))
    {
        m_console.write(m_timers.report());
    }
}

void TimerCommands::cancel(Command const& command, String const& arguments)
{
    unsigned int number = 0;
    if (!parseNumber(arguments, 1, UINT_MAX, number))
    {
        refuse(command, "N is the number of a timer");
    }
    else if (!m_timers.cancel(number))
    {
        m_console.say(String(String::Formatted(), "no timer %u, 'timers' lists them", number));
    }
}
