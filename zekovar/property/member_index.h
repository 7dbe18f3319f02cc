#pragma once

#include "zekovar/property/node_list.h"
#include "zekovar/property/value.h"

#include <cstdint>
#include <memory>

namespace ZK::Property::Detail
{
/// Finds the members of a large object by their keys: an open hash table of places in the order of insertion.
///
/// Keys may come from outside, so they are hashed with a secret of the process: nobody can send an object whose keys
/// all collide. Of several members with one key the oldest is found.
class MemberIndex
{
public:
    static constexpr unsigned int NOT_FOUND = UINT32_MAX;

    /// Without members, with room for `count`.
    explicit MemberIndex(uint32_t count);

    /// For a copy of the members.
    MemberIndex(MemberIndex const& other);
    MemberIndex& operator=(MemberIndex const&) = delete;

    /// Enters all `members`.
    explicit MemberIndex(NodeList<Value::Member> const& members);

    /// The place of the key in `members`, or `NOT_FOUND`.
    unsigned int find(NodeList<Value::Member> const& members, String const& key) const;

    /// As above; if there is none, the key is entered for `place`, where its member is to come.
    unsigned int findOrEnter(NodeList<Value::Member> const& members, String const& key, unsigned int place);

    /// Enters the last of `members`, which was just added.
    void addLast(NodeList<Value::Member> const& members);

    /// Forgets the member that is at `place` of `members` and is to be taken out.
    void remove(NodeList<Value::Member> const& members, unsigned int place);

private:
    struct Slot
    {
        uint32_t hash;
        uint32_t place; // plus 1; 0 in a free slot
    };

    uint32_t slotOf(NodeList<Value::Member> const& members, String const& key, uint32_t hash) const;
    void makeRoomFor(uint32_t count);
    void enter(uint32_t hash, uint32_t place);
    void closeGap(uint32_t gap);

    std::unique_ptr<Slot[]> m_slots;
    uint32_t m_mask; // number of slots, a power of two, less 1
};
}
