#pragma once

#include "zekovar/foundation/lw_ptr.h"
#include "zekovar/foundation/ref_counted.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/property/template_context.h"
#include "zekovar/property/template_token.h"

namespace ZK::Property::Template
{
/// A part of a parsed template, and the base of what a program adds for simple tags:
///
///     class Unit : public ZK::Property::Template::Node // {{unit speed "kbit/s"}}
///     {
///     public:
///         String render(Context&, ZKVector<Value> const& arguments) override
///         {
///             return arguments[0].toString() + " " + arguments[1].toString();
///         }
///     };
///     ZKStaticFactory<Node, Unit> const units("unit"); // in place before the template is parsed
///
/// Nodes don't change once they are parsed; a template may be rendered by several threads at once, so what a program
/// adds changes nothing of its own either, or guards it.
class Node : public RefCounted
{
public:
    Node() : RefCounted(nullptr) {}

    /// Looks the arguments up and renders with them.
    virtual String render(Context& context);

    /// The arguments' values, in their order.
    virtual ZKVector<Value> resolveArgs(Context& context) const;

    /// The text of this node; here the empty one. `arguments` has as many elements as the tag has arguments behind the
    /// name, and reads as "Invalid" beyond them.
    virtual String render(Context& context, ZKVector<Value> const& arguments);

    /// For the parser, before the first rendering.
    void setArguments(ZKVector<ArgToken>&& arguments) { m_arguments = std::move(arguments); }

    /// Replaces each "<", ">", `"` and "&" by "&lt;", one and the same text for all four.
    static String escapeHtml(String const& text);

protected:
    ZKVector<ArgToken> m_arguments;
};

/// Text between tags.
class Text : public Node
{
public:
    explicit Text(String const& text) : m_text(text) {}

    using Node::render;
    String render(Context& context) override;

    String const& getText() const { return m_text; }

private:
    String m_text;
};

/// Nodes one behind the other.
class Sequence : public Node
{
public:
    void add(ZKLWPtr<Node>&& child);

    using Node::render;

    /// Ends early once the context has no work left.
    String render(Context& context) override;

private:
    ZKVector<ZKLWPtr<Node>> m_children;
};

/// Base of sections: what stands between the tags, and what stands behind an `else` there. For an inverted section the
/// parser swaps the two. A program adds sections of its own by `ZKStaticFactory<Block, ...>`.
class Block : public Node
{
public:
    /// For the parser, before the first rendering.
    void setSequences(ZKLWPtr<Node> const& main, ZKLWPtr<Node> const& inverted);

protected:
    /// Renders the main sequence; empty once the context has no work left.
    String renderMain(Context& context) const;

    /// As above, with `value` on the stack meanwhile.
    String renderMainWith(Context& context, Value const& value) const;

    String renderInverted(Context& context) const;

private:
    static String renderSequence(Node* sequence, Context& context);

    ZKLWPtr<Node> m_main;
    ZKLWPtr<Node> m_inverted;
};
}
