#include "timer_commands.h"

#include <climits>

using CommandLine::MAX_MILLISECONDS;
using CommandLine::parseNumber;
using CommandLine::takeWord;

TimerCommands::TimerCommands(ZKEventLoop& loop) : m_loop(loop), m_timers(loop)
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

void TimerCommands::timer(Call const& call, String const& arguments)
{
    String text = arguments;
    unsigned int milliseconds = 0;
    if (!parseNumber(takeWord(text), 1, MAX_MILLISECONDS, milliseconds))
    {
        refuse(call, "MS is a number from 1 to 86400000");
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
        refuse(call, "a text is missing");
        return;
    }
    m_timers.start(call, milliseconds, isPeriodic, text);
}

void TimerCommands::timers(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments))
    {
        call.write(m_timers.report());
    }
}

void TimerCommands::cancel(Call const& call, String const& arguments)
{
    unsigned int number = 0;
    if (!parseNumber(arguments, 1, UINT_MAX, number))
    {
        refuse(call, "N is the number of a timer");
    }
    else if (!m_timers.cancel(number))
    {
        call.say(String(String::Formatted(), "no timer %u, 'timers' lists them", number));
    }
}
