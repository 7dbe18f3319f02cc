#include "zekovar/property/template_context.h"

#include <cstring>

using ZK::Property::Value;
using ZK::Property::Template::Context;

Value const& Context::lookup(ArgToken const& argument)
{
    if (!spend(STEP))
        return invalid();
    if (argument.kind == ArgToken::LITERAL)
        return argument.value;
    String const* const name = argument.value.asString();
    if (name == nullptr || m_frames.isEmpty())
        return invalid();
    if (name->length() == 4 && std::memcmp(name->c_str(), "this", 4) == 0)
        return *m_frames.end()[-1];
    for (Value const* const* frame = m_frames.end(); frame != m_frames.begin();)
    {
        Value const* const member = (*--frame)->find(*name);
        if (!spend(STEP))
            break;
        if (member != nullptr)
            return *member;
    }
    return invalid();
}
