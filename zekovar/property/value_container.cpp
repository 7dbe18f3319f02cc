#include "zekovar/property/store.h"

#include <algorithm>

namespace ZK::Property
{
// Appends "Null" up to `size` elements; false if the gap is too wide.
bool Value::fillArrayWithNullValues(unsigned int size)
{
    Store::Elements& elements = m_payload.store->elements();
    if (size > elements.size() && size - elements.size() > MAX_ARRAY_GAP)
        return false;
    while (elements.size() < size)
        elements.add(nullptr);
    return true;
}

void Value::add(Value&& value)
{
    Value element(std::move(value));
    Store& store = writableStore(Type::ARRAY);
    store.noteChild(element);
    store.elements().add(std::move(element));
}

void Value::insert(unsigned int index, Value const& value)
{
    auto element = std::make_unique<Value>(value);
    Store& store = writableStore(Type::ARRAY);
    if (fillArrayWithNullValues(index))
        store.elements().insert(index, std::move(element));
}

void Value::setMember(String&& key, Value&& value)
{
    Value taken(std::move(value)); // from what a change of type may delete
    Store& store = writableStore(Type::OBJECT);
    store.noteChild(taken);
    if (Member* const present = store.findOrEnter(key))
        present->value = std::move(taken);
    else
        store.addEntered(std::move(key), std::move(taken));
}

void Value::reserve(unsigned int count)
{
    if (getType() >= Type::ARRAY)
        writableStore(getType()).reserve(count);
}

void Value::remove(unsigned int index)
{
    if (isArray() && index < size())
        writableStore(Type::ARRAY).elements().remove(index);
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
    auto const first = static_cast<std::ptrdiff_t>(pending.size());
    for (unsigned int i = 0; i < other.size(); i++)
    {
        Member const& member = *other.memberAt(i);
        if (Member* const present = store.findOrEnter(member.key))
            pending.push_back({&present->value, &member.value});
        else
            store.addEntered(member.key, Value(member.value));
    }
    // taken from the end, so that several members of one key are merged in their order
    std::reverse(pending.begin() + first, pending.end());
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

namespace
{
/// One token of a path: "key" or "key[5]".
struct Step
{
    explicit Step(String const& token) : key(token), hasIndex(false), index(0)
    {
        int const open = token.indexOf('[');
        int const close = open >= 0 ? token.indexOf(']', open) : -1;
        if (close < 0)
            return;
        key = token.substring(0, open);
        hasIndex = true;
        index = token.substring(open + 1, close).toUInt();
    }

    String key;
    bool hasIndex;
    unsigned int index;
};

/// Takes a path apart.
class Steps
{
public:
    explicit Steps(String const& path) : m_path(path) {}

    bool isAtEnd() const { return m_start >= m_path.length(); }

    Step next()
    {
        int const dot = m_path.indexOf('.', m_start);
        int const end = dot >= 0 ? dot : m_path.length();
        Step const step(m_path.substring(m_start, end));
        m_start = end + 1;
        return step;
    }

private:
    String const m_path;
    int m_start = 0;
};
}

Value& Value::getByPath(String const& path)
{
    Value* value = this;
    for (Steps steps(path); !steps.isAtEnd();)
    {
        Step const step = steps.next();
        value = &(*value)[step.key];
        if (step.hasIndex)
            value = &(*value)[step.index];
    }
    return *value;
}

// What is missing is made at once, since it will be assigned to, and without pending children: so no reference is handed
// out, and copies stay cheap. The value is copied first because a change of type on the way may delete the original.
void Value::setByPath(String const& path, Value const& value)
{
    Value copy(value);
    if (copy.isInvalid())
    {
        getByPath(path) = copy;
        return;
    }
    Value* target = this;
    for (Steps steps(path); !steps.isAtEnd() && target != nullptr;)
    {
        Step const step = steps.next();
        target = &target->memberFor(step.key);
        if (step.hasIndex)
            target = target->elementFor(step.index);
    }
    if (target != nullptr)
        *target = std::move(copy);
}

// The member of this key, made if there is none.
Value& Value::memberFor(String const& key)
{
    Store& store = writableStore(Type::OBJECT);
    Member* const present = store.findOrEnter(key);
    return present != nullptr ? present->value : store.addEntered(key, Value()).value;
}

// The element at this index, made if there is none; null if the gap is too wide.
Value* Value::elementFor(unsigned int index)
{
    Store::Elements& elements = writableStore(Type::ARRAY).elements();
    if (!fillArrayWithNullValues(index))
        return nullptr;
    return index < elements.size() ? &elements[index] : &elements.add();
}

void Value::setByPathTokens(String const& first, Value const& value)
{
    Value copy(value);
    (copy.isInvalid() ? (*this)[first] : memberFor(first)) = std::move(copy);
}

void Value::setByPathTokens(String const& first, String const& second, Value const& value)
{
    Value const copy(value);
    memberFor(first).setByPathTokens(second, copy);
}

void Value::setByPathTokens(String const& first, String const& second, String const& third, Value const& value)
{
    Value const copy(value);
    memberFor(first).setByPathTokens(second, third, copy);
}
}
