#include "zekovar/property/template_tags.h"

using namespace ZK::Property::Template;
using ZK::Property::ConstIterator;
using ZK::Property::Value;

namespace
{

String bold(String const& text)
{
    String bold("\033[1m");
    return bold.concat(text).concat("\033[0m", 4);
}
}

String SimpleGeneric::render(Context& context)
{
    return m_arguments.isEmpty() ? String() : context.lookup(m_arguments.begin()[0]).toString();
}

String SimpleGeneric::render(Context&, ZKVector<Value> const& arguments)
{
    return arguments.isEmpty() ? String() : arguments[0].toString();
}

String SimpleBold::render(Context&, ZKVector<Value> const& arguments)
{
    return arguments.isEmpty() ? String() : bold(arguments[0].toString());
}

String BlockGeneric::render(Context& context, ZKVector<Value> const& arguments)
{
    if (arguments.isEmpty())
        return String();
    Value const& value = arguments[0];
    if (!value.toBoolOr(false))
        return renderInverted(context);
    if (!value.isArray())
        return renderMainWith(context, value);
    String text;
    for (unsigned int i = 0, size = value.size(); i < size && !context.isExhausted(); i++)
        text += renderMainWith(context, value[i]);
    return text;
}

String BlockBold::render(Context& context, ZKVector<Value> const&)
{
    return bold(renderMain(context));
}

String BlockIf::render(Context& context, ZKVector<Value> const& arguments)
{
    if (arguments.isEmpty())
        return String();
    Value const& value = arguments[0];
    return value.toBoolOr(false) ? renderMainWith(context, value) : renderInverted(context);
}

String BlockEach::render(Context& context, ZKVector<Value> const& arguments)
{
    if (arguments.isEmpty())
        return String();
    Value const& value = arguments[0];
    if (!value.toBoolOr(false))
        return renderInverted(context);
    String text;
    ConstIterator const end = value.end();
    for (ConstIterator element = value.begin(); !(element == end) && !context.isExhausted(); ++element)
        text += renderMainWith(context, *(*element).value);
    return text;
}
