#include "zekovar/property/waiting.h"

namespace ZK::Property
{
Value::Waiting::~Waiting()
{
    for (Child const& child : m_children)
        child.destroy();
}

Value& Value::Waiting::childAt(unsigned int index)
{
    for (Child const& child : m_children)
    {
        if (child.element != nullptr && child.index == index && child.element->whereWaiting() == this)
            return *child.element;
    }
    return add({new Value(), nullptr, index});
}

Value& Value::Waiting::childAt(String const& key)
{
    for (Child const& child : m_children)
    {
        if (child.node != nullptr && child.node->key == key && child.node->value.whereWaiting() == this)
            return child.node->value;
    }
    return add({nullptr, new Member{key, Value()}, 0});
}

Value& Value::Waiting::add(Child const& child)
{
    if (m_children.size() == LARGEST)
    {
        m_children.begin()->destroy();
        forget(0);
    }
    m_children.add(child);
    child.value().m_payload.waiting = this;
    return child.value();
}

void Value::Waiting::join(Value& value)
{
    for (unsigned int i = 0; i < m_children.size(); i++)
    {
        Child const child = m_children.begin()[i];
        if (&child.value() != &value)
            continue;
        bool const joined = child.node != nullptr ? m_parent->onObjectValueInitialized(child.node)
                                                  : m_parent->onArrayValueInitialized(child.index, child.element);
        if (!joined)
            return;
        forget(i);
        if (m_children.isEmpty())
            m_parent->setWaiting(nullptr);
        return;
    }
}

// The child is deleted, or belongs to the parent's store.
void Value::Waiting::forget(unsigned int place)
{
    for (unsigned int i = place + 1; i < m_children.size(); i++)
        m_children.begin()[i - 1] = m_children.begin()[i];
    m_children.removeLast();
}
}
