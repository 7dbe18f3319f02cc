#include "zekovar/property/store.h"

#include <cstring>
#include <new>
#include <type_traits>

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

namespace
{
/// All that a `String` consists of.
String::Store& memoryOf(String& text)
{
    static_assert(std::is_standard_layout_v<String> && sizeof(String) == sizeof(String::Store));
    return reinterpret_cast<String::Store&>(text);
}
}

Value::Store* Value::Store::MAKE_TEXT(std::string_view text)
{
    if (text.size() > static_cast<std::size_t>(String::Store::MAX_LENGTH))
        return new Store(Type::STRING);
    int const length = static_cast<int>(text.size());
    if (length <= String::Store::INLINE_CAPACITY)
        return new Store(String(text.data(), length, 0, length));
    auto* const store = new (text.size() + 1) Store(Type::STRING);
    auto* const behind = reinterpret_cast<char*>(store + 1);
    std::memcpy(behind, text.data(), text.size());
    memoryOf(store->m_text).adopt({behind, length}, length);
    store->m_isTextBehind = true;
    return store;
}

// A text behind the object goes with its memory.
void Value::Store::destroyText()
{
    if (!std::exchange(m_isTextBehind, false))
        m_text.~String();
}

// The children are gone already.
Value::Store::~Store()
{
    switch (m_type)
    {
    case Type::STRING:
        destroyText();
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
    if (m_type == Type::ARRAY)
    {
        for (unsigned int i = 0; i < m_elements.size(); i++)
            DETACH(m_elements[i], dead);
        m_elements.clear();
    }
    else if (m_type == Type::OBJECT)
    {
        for (unsigned int i = 0; i < m_members.size(); i++)
            DETACH(m_members[i].value, dead);
        m_members.clear();
    }
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
    {
        destroyText();
        new (&m_text) String();
    }
    else if (m_type == Type::BINARY)
        *m_bytes = TString<char>();
}

unsigned int Value::Store::findPlace(String const& key) const
{
    return m_index != nullptr ? m_index->find(m_members, key) : findAmong(m_members.size(), key);
}

// Among the first `count` members, without the index.
unsigned int Value::Store::findAmong(unsigned int count, String const& key) const
{
    for (unsigned int place = 0; place < count; place++)
    {
        if (m_members[place].key == key)
            return place;
    }
    return MemberIndex::NOT_FOUND;
}

Value::Member* Value::Store::find(String const& key)
{
    unsigned int const place = findPlace(key);
    return place != MemberIndex::NOT_FOUND ? &m_members[place] : nullptr;
}

Value::Member* Value::Store::findOrEnter(String const& key)
{
    if (m_index == nullptr)
        return find(key);
    unsigned int const place = m_index->findOrEnter(m_members, key, m_members.size());
    return place != MemberIndex::NOT_FOUND ? &m_members[place] : nullptr;
}

void Value::Store::addMember(std::unique_ptr<Member> member)
{
    m_members.adopt(std::move(member));
    if (m_index != nullptr)
        m_index->addLast(m_members);
    else if (m_members.size() > LARGEST_WITHOUT_INDEX)
        makeIndex();
}

void Value::Store::makeIndex()
{
    m_index = new MemberIndex(m_members);
}

namespace
{
/// Tells most keys that are new from those that were there before.
class KeyFilter
{
public:
    /// Whether a key like this one may have come before; from now on it has.
    bool mayRepeat(String const& key)
    {
        auto const length = static_cast<unsigned int>(key.length());
        unsigned int const last = length > 0 ? static_cast<unsigned char>(key.c_str()[length - 1]) : 0;
        auto const first = static_cast<unsigned char>(key.c_str()[0]);
        uint64_t const bit = uint64_t{1} << ((first * 5u + last * 3u + length) % 64);
        return (std::exchange(m_seen, m_seen | bit) & bit) != 0;
    }

private:
    uint64_t m_seen = 0;
};
}

void Value::Store::adoptMembers(Member* block, unsigned int count)
{
    m_members.adoptBlock(block, count);
    if (count > LARGEST_WITHOUT_INDEX)
        m_index = new MemberIndex(count);
    KeyFilter filter;
    unsigned int kept = 0;
    for (unsigned int i = 0; i < count; i++)
    {
        Member& member = m_members[i];
        unsigned int place = MemberIndex::NOT_FOUND;
        if (m_index != nullptr)
            place = m_index->findOrEnter(m_members, member.key, kept);
        else if (filter.mayRepeat(member.key))
            place = findAmong(kept, member.key);
        if (place != MemberIndex::NOT_FOUND)
            m_members[place].value = std::move(member.value);
        else if (unsigned int const target = kept++; target != i)
            m_members[target] = std::move(member);
    }
    if (kept == count)
        return;
    m_members.shrinkBlock(kept);
    if (m_index != nullptr)
        delete std::exchange(m_index, new MemberIndex(m_members)); // smaller
}

void Value::Store::replaceMember(unsigned int place, std::unique_ptr<Member> member)
{
    m_members.replace(place, std::move(member));
}

void Value::Store::removeMember(unsigned int place)
{
    if (m_index != nullptr)
        m_index->remove(m_members, place);
    m_members.remove(place);
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
        m_elements.reserve(source.size());
        for (unsigned int i = 0; i < source.size(); i++)
            COPY_SO_FAR(m_elements.add(), source.m_elements[i], pending);
        break;
    case Type::OBJECT:
        m_members.reserve(source.size());
        for (unsigned int i = 0; i < source.size(); i++)
        {
            Member const& member = source.m_members[i];
            COPY_SO_FAR(m_members.add(member.key, Value()).value, member.value, pending);
        }
        if (source.m_index != nullptr)
            m_index = new MemberIndex(*source.m_index);
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
            if (!IS_EQUAL_SO_FAR(m_elements[i], other.m_elements[i], pending))
                return false;
            continue;
        }
        unsigned int const place = other.findPlace(m_members[i].key);
        if (place == MemberIndex::NOT_FOUND ||
            !IS_EQUAL_SO_FAR(m_members[i].value, other.m_members[place].value, pending))
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
