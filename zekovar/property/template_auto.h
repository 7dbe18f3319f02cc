#pragma once

#include "zekovar/property/template_node.h"

namespace ZK::Property::Template
{
/// {{auto name}}: any value as HTML. Texts, numbers, codes and bytes are escaped, the other primitives give nothing.
///
/// An array with objects in it becomes a table with a row for each element and a column for each key, another array
/// nothing. An object becomes headings, if it has containers in it, else a table with a row for each member.
///
/// Values more than `MAX_DEPTH` deep in the rendered one, and a table whose empty cells would take all tables of the
/// rendering past `MAX_EMPTY_CELLS`, are left out, with a warning to the system monitor: a table of n objects without a
/// key in common has n * (n - 1) of them, while the filled ones are never more than the value has members.
class SimpleAuto : public Node
{
public:
    static constexpr unsigned int MAX_EMPTY_CELLS = 1u << 18;

    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;

    /// @name By kind of value
    /// A program may override these and register its class under a name of its own.
    /// @{
    virtual String render(Value const& value);
    virtual String renderArray(Value const& value);
    virtual String renderArrayAsList(Value const& value);
    virtual String renderArrayAsTable(Value const& value);
    virtual String renderObject(Value const& value);
    virtual String renderObjectAsSections(Value const& value);
    virtual String renderObjectAsTable(Value const& value);
    /// @}
};
}
