#pragma once

#include "zekovar/property/template_node.h"

// The tags that every template knows.

namespace ZK::Property::Template
{
/// {{name}}: the value's text as it is, without escaping.
class SimpleGeneric final : public Node
{
public:
    /// Without copies of the arguments: most tags are of this class.
    String render(Context& context) override;

    String render(Context& context, ZKVector<Value> const& arguments) override;
};

/// {{bold name}}: the value's text in bold, by the escape sequences of a terminal.
class SimpleBold : public Node
{
public:
    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;
};

/// {{#name}}: once for each element of an array, once for any other value that is true; the element or the value is on
/// the stack meanwhile. A value that is false renders what stands behind `else`.
///
/// True is what `Value::toBoolOr` calls so: of the texts only "true", "enabled", "enable", "yes" and "on" are.
class BlockGeneric : public Block
{
public:
    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;
};

/// {{#bold}}: what stands inside in bold. It takes no arguments and puts nothing on the stack.
class BlockBold : public Block
{
public:
    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;
};

/// {{#if name}}: once for a value that is true, also for an array, with the value on the stack; else what stands behind
/// `else`.
class BlockIf : public Block
{
public:
    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;
};

/// {{#each name}}: once for each element of an array and each member of an object, with it on the stack, and once for
/// any other value that is true; else what stands behind `else`.
class BlockEach : public Block
{
public:
    using Node::render;
    String render(Context& context, ZKVector<Value> const& arguments) override;
};
}
