#include "report_commands.h"

#include <fcntl.h>

using CommandLine::takeWord;
using ZK::Property::Value;

ReportCommands::ReportCommands(MonitorList const& monitors) : m_report(monitors), m_values(ZK::Property::object())
{
    add("report", "tree|list|folder|json|yaml|html [monitors|loops|jobs|all]", "shows the daemon's state",
        &ReportCommands::report);
    add("set", "PATH JSON", "keeps a value, as in: set port[0].speed 100", &ReportCommands::set);
    add("get", "PATH", "shows a value that is kept, as in: get port", &ReportCommands::get);
    add("render", "FILE", "renders the template in FILE with the state and the values that are kept",
        &ReportCommands::render);
}

void ReportCommands::report(Call const& call, String const& arguments)
{
    String part = arguments;
    String const layout = takeWord(part);
    Value const state = m_report.state(part.isEmpty() ? String("all") : part);
    String text;
    if (state.isInvalid() || !StateReport::layOut(state, layout, text))
    {
        refuse(call, "it takes a layout and a part of the state");
        return;
    }
    call.write(text);
}

void ReportCommands::set(Call const& call, String const& arguments)
{
    String text = arguments;
    String const path = takeWord(text);
    if (text.isEmpty())
    {
        refuse(call, "it takes a path and a value");
        return;
    }
    Value value;
    if (XCode const code = value.fromJson(text); code.isErr())
    {
        call.say(code.toString());
        return;
    }
    m_values.setByPath(path, value);
}

void ReportCommands::get(Call const& call, String const& arguments)
{
    Value const& values = m_values; // a look doesn't change anything
    Value const& value = values.getByPath(arguments);
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a path");
    }
    else if (value.isInvalid())
    {
        call.say(String(String::Formatted(), "there is no %s", arguments.c_str()));
    }
    else
    {
        call.say(value.dump(0, 2));
    }
}

void ReportCommands::render(Call const& call, String const& arguments)
{
    if (arguments.isEmpty())
    {
        refuse(call, "it takes a file");
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
        call.say(String(String::Formatted(), "%s: %s", arguments.c_str(), code.toString().c_str()));
        return;
    }
    Value data = m_report.state("all");
    data["values"] = m_values;
    call.write(page.render(data));
}
