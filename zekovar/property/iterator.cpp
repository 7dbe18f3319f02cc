#include "zekovar/property/iterator.h"

#include "zekovar/property/value.h"

#include <algorithm>
#include <typeinfo>

namespace ZK::Property
{
namespace
{
// Only a ConstIterator, or one at the end, gets at what is constant in truth.
Item itemOf(unsigned int place, String const& key, Value const& value)
{
    return {place, &key, const_cast<Value*>(&value)};
}
}

bool PlaceIterator::isEqual(IteratorIf const& other) const
{
    if (typeid(*this) != typeid(other))
        return false;
    auto const& place = static_cast<PlaceIterator const&>(other);
    return m_container == place.m_container && std::min(m_place, count()) == std::min(place.m_place, count());
}

void PlaceIterator::initBegin(Value* container)
{
    m_container = container;
    m_place = 0;
}

void PlaceIterator::initEnd(Value* container)
{
    m_container = container;
    m_place = count();
}

void PlaceIterator::increment()
{
    m_place = std::min(m_place + 1, count());
}

void PlaceIterator::decrement()
{
    m_place = std::min(m_place, count());
    if (m_place > 0)
        m_place--;
}

Value* PlaceIterator::getContainer() const
{
    return m_container;
}

std::unique_ptr<IteratorIf> ArrayIterator::clone() const
{
    return std::make_unique<ArrayIterator>(*this);
}

Item ArrayIterator::getCurrent() const
{
    return itemOf(m_place, String::s_empty, std::as_const(*m_container)[m_place]);
}

unsigned int ArrayIterator::count() const
{
    return m_container->isArray() ? m_container->size() : 0;
}

std::unique_ptr<IteratorIf> ObjectIterator::clone() const
{
    return std::make_unique<ObjectIterator>(*this);
}

Item ObjectIterator::getCurrent() const
{
    Value::Member const* const member = m_container->memberAt(m_place);
    return member != nullptr ? itemOf(m_place, member->key, member->value)
                             : itemOf(m_place, String::s_empty, invalid());
}

unsigned int ObjectIterator::count() const
{
    return m_container->isObject() ? m_container->size() : 0;
}

std::unique_ptr<IteratorIf> PrimitiveIterator::clone() const
{
    return std::make_unique<PrimitiveIterator>(*this);
}

Item PrimitiveIterator::getCurrent() const
{
    return itemOf(m_place, String::s_empty, m_place == 0 ? *m_container : invalid());
}

unsigned int PrimitiveIterator::count() const
{
    return 1;
}

ConstIterator::ConstIterator(ConstIterator const& other)
    : m_iterator(other.m_iterator != nullptr ? other.m_iterator->clone() : nullptr)
{
}

ConstIterator& ConstIterator::operator=(ConstIterator const& other)
{
    m_iterator = other.m_iterator != nullptr ? other.m_iterator->clone() : nullptr;
    return *this;
}

ConstIterator& ConstIterator::operator++()
{
    if (m_iterator != nullptr)
        m_iterator->increment();
    return *this;
}

ConstIterator ConstIterator::operator++(int)
{
    ConstIterator const before(*this);
    ++*this;
    return before;
}

ConstIterator& ConstIterator::operator--()
{
    if (m_iterator != nullptr)
        m_iterator->decrement();
    return *this;
}

ConstIterator ConstIterator::operator--(int)
{
    ConstIterator const before(*this);
    --*this;
    return before;
}

ConstItem ConstIterator::operator*() const
{
    if (m_iterator == nullptr)
        return {0, &String::s_empty, &invalid()};
    Item const item = m_iterator->getCurrent();
    return {item.index, item.key, item.value};
}

bool ConstIterator::isEqual(ConstIterator const& other) const
{
    if (m_iterator == nullptr || other.m_iterator == nullptr)
        return m_iterator == other.m_iterator;
    return m_iterator->isEqual(*other.m_iterator);
}

Iterator& Iterator::operator++()
{
    ConstIterator::operator++();
    return *this;
}

Iterator Iterator::operator++(int)
{
    Iterator const before(*this);
    ++*this;
    return before;
}

Iterator& Iterator::operator--()
{
    ConstIterator::operator--();
    return *this;
}

Iterator Iterator::operator--(int)
{
    Iterator const before(*this);
    --*this;
    return before;
}

Item Iterator::operator*() const
{
    if (m_iterator == nullptr)
        return itemOf(0, String::s_empty, invalid());
    m_iterator->getContainer()->handOutChildren();
    return m_iterator->getCurrent();
}
}
