#include "zekovar/property/template_auto.h"

#include "zekovar/diagnostics/system_monitor.h"

#include <cstdint>
#include <syslog.h>

using namespace ZK::Property::Template;
using ZK::Property::MAX_DEPTH;
using ZK::Property::Value;

namespace
{

/// What the calling thread's rendering of one value has used up. The operations have no argument for it, and the node
/// is shared by threads.
struct Usage
{
    unsigned int depth = 0;
    unsigned int emptyCells = 0;
    unsigned int values = 0; ///< that were read, also those that gave no text
    bool isCut = false;
};

constinit thread_local Usage t_usage;

/// A value inside all others whose rendering this thread is at.
class Level
{
public:
    explicit Level(Value const& value)
    {
        if (t_usage.depth++ == 0)
            t_usage = {.depth = 1};
        t_usage.values += value.size();
    }

    Level(Level const&) = delete;

    ~Level()
    {
        if (--t_usage.depth == 0 && t_usage.isCut)
            ZK::Detail::logToSystemMonitor(LOG_WARNING,
                                           "TEMPLATE: A VALUE IS TOO DEEP OR TOO LARGE FOR 'auto', PARTS ARE MISSING");
    }

    bool isTooDeep() const { return cutIf(t_usage.depth > MAX_DEPTH + 1); }

    static bool takeEmptyCells(uint64_t count)
    {
        if (t_usage.depth == 0) // a program calls for a table on its own
            t_usage.emptyCells = 0;
        if (cutIf(count > SimpleAuto::MAX_EMPTY_CELLS - t_usage.emptyCells))
            return false;
        t_usage.emptyCells += static_cast<unsigned int>(count);
        return true;
    }

private:
    static bool cutIf(bool condition)
    {
        t_usage.isCut |= condition;
        return condition;
    }
};

bool hasObject(Value const& array)
{
    for (unsigned int i = 0, size = array.size(); i < size; i++)
    {
        if (array[i].isObject())
            return true;
    }
    return false;
}

/// The keys of all objects in the array, in the order in which they first appear, as members of an object.
Value columnsOf(Value const& array)
{
    Value columns = ZK::Property::object();
    for (unsigned int i = 0, size = array.size(); i < size; i++)
    {
        Value const& row = array[i];
        for (unsigned int j = 0; Value::Member const* const member = row.memberAt(j); j++)
        {
            if (!columns.contains(member->key))
                columns.setMember(member->key, nullptr);
        }
    }
    return columns;
}

/// How many cells of the array's table no member fills.
uint64_t countEmptyCells(Value const& array, unsigned int columns)
{
    uint64_t count = static_cast<uint64_t>(array.size()) * columns;
    for (unsigned int i = 0, size = array.size(); i < size; i++)
        count -= array[i].isObject() ? array[i].size() : 0;
    return count;
}
}

String SimpleAuto::render(Context& context, ZKVector<Value> const& arguments)
{
    if (arguments.isEmpty())
        return String();
    t_usage.values = 0; // an operation that a program overrides may leave it alone
    String text = render(arguments[0]);
    context.spend(t_usage.values);
    return text;
}

String SimpleAuto::render(Value const& value)
{
    Level const level(value);
    if (level.isTooDeep())
        return String();
    switch (value.getType())
    {
    case Value::Type::INTEGER:
    case Value::Type::FLOATING:
    case Value::Type::XCODE:
    case Value::Type::STRING:
    case Value::Type::BINARY:
        return escapeHtml(value.toString());
    case Value::Type::ARRAY:
        return renderArray(value);
    case Value::Type::OBJECT:
        return renderObject(value);
    default:
        return String();
    }
}

String SimpleAuto::renderArray(Value const& value)
{
    return hasObject(value) ? renderArrayAsTable(value) : renderArrayAsList(value);
}

String SimpleAuto::renderArrayAsList(Value const&)
{
    return String();
}

String SimpleAuto::renderArrayAsTable(Value const& value)
{
    Value const columns = columnsOf(value);
    if (!Level::takeEmptyCells(countEmptyCells(value, columns.size())))
        return String();
    String text("<table>\n<tr>\n");
    for (unsigned int i = 0; Value::Member const* const column = columns.memberAt(i); i++)
        text.concat("<th>", 4).concat(escapeHtml(column->key)).concat("</th>", 5);
    text += "</tr>\n";
    for (unsigned int i = 0, size = value.size(); i < size; i++)
    {
        Value const& row = value[i];
        text += "<tr>\n";
        for (unsigned int j = 0; Value::Member const* const column = columns.memberAt(j); j++)
        {
            text.concat("<td>", 4);
            if (Value const* const cell = row.find(column->key))
                text += render(*cell);
            text.concat("</td>", 5);
        }
        text += "</tr>\n";
    }
    return text += "</table>\n";
}

String SimpleAuto::renderObject(Value const& value)
{
    for (unsigned int i = 0; Value::Member const* const member = value.memberAt(i); i++)
    {
        if (member->value.isArray() || member->value.isObject())
            return renderObjectAsSections(value);
    }
    return renderObjectAsTable(value);
}

String SimpleAuto::renderObjectAsSections(Value const& value)
{
    String text;
    for (unsigned int i = 0; Value::Member const* const member = value.memberAt(i); i++)
        text.concat("<h1>", 4).concat(escapeHtml(member->key)).concat("</h1>\n", 6).concat(render(member->value));
    return text;
}

String SimpleAuto::renderObjectAsTable(Value const& value)
{
    String text("<table>\n");
    for (unsigned int i = 0; Value::Member const* const member = value.memberAt(i); i++)
    {
        text.concat("<tr><td>", 8).concat(escapeHtml(member->key)).concat(":</td><td>", 10);
        text.concat(render(member->value)).concat("</td></tr>\n", 11);
    }
    return text += "</table>\n";
}
