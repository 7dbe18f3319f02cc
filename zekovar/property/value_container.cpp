#include "zekovar/property/store.h"

namespace ZK::Property
{
void Value::add(Value&& value)
{
    auto element = std::make_unique<Value>(std::move(value));
    writableStore(Type::ARRAY).elements().add(std::move(element));
}

void Value::insert(unsigned int index, Value const& value)
{
    auto element = std::make_unique<Value>(value);
    Store& store = writableStore(Type::ARRAY);
    if (index > store.size() && index - store.size() > MAX_ARRAY_GAP)
        return;
    fillArrayWithNullValues(index);
    store.elements().insert(index, std::move(element));
}

void Value::setMember(String&& key, Value&& value)
{
    std::unique_ptr<Member> member(new Member{std::move(key), std::move(value)});
    Store& store = writableStore(Type::OBJECT);
    if (Member* const present = store.find(member->key))
        present->value = std::move(member->value);
    else
        store.addMember(std::move(member));
}

void Value::reserve(unsigned int count)
{
    copyOnWrite();
    if (hasStore())
        m_payload.store->reserve(count);
}

void Value::remove(unsigned int index)
{
    if (isArray() && index < size())
        writableStore(Type::ARRAY).elements().take(index);
}

void Value::remove(String const& key)
{
    if (!contains(key))
        return;
    Store& store = writableStore(Type::OBJECT);
    store.removeMember(store.findPlace(key));
}

Value Value::removeAndReturn(unsigned int index)
{
    if (!isArray() || index >= size())
        return invalid();
    remove(index);
    return true;
}

Value Value::pop()
{
    return removeAndReturn(size() - 1); // no element has the index that this is for an empty array
}

Value Value::shift()
{
    return removeAndReturn(0);
}

void Value::merge(Value const& other, bool overwrite)
{
    Value const source(other); // which may be this value, or part of it
    std::vector<Merging> pending;
    pending.push_back({this, &source});
    while (!pending.empty())
    {
        Merging const merging = pending.back();
        pending.pop_back();
        merging.target->mergeSoFar(*merging.source, overwrite, pending);
    }
}

// Merges one level; members that both have are left to `pending`.
void Value::mergeSoFar(Value const& other, bool overwrite, std::vector<Merging>& pending)
{
    if (isArray() && other.isArray())
    {
        for (unsigned int i = 0; i < other.size(); i++)
            add(other[i]);
        return;
    }
    if (!isObject() || !other.isObject())
    {
        if (overwrite)
            *this = other;
        return;
    }
    Store& store = writableStore(Type::OBJECT);
    for (unsigned int i = 0; i < other.size(); i++)
    {
        Member const& member = *other.memberAt(i);
        if (Member* const present = store.find(member.key))
            pending.push_back({&present->value, &member.value});
        else
            store.addMember(std::unique_ptr<Member>(new Member(member)));
    }
}

bool Value::diff(Value const& other, Value& result) const
{
    Value difference;
    if (isObject() && other.isObject())
    {
        for (unsigned int i = 0; i < other.size(); i++)
        {
            Member const& theirs = *other.memberAt(i);
            Value const* const ours = find(theirs.key);
            Value change;
            if (ours == nullptr)
                difference.setMember(theirs.key, theirs.value);
            else if (ours->diff(theirs.value, change))
                difference.setMember(theirs.key, change);
        }
        for (unsigned int i = 0; i < size(); i++)
        {
            if (!other.contains(memberAt(i)->key))
                difference.setMember(memberAt(i)->key, nullptr);
        }
        if (difference.isInvalid())
            return false;
    }
    else
    {
        if (isEqual(other))
            return false;
        difference = other;
    }
    result = std::move(difference);
    return true;
}

Value const& Value::getByPath(String const& path) const
{
    Value const* value = this;
    for (int start = 0; start < path.length() && !value->isInvalid();)
    {
        int const dot = path.indexOf('.', start);
        int const end = dot >= 0 ? dot : path.length();
        value = &(*value)[path.substring(start, end)];
        start = end + 1;
    }
    return *value;
}

Value& Value::getByPath(String const& path)
{
    Value* value = this;
    for (int start = 0; start < path.length();)
    {
        int const dot = path.indexOf('.', start);
        int const end = dot >= 0 ? dot : path.length();
        value = &value->step(path.substring(start, end));
        start = end + 1;
    }
    return *value;
}

// One token of a path: "key" or "key[5]".
Value& Value::step(String const& token)
{
    int const open = token.indexOf('[');
    int const close = open >= 0 ? token.indexOf(']', open) : -1;
    if (close < 0)
        return (*this)[token];
    return (*this)[token.substring(0, open)][token.substring(open + 1, close).toUInt()];
}

void Value::setByPath(String const& path, Value const& value)
{
    Value copy(value); // on the way a change of type may delete the original
    getByPath(path) = std::move(copy);
}

void Value::setByPathTokens(String const& first, Value const& value)
{
    Value copy(value);
    (*this)[first] = std::move(copy);
}

void Value::setByPathTokens(String const& first, String const& second, Value const& value)
{
    Value copy(value);
    (*this)[first][second] = std::move(copy);
}

void Value::setByPathTokens(String const& first, String const& second, String const& third, Value const& value)
{
    Value copy(value);
    (*this)[first][second][third] = std::move(copy);
}
}
