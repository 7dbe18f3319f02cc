#include "debug_commands.h"

#include "console.h"
#include "monitor_list.h"

#include <syslog.h>

using CommandLine::parseNumber;

namespace
{
constexpr RtdMonitorID s_registered[] = {MON_SYSTEM, MON_EVENT, MON_JOB};

bool parseMonitor(String const& text, RtdMonitorID& id)
{
    for (int row = MON_NO; row < RTD_MONITOR_COUNT; ++row)
    {
        auto const candidate = static_cast<RtdMonitorID>(row);
        String const name = getRtdMonitorInfo(candidate)->name;
        if (!name.isEmpty() && (text == name || text == String(String::Formatted(), "%d", row)))
        {
            id = candidate;
            return true;
        }
    }
    return false;
}

bool parseSeverity(String const& text, int& severity)
{
    unsigned int number = 0;
    severity =
        parseNumber(text, LOG_EMERG, LOG_DEBUG, number) ? static_cast<int>(number) : RTD::GET_SYSLOG_SEVERITY(text);
    return severity >= 0;
}
}

DebugCommands::DebugCommands(MonitorList const& monitors)
    : m_monitors(monitors),
      m_enableOnCrit(
          ZK::bindArgs(CRIT::INSTANCE().getAsyncContext(), &DebugCommands::enable, this, std::placeholders::_1)),
      m_disableOnCrit(ZK::bindArgs(CRIT::INSTANCE().getAsyncContext(), &DebugCommands::disable, this,
                                   std::placeholders::_1, std::placeholders::_2))
{
    add("debug", "NAME|ID [SLOT [PORT]] SESSION SEVERITY LEVEL", "lets a monitor's debug lines up to LEVEL pass",
        &DebugCommands::debug);
    add("nodebug", "SESSION", "closes the session on all monitors", &DebugCommands::nodebug);
    add("monitors", "", "lists the monitors with their levels and sessions", &DebugCommands::monitors);

    for (RtdMonitorID id : s_registered)
    {
        RTD::REPOSITORY::_INSTANCE()->addMonitor(id, RTD::NO_SLOT, RTD::NO_PORT);
    }
}

DebugCommands::~DebugCommands()
{
    for (RtdMonitorID id : s_registered)
    {
        RTD::REPOSITORY::_INSTANCE()->removeMonitor(id, RTD::NO_SLOT, RTD::NO_PORT);
    }
}

void DebugCommands::end()
{
    // CRIT stops behind the requests that are under way
    ZKAutoLock<ZKEventSync> stopped(CRIT::INSTANCE().getEventSync(EventPrio::LOW));
}

void DebugCommands::debug(Call const& call, String const& arguments)
{
    Request request(call);
    if (char const* const fault = parse(arguments, request))
    {
        refuse(call, fault);
        return;
    }
    m_enableOnCrit(request);
}

/// What is wrong with the arguments, or null.
char const* DebugCommands::parse(String const& arguments, Request& request) const
{
    std::vector<String> const words = CommandLine::wordsOf(arguments);
    std::size_t const count = words.size();
    if (count < 4 || count > 6)
    {
        return "it takes a monitor, a session, a severity and a level";
    }
    unsigned int level = 0;
    if (!parseMonitor(words[0], request.id))
    {
        return "there is no such monitor";
    }
    if (count > 4 && !parseNumber(words[1], 0, RTD::NO_SLOT - 1, request.slot))
    {
        return "SLOT is a number from 0 to 253";
    }
    if (count > 5 && !parseNumber(words[2], 0, RTD::NO_PORT - 1, request.port))
    {
        return "PORT is a number from 0 to 65533";
    }
    if (!parseSeverity(words[count - 2], request.severity))
    {
        return "SEVERITY is emerg, alert, crit, err, warn, notice, info or debug, or its number from 0 to 7";
    }
    if (!parseNumber(words[count - 1], 0, 9, level))
    {
        return "LEVEL is a number from 0 to 9";
    }
    request.session = words[count - 3];
    request.level = static_cast<int>(level);
    return nullptr;
}

void DebugCommands::enable(Request const& request)
{
    String name;
    RTD::BUILD_MONITOR_NAME(name, getRtdMonitorInfo(request.id)->name, request.slot, request.port, ":", "/");
    ZKPPtr<RTD::REPOSITORY>& repository = RTD::REPOSITORY::_INSTANCE();
    ZKPPtr<RTD::Monitor> const monitor = repository->getMonitor(request.id, request.slot, request.port);
    if (!repository->enableMonitor(monitor.getObj(), request.session, request.severity, request.level))
    {
        request.call.say(
            String(String::Formatted(), "%s has no monitor, 'monitors' lists those there are", name.c_str()));
        return;
    }
    request.call.say(String(String::Formatted(), "%s lets debug lines up to level %d pass", name.c_str(),
                            monitor->getEffectiveDebugLevel()));
}

void DebugCommands::nodebug(Call const& call, String const& arguments)
{
    std::vector<String> const words = CommandLine::wordsOf(arguments);
    if (words.size() != 1)
    {
        refuse(call, "it takes the name of a session");
        return;
    }
    m_disableOnCrit(call, words[0]);
}

void DebugCommands::disable(Call const& call, String const& session)
{
    bool const wasOpen = RTD::REPOSITORY::_INSTANCE()->disableMonitor(session);
    call.say(String(String::Formatted(), wasOpen ? "session %s is closed" : "there is no session %s", session.c_str()));
}

void DebugCommands::monitors(Call const& call, String const& arguments)
{
    if (takesNone(call, arguments))
    {
        call.write(m_monitors.report());
    }
}
