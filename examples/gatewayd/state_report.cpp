#include "state_report.h"

#include "monitor_list.h"

using ZK::Property::Value;

namespace
{
constexpr unsigned int VALUE_COLUMN = 30;
constexpr unsigned int INDENTATION = 2;

constexpr char const* PAGE = "<!DOCTYPE html>\n"
                             "<html>\n"
                             "<head><title>gatewayd</title></head>\n"
                             "<body>\n"
                             "{{auto this}}</body>\n"
                             "</html>\n";

Value loops()
{
    ZKVector<ZKEventLoopSupervisor::Report> reports;
    ZKEventLoopSupervisor::INSTANCE().getStatus(reports);
    Value loops = ZK::Property::array();
    for (ZKEventLoopSupervisor::Report const& report : reports)
    {
        Value loop;
        loop["loop"] = report.name;
        loop["queuing delay"] = report.queuingDelay;
        loop["processing time"] = report.processingTime;
        loops.add(std::move(loop));
    }
    return loops;
}

Value jobs()
{
    ZKVector<ZK::IExecutor::Description> descriptions;
    ZK::JobSupervisor::INSTANCE().getExecutorDescriptions(descriptions);
    Value executors = ZK::Property::array();
    for (ZK::IExecutor::Description const& description : descriptions)
    {
        Value executor;
        executor["executor"] = description.name;
        executor["suspended"] = description.suspended;
        executor["invoked"] = description.invokedJobs;
        executor["executed"] = description.executedJobs;
        executor["cancelled"] = description.cancelledJobs;
        executors.add(std::move(executor));
    }
    return executors;
}

/// The lines of one record: its first member on a line of its own, and the others below it.
void addRecord(InfoContainer& lines, Value const& record)
{
    unsigned int level = 1;
    for (Value::ConstItem const& member : record)
    {
        lines.add(level, 0, *member.key, member.value->toString());
        level = 2;
    }
}

void addPart(InfoContainer& lines, String const& title, Value const& records)
{
    lines.add(0, 0, title, "");
    for (Value::ConstItem const& record : records)
    {
        addRecord(lines, *record.value);
    }
}

InfoContainer linesOf(Value const& state)
{
    InfoContainer lines;
    if (state.isArray())
    {
        addPart(lines, "State", state);
    }
    else
    {
        for (Value::ConstItem const& part : state)
        {
            addPart(lines, *part.key, *part.value);
        }
    }
    return lines;
}
}

Value StateReport::state(String const& part) const
{
    if (part == "monitors")
    {
        return m_monitors.toValue();
    }
    if (part == "loops")
    {
        return loops();
    }
    if (part == "jobs")
    {
        return jobs();
    }
    Value all;
    if (part == "all")
    {
        all["monitors"] = m_monitors.toValue();
        all["loops"] = loops();
        all["jobs"] = jobs();
    }
    return all;
}

bool StateReport::layOut(Value const& state, String const& layout, String& text)
{
    if (layout == "tree")
    {
        linesOf(state).getString_TreeFormat(text, VALUE_COLUMN, 1, 1);
    }
    else if (layout == "list")
    {
        linesOf(state).getString_ListFormat(text);
    }
    else if (layout == "folder")
    {
        linesOf(state).getString_FolderFormat(text, 2, true);
    }
    else if (layout == "json")
    {
        text = state.dump(0, INDENTATION);
        text += "\n";
    }
    else if (layout == "yaml")
    {
        text = state.toYaml(0, INDENTATION);
        text += "\n";
    }
    else if (layout == "html")
    {
        ZK::Property::Template::Template page;
        page.parse(PAGE);
        text = page.render(state);
    }
    else
    {
        return false;
    }
    return true;
}
