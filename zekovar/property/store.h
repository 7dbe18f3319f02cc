#pragma once

#include "zekovar/property/member_index.h"
#include "zekovar/property/node_list.h"
#include "zekovar/property/value.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

namespace ZK::Property
{
/// The counted content of a value whose type is "XCode" or above; what is smaller lies in the value itself.
///
/// Values on different threads may share a store: it is only read then. A value writes to it while it is the only user.
class Value::Store
{
public:
    class Builder;
    using Elements = Detail::NodeList<Value>;
    using Members = Detail::NodeList<Member>;

    /// Empty content, and a count of 1, which belongs to the maker.
    explicit Store(Type type);
    explicit Store(XCode const& code);
    explicit Store(String&& text);
    explicit Store(TString<char>&& bytes);

    /// A copy of a text, in one piece of memory with its store. What is too long for a `String` gives the empty text.
    static Store* MAKE_TEXT(std::string_view text);

    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;

    /// @name Memory
    /// Some bytes may lie behind the object, so it is freed without its size.
    /// @{
    static void* operator new(std::size_t size) { return ::operator new(size); }

    static void* operator new(std::size_t size, std::size_t behind) { return ::operator new(size + behind); }

    static void operator delete(void* memory) { ::operator delete(memory); }

    /// @}

    void addRef() { m_count.fetch_add(1, std::memory_order_relaxed); }

    /// Drops a reference; the last one destroys the content, nested to whatever depth, without recursion.
    void release() noexcept
    {
        if (!dropReference())
            return;
        if (m_type < Type::ARRAY)
        {
            delete this;
            return;
        }
        Store* dead = nullptr;
        ENLIST(this, dead);
        DESTROY_ALL(dead);
    }

    bool isShared() const { return m_count.load(std::memory_order_acquire) > 1; }

    /// Whether a reference to an element, at any depth, went to somebody who may keep it and write. Such a store is never
    /// shared.
    bool isHandedOut() const { return m_handedOut; }

    void setHandedOut() { m_handedOut = true; }

    /// To be told of a child that is moved in: references into it may have been handed out before.
    void noteChild(Value const& child)
    {
        m_handedOut |= child.waiting() != nullptr || (child.hasStore() && child.m_payload.store->isHandedOut());
    }

    Type getType() const { return m_type; }

    /// @name Content
    /// Each only for a store of that type.
    /// @{
    XCode const& code() const { return m_code; }

    String const& text() const { return m_text; }

    TString<char> const& bytes() const { return *m_bytes; }

    Elements& elements() { return m_elements; }

    Elements const& elements() const { return m_elements; }

    /// @}

    /// Elements or members; 1 for another type.
    unsigned int size() const;

    /// Makes room in a container.
    void reserve(unsigned int count);

    /// Resets the content and keeps the type.
    void clear() noexcept;

    /// A copy of the content with a count of 1. Elements share their stores with the copies, but for those that were
    /// handed out.
    static Store* DUPLICATE(Store const& source);

    /// Codes are compared without their texts. What is the same store is equal, even if it holds a NaN.
    bool isEqual(Store const& other) const;

    static bool ARE_EQUAL(Value const& left, Value const& right);

    /// @name Members of an object
    /// @{

    /// The place of the oldest member of this key, or `MemberIndex::NOT_FOUND`.
    unsigned int findPlace(String const& key) const;

    Member& memberAt(unsigned int place) { return m_members[place]; }

    Member* find(String const& key);

    /// The member of this key, or null; then the key counts as entered for the member that `addEntered` adds next.
    Member* findOrEnter(String const& key);

    /// Adds a member behind all others, right after its key was entered.
    template <class K>
    Member& addEntered(K&& key, Value&& value)
    {
        Member& added = m_members.add(std::forward<K>(key), std::move(value));
        if (m_index == nullptr && m_members.size() > LARGEST_WITHOUT_INDEX)
            makeIndex();
        return added;
    }

    /// Adds a member behind all others, even if the key has one already.
    void addMember(std::unique_ptr<Member> member);

    /// For an object without members: takes a block from `Members::allocateBlock`, which has `count` of them. Of several
    /// with one key the first stays, with the value of the last.
    void adoptMembers(Member* block, unsigned int count);

    /// Puts a member of the same key in the place of another one, which is deleted.
    void replaceMember(unsigned int place, std::unique_ptr<Member> member);

    void removeMember(unsigned int place);
    /// @}

private:
    static constexpr unsigned int LARGEST_WITHOUT_INDEX = 12; // up to here a walk is as fast

    ~Store();

    void destroyText();
    void makeIndex();
    unsigned int findAmong(unsigned int count, String const& key) const;

    // the only user needs no atomic change: nobody else can come by a reference meanwhile
    bool dropReference() { return !isShared() || m_count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

    static void DESTROY_ALL(Store* dead) noexcept;
    static void ENLIST(Store* store, Store*& dead) noexcept;
    static void DETACH(Value& value, Store*& dead) noexcept;
    void destroyChildren(Store*& dead) noexcept;

    /// Containers still to be compared.
    struct Pair
    {
        Store const* left;
        Store const* right;
    };

    /// Containers still to be copied.
    struct Copying
    {
        Store* target;
        Store const* source;
    };

    static void COPY_SO_FAR(Value& target, Value const& source, std::vector<Copying>& pending);
    void copyInside(Store const& source, std::vector<Copying>& pending);

    static bool IS_EQUAL_SO_FAR(Value const& left, Value const& right, std::vector<Pair>& pending);
    bool isEqualSoFar(Store const& other, std::vector<Pair>& pending) const;
    static bool ARE_ALL_EQUAL(std::vector<Pair>& pending);
    bool isEqualInside(Store const& other, std::vector<Pair>& pending) const;

    std::atomic<int> m_count{1};
    Type m_type;
    bool m_handedOut = false;
    bool m_isTextBehind = false; // the memory of the text is part of the store's

    union
    {
        XCode m_code;
        String m_text;
        TString<char>* m_bytes; // owned
        Elements m_elements;
        Members m_members;
    };

    union
    {
        Detail::MemberIndex* m_index; // of a large object, owned; else null
        Store* m_nextDead;            // once nobody refers to this store
    };
};

inline Value::Store& Value::writableStore(Type type)
{
    if (getType() != type || m_payload.store->isShared())
        copyOnWrite(type);
    return *m_payload.store;
}
}
