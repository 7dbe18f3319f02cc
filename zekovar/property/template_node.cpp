#include "zekovar/property/template_node.h"

#include <typeinfo>

using namespace ZK::Property::Template;
using ZK::Property::Value;

namespace
{

/// Text is most of a template, so it is appended from where it lies, not copied out first.
bool isText(Node const& node)
{
    return &typeid(node) == &typeid(Text);
}
}

String Node::render(Context& context)
{
    return render(context, resolveArgs(context));
}

ZKVector<Value> Node::resolveArgs(Context& context) const
{
    ZKVector<Value> values;
    values.enlarge(m_arguments.size());
    for (ArgToken const& argument : m_arguments)
        values.add(context.lookup(argument));
    return values;
}

String Node::render(Context&, ZKVector<Value> const&)
{
    return String();
}

String Node::escapeHtml(String const& text)
{
    String escaped;
    char const* const characters = text.c_str();
    int const length = text.length();
    int copied = 0;
    for (int i = 0; i < length; i++)
    {
        char const character = characters[i];
        if (character != '<' && character != '>' && character != '"' && character != '&')
            continue;
        escaped.concat(characters + copied, i - copied).concat("&lt;", 4);
        copied = i + 1;
    }
    if (copied == 0)
        return text;
    return escaped.concat(characters + copied, length - copied);
}

String Text::render(Context&)
{
    return m_text;
}

void Sequence::add(ZKLWPtr<Node>&& child)
{
    if (m_children.size() == m_children.capacity())
        m_children.enlarge(2 * m_children.size()); // by doubling, since there may be many
    m_children.add(std::move(child));
}

String Sequence::render(Context& context)
{
    String text;
    for (ZKLWPtr<Node> const& child : m_children)
    {
        int const before = text.length();
        if (isText(*child))
            text += static_cast<Text const&>(*child).getText();
        else if (before == 0)
            text = child->render(context);
        else
            text += child->render(context);
        if (!context.spend(Context::STEP + static_cast<unsigned int>(text.length() - before)))
            break;
    }
    return text;
}

void Block::setSequences(ZKLWPtr<Node> const& main, ZKLWPtr<Node> const& inverted)
{
    m_main = main;
    m_inverted = inverted;
}

String Block::renderMain(Context& context) const
{
    return renderSequence(m_main.getObj(), context);
}

String Block::renderMainWith(Context& context, Value const& value) const
{
    context.push(value);
    String text = renderSequence(m_main.getObj(), context);
    context.pop();
    return text;
}

String Block::renderInverted(Context& context) const
{
    return renderSequence(m_inverted.getObj(), context);
}

String Block::renderSequence(Node* sequence, Context& context)
{
    return sequence != nullptr && context.spend(Context::STEP) ? sequence->render(context) : String();
}
