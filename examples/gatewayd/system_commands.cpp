#include "system_commands.h"

#include "session.h"

#include <climits>
#include <ctime>
#include <unistd.h>

using CommandLine::parseNumber;
using CommandLine::takeWord;
using ZK::Clock;

namespace
{
/// A field of a date, which "*" leaves open.
bool parseField(String const& text, int& field)
{
    unsigned int number = 0;
    if (text == "*")
    {
        field = _TimeSpecification::UNSET;
        return true;
    }
    bool const isNumber = parseNumber(text, 0, 9999, number);
    field = static_cast<int>(number);
    return isNumber;
}

/// Takes the text up to `separator`, which goes too, or all of it.
String takeUpTo(String& text, char separator)
{
    int const end = text.indexOf(separator);
    String const part = end < 0 ? text : text.substring(0, end);
    text = end < 0 ? String() : text.substring(end + 1);
    return part;
}

/// Reads "*-12-24 18:00".
bool parseSpecification(String text, _Time_Absolute& date)
{
    return parseField(takeUpTo(text, '-'), date.year) && parseField(takeUpTo(text, '-'), date.month) &&
           parseField(takeUpTo(text, ' '), date.day) && parseField(takeUpTo(text, ':'), date.hour) &&
           parseField(text, date.minute);
}
}

SystemCommands::SystemCommands() : m_testers("Self-test")
{
    add("date", "", "shows the time in UTC and in the local zone", &SystemCommands::date);
    add("schedule", "YEAR-MONTH-DAY HOUR:MINUTE",
        "shows the next such moment; * leaves a field open, as in: *-*-1 3:30", &SystemCommands::schedule);
    add("memory", "[PID]", "shows the memory of the system and of a process, this one if there is no PID",
        &SystemCommands::memory);
    add("selftest", "[NAME]", "runs the library's tests of itself, or those of a name", &SystemCommands::selfTest);
}

void SystemCommands::end()
{
    m_testers.join();
}

void SystemCommands::date(Call const& call, String const& arguments)
{
    if (!takesNone(call, arguments))
    {
        return;
    }
    Clock const now = Clock::NOW(Clock::Zone::UTC);
    call.write(String(String::Formatted(), "UTC    %s\nlocal  %s\n", now.toString(Clock::Format::LONG).c_str(),
                      now.local().toString(Clock::Format::LONG).c_str()));
}

void SystemCommands::schedule(Call const& call, String const& arguments)
{
    _TimeSpecification next;
    _TimeSpecification::RESET_ZERO(next.m_offset);
    if (!parseSpecification(arguments, next.m_specification))
    {
        refuse(call, "it takes a date and a time of day");
        return;
    }
    int east = 0; // seconds
    unsigned int local = static_cast<unsigned int>(std::time(nullptr));
    unsigned int moment = 0;
    String error;
    if (XCode code = Clock::GET_LOCALTIME_OFFSET(east); code.isErr())
    {
        call.say(code.toString());
    }
    else if (SECONDS_SHIFT_SECONDS(local, east).isErr() ||
             next.calculate(local, _TimeSpecification::SPEC_START, moment, error).isErr())
    {
        call.say(error.isEmpty() ? String("that can't be calculated") : error);
    }
    else
    {
        call.say(Clock(static_cast<long long>(moment), Clock::Zone::LOCAL).toString(Clock::Format::LONG));
    }
}

void SystemCommands::memory(Call const& call, String const& arguments)
{
    unsigned int pid = static_cast<unsigned int>(getpid());
    if (!arguments.isEmpty() && !parseNumber(arguments, 1, INT_MAX, pid))
    {
        refuse(call, "PID is the number of a process");
        return;
    }
    ZK::MemInfo::Overview all{};
    ZK::MemInfo::Process one{};
    XCode code = ZK::MemInfo::OVERVIEW(all);
    if (code.isSuccess())
    {
        code = ZK::MemInfo::PROCESS(static_cast<int>(pid), one);
    }
    if (code.isErr())
    {
        call.say(code.toString());
        return;
    }
    call.write(String(String::Formatted(),
                      "system   total %u kB, available %u kB, free %u kB, buffers %u kB, cached %u kB, shared %u kB\n"
                      "process  resident %u kB (peak %u kB), virtual %u kB (peak %u kB)\n",
                      all.total, all.available, all.free, all.buffers, all.cached, all.shared, one.residentSize,
                      one.peakResidentSize, one.virtualSize, one.peakVirtualSize));
}

void SystemCommands::selfTest(Call const& call, String const& arguments)
{
    auto const test = [call, arguments]
    {
        auto const print = [&call](String const& line) { call.write(line); };
        ZKVector<String> names;
        names.add(arguments);
        ZK::Test::Manager& manager = ZK::Test::Manager::INSTANCE();
        unsigned int const failures = arguments.isEmpty() ? manager.run(print) : manager.run(names, print);
        call.say(String(String::Formatted(), "%u failures", failures));
        call.session->resume();
    };
    call.session->pause();
    if (m_testers.run(test).isErr())
    {
        call.say("too many tests are under way");
        call.session->resume();
    }
}
