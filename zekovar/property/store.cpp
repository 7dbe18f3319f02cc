#include "zekovar/property/store.h"

#include <cstring>
#include <new>

namespace ZK::Property
{
using Detail::MemberIndex;

Value::Store::Store(Type type) : m_type(type), m_index(nullptr)
{
    switch (type)
    {
    case Type::STRING:
        new (&m_text) String();
        break;
    case Type::BINARY:
        m_bytes = new TString<char>();
        break;
    case Type::ARRAY:
        new (&m_elements) Elements();
        break;
    case Type::OBJECT:
        new (&m_members) Members();
        break;
    default:
        new (&m_code) XCode();
        break;
    }
}

Value::Store::Store(XCode const& code) : m_type(Type::XCODE), m_code(code), m_index(nullptr)
{
}

Value::Store::Store(String&& text) : m_type(Type::STRING), m_text(std::move(text)), m_index(nullptr)
{
}

Value::Store::Store(TString<char>&& bytes)
    : m_type(Type::BINARY), m_bytes(new TString<char>(std::move(bytes))), m_index(nullptr)
{
}

// The children are gone already.
Value::Store::~Store()
{
    switch (m_type)
    {
    case Type::STRING:
        m_text.~String();
        break;
    case Type::BINARY:
        delete m_bytes;
        break;
    case Type::ARRAY:
        m_elements.~Elements();
        break;
    case Type::OBJECT:
        m_members.~Members();
        break;
    default:
        m_code.~XCode();
        break;
    }
}

// Containers that lose their last reference on the way wait in a list, which they form themselves.
void Value::Store::DESTROY_ALL(Store* dead) noexcept
{
    while (dead != nullptr)
    {
        Store* const current = dead;
        dead = current->m_nextDead;
        current->destroyChildren(dead);
        delete current;
    }
}

void Value::Store::ENLIST(Store* store, Store*& dead) noexcept
{
    delete store->m_index;
    store->m_nextDead = dead;
    dead = store;
}

// Takes a container from the value and puts it into the list if nobody else refers to it.
void Value::Store::DETACH(Value& value, Store*& dead) noexcept
{
    if (value.getType() < Type::ARRAY)
        return;
    Store* const store = value.m_payload.store;
    value.setType(Type::INVALID);
    value.m_payload.waiting = nullptr;
    if (store->dropReference())
        ENLIST(store, dead);
}

void Value::Store::destroyChildren(Store*& dead) noexcept
{
    while (m_type == Type::ARRAY && m_elements.size() > 0)
        DETACH(*m_elements.take(m_elements.size() - 1), dead);
    while (m_type == Type::OBJECT && m_members.size() > 0)
        DETACH(m_members.take(m_members.size() - 1)->value, dead);
}

unsigned int Value::Store::size() const
{
    if (m_type == Type::ARRAY)
        return m_elements.size();
    return m_type == Type::OBJECT ? m_members.size() : 1;
}

void Value::Store::reserve(unsigned int count)
{
    if (m_type == Type::ARRAY)
        m_elements.reserve(count);
    else if (m_type == Type::OBJECT)
        m_members.reserve(count);
}

void Value::Store::clear() noexcept
{
    Store* dead = nullptr;
    destroyChildren(dead);
    DESTROY_ALL(dead);
    delete std::exchange(m_index, nullptr);
    m_handedOut = false; // nobody has a use for references to what is gone
    if (m_type == Type::XCODE)
        m_code.set(XCODE_SUCCESS);
    else if (m_type == Type::STRING)
        m_text = String();
    else if (m_type == Type::BINARY)
        *m_bytes = TString<char>();
}

unsigned int Value::Store::findPlace(String const& key) const
{
    if (m_index != nullptr)
        return m_index->find(m_members, key);
    for (unsigned int place = 0; place < m_members.size(); place++)
    {
        if (m_members[place]->key == key)
            return place;
    }
    return MemberIndex::NOT_FOUND;
}

Value::Member* Value::Store::find(String const& key)
{
    unsigned int const place = findPlace(key);
    return place != MemberIndex::NOT_FOUND ? m_members[place] : nullptr;
}

Value::Member& Value::Store::addMember(std::unique_ptr<Member> member)
{
    Member& added = m_members.add(std::move(member));
    if (m_index != nullptr)
        m_index->addLast(m_members);
    else if (m_members.size() > LARGEST_WITHOUT_INDEX)
        m_index = new MemberIndex(m_members);
    return added;
}

void Value::Store::replaceMember(unsigned int place, std::unique_ptr<Member> member)
{
    delete std::exchange(m_members[place], member.release());
}

void Value::Store::removeMember(unsigned int place)
{
    if (m_index != nullptr)
        m_index->remove(m_members, place);
    m_members.take(place);
}

void Value::Store::COPY_SO_FAR(Value& target, Value const& source, std::vector<Copying>& pending)
{
    if (target.share(source))
        return;
    Store const& nested = *source.m_payload.store;
    target.m_payload.store = new Store(nested.m_type);
    target.setType(nested.m_type);
    pending.push_back({target.m_payload.store, &nested});
}

void Value::Store::copyInside(Store const& source, std::vector<Copying>& pending)
{
    switch (m_type)
    {
    case Type::STRING:
        m_text = source.m_text;
        break;
    case Type::BINARY:
        *m_bytes = *source.m_bytes;
        break;
    case Type::ARRAY:
        m_elements.reserve(source.m_elements.size());
        for (Value const* element : source.m_elements)
            COPY_SO_FAR(m_elements.add(std::make_unique<Value>()), *element, pending);
        break;
    case Type::OBJECT:
        m_members.reserve(source.m_members.size());
        for (Member const* member : source.m_members)
            COPY_SO_FAR(addMember(std::unique_ptr<Member>(new Member{member->key, Value()})).value, member->value,
                        pending);
        break;
    default:
        m_code = source.m_code;
        break;
    }
}

Value::Store* Value::Store::DUPLICATE(Store const& source)
{
    auto* const copy = new Store(source.m_type);
    std::vector<Copying> pending;
    pending.push_back({copy, &source});
    while (!pending.empty())
    {
        Copying const copying = pending.back();
        pending.pop_back();
        copying.target->copyInside(*copying.source, pending);
    }
    return copy;
}

// Whether two values are equal as far as their types, sizes and leaves tell; what lies below them goes to `pending`.
bool Value::Store::IS_EQUAL_SO_FAR(Value const& left, Value const& right, std::vector<Pair>& pending)
{
    if (left.getType() != right.getType())
        return false;
    switch (left.getType())
    {
    case Type::INVALID:
    case Type::NULL_VALUE:
        return true;
    case Type::BOOLEAN:
        return left.m_payload.boolean == right.m_payload.boolean;
    case Type::INTEGER:
        return left.m_payload.integer == right.m_payload.integer;
    case Type::FLOATING:
        return left.m_payload.floating == right.m_payload.floating;
    default:
        return left.m_payload.store->isEqualSoFar(*right.m_payload.store, pending);
    }
}

bool Value::Store::isEqualSoFar(Store const& other, std::vector<Pair>& pending) const
{
    if (this == &other)
        return true;
    if (m_type != other.m_type)
        return false;
    if (m_type == Type::XCODE)
        return m_code == other.m_code;
    if (m_type == Type::STRING)
        return m_text == other.m_text;
    if (m_type == Type::BINARY)
        return m_bytes->length() == other.m_bytes->length() &&
               (m_bytes->isEmpty() || std::memcmp(m_bytes->data(), other.m_bytes->data(), m_bytes->length()) == 0);
    if (size() != other.size())
        return false;
    pending.push_back({this, &other});
    return true;
}

bool Value::Store::isEqualInside(Store const& other, std::vector<Pair>& pending) const
{
    for (unsigned int i = 0; i < size(); i++)
    {
        if (m_type == Type::ARRAY)
        {
            if (!IS_EQUAL_SO_FAR(*m_elements[i], *other.m_elements[i], pending))
                return false;
            continue;
        }
        unsigned int const place = other.findPlace(m_members[i]->key);
        if (place == MemberIndex::NOT_FOUND ||
            !IS_EQUAL_SO_FAR(m_members[i]->value, other.m_members[place]->value, pending))
            return false;
    }
    return true;
}

bool Value::Store::ARE_ALL_EQUAL(std::vector<Pair>& pending)
{
    while (!pending.empty())
    {
        Pair const pair = pending.back();
        pending.pop_back();
        if (!pair.left->isEqualInside(*pair.right, pending))
            return false;
    }
    return true;
}

bool Value::Store::ARE_EQUAL(Value const& left, Value const& right)
{
    std::vector<Pair> pending;
    return IS_EQUAL_SO_FAR(left, right, pending) && ARE_ALL_EQUAL(pending);
}

bool Value::Store::isEqual(Store const& other) const
{
    std::vector<Pair> pending;
    return isEqualSoFar(other, pending) && ARE_ALL_EQUAL(pending);
}
}
