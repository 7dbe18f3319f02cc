#include "report_commands.h"

#include "console.h"

#include <fcntl.h>

using CommandLine::takeWord;
using ZK::Property::Value;

ReportCommands::ReportCommands(Console& console, MonitorList const& monitors)
    : CommandGroup(console), m_report(monitors), m_values(ZK::Property::object())
{
    add("report", "tree|list|folder|json|yaml|html [monitors|loops|jobs|all]", "shows the daemon's state",
        &ReportCommands::report);
    add("set", "PATH JSON", "keeps a value, as in: set port[0].speed 100", &ReportCommands::set);
    add("get", "PATH", "shows a value that is kept, as in: get port", &ReportCommands::get);
    add("render", "FILE", "renders the template in FILE with the state and the values that are kept",
        &ReportCommands::render);
}

void ReportCommands::report(Command const& command, String const& arguments)
{
    String part = arguments;
    String const layout = takeWord(part);
    Value const state = m_report.state(part.isEmpty() ? String("all") : part);
    String text;
    if (state.isInvalid() || !StateReport::layOut(state, layout, text))
    {
        refuse(command, "it takes a layout and a part of the state");
        return;
    }
    m_console.write(text);
}

void ReportCommands::set(Command const& command, String const& arguments)
{
    String text = arguments;
    String const path = takeWord(text);
    if (text.isEmpty())
    {
        refuse(command, "it takes a path and a value");
        return;
    }
    Value value;
    if (XCode const code = value.fromJson(text); code.isErr())
    {
        m_console.say(code.toString());
        return;
    }
    m_values.setByPath(path, value);
}

void ReportCommands::get(Command const& command, String const& arguments)
{
    Value const& values = m_values; // a look doesn't change anything
    Value const& value = values.getByPath(arguments);
    if (arguments.isEmpty())
    {
        refuse(command, "it takes a path");
    }
    else if (value.isInvalid())
    {
        m_console.say(String(String::Formatted(), "there is no %s", arguments.c_str()));
    }
    else
    {
        m_console.say(value.dump(0, 2));
    }
}

void ReportCommands::render(Command const& command, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(command, "it takes a file");
        return;
    }
    TString<char> text;
    XCode code = ZKFile::READ_TSTRING(arguments, text, O_RDONLY, true);
    ZK::Property::Template::Template page;
    if (code.isSuccess())
    {
        code = page.parse(String(text.data(), text.length(), 0, text.length()));
    }
    if (code.isErr())
    {
        m_console.say(String(String::Formatted(), "%s: %s", arguments.c_str(), code.toString().c_str()));
        return;
    }
    Value data = m_report.state("all");
    data["values"] = m_values;
    m_console.write(page.render(data));
}
