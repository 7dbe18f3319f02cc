#include "zekovar/property/member_index.h"

#include "zekovar/foundation/random.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace ZK::Property::Detail
{
namespace
{
/// SipHash-1-3 (Aumasson and Bernstein, "SipHash: a fast short-input PRF") of texts, cut to 32 bits. Words are loaded in
/// the machine's order, since no hash leaves the process.
class KeyHash
{
public:
    KeyHash(uint64_t first, uint64_t second) : m_first(first), m_second(second) {}

    uint32_t operator()(String const& key) const
    {
        State state{m_first ^ 0x736F6D6570736575, m_second ^ 0x646F72616E646F6D, m_first ^ 0x6C7967656E657261,
                    m_second ^ 0x7465646279746573};
        char const* text = key.c_str();
        auto left = static_cast<std::size_t>(key.length());
        for (; left >= 8; left -= 8, text += 8)
            state.absorb(load(text, 8));
        state.absorb(load(text, left) | static_cast<uint64_t>(key.length()) << 56);
        state.v2 ^= 0xFF;
        for (int i = 0; i < 3; i++)
            state.round();
        return static_cast<uint32_t>(state.v0 ^ state.v1 ^ state.v2 ^ state.v3);
    }

private:
    struct State
    {
        uint64_t v0, v1, v2, v3;

        void absorb(uint64_t word)
        {
            v3 ^= word;
            round();
            v0 ^= word;
        }

        void round()
        {
            v0 += v1, v1 = std::rotl(v1, 13) ^ v0, v0 = std::rotl(v0, 32);
            v2 += v3, v3 = std::rotl(v3, 16) ^ v2;
            v0 += v3, v3 = std::rotl(v3, 21) ^ v0;
            v2 += v1, v1 = std::rotl(v1, 17) ^ v2, v2 = std::rotl(v2, 32);
        }
    };

    static uint64_t load(char const* text, std::size_t count)
    {
        uint64_t word = 0;
        std::memcpy(&word, text, count);
        return word;
    }

    uint64_t m_first;
    uint64_t m_second;
};

KeyHash makeHash()
{
    // where an address leads is a secret too, if a smaller one: it stands in where no random device can be read
    uint64_t secret[2] = {reinterpret_cast<uintptr_t>(&secret), reinterpret_cast<uintptr_t>(&makeHash)};
    uint64_t random[2];
    if (ZKRandom(false).readFixedSize(random, sizeof(random), true).isSuccess())
        std::memcpy(secret, random, sizeof(secret));
    return KeyHash(secret[0], secret[1]);
}

uint32_t hashOf(String const& key)
{
    static KeyHash const s_hash = makeHash();
    return s_hash(key);
}

uint32_t slotsFor(uint32_t members)
{
    return std::bit_ceil(members * 2);
}
}

MemberIndex::MemberIndex(uint32_t count)
    : m_slots(std::make_unique<Slot[]>(slotsFor(count))), m_mask(slotsFor(count) - 1)
{
}

MemberIndex::MemberIndex(MemberIndex const& other)
    : m_slots(std::make_unique_for_overwrite<Slot[]>(std::size_t{other.m_mask} + 1)), m_mask(other.m_mask)
{
    std::copy_n(other.m_slots.get(), std::size_t{m_mask} + 1, m_slots.get());
}

MemberIndex::MemberIndex(NodeList<Value::Member> const& members) : MemberIndex(members.size())
{
    for (uint32_t place = 0; place < members.size(); place++)
        enter(hashOf(members[place].key), place);
}

unsigned int MemberIndex::find(NodeList<Value::Member> const& members, String const& key) const
{
    uint32_t const slot = slotOf(members, key, hashOf(key));
    return m_slots[slot].place - 1; // a free slot has `NOT_FOUND`
}

unsigned int MemberIndex::findOrEnter(NodeList<Value::Member> const& members, String const& key, unsigned int place)
{
    makeRoomFor(place + 1);
    uint32_t const hash = hashOf(key);
    Slot& slot = m_slots[slotOf(members, key, hash)];
    if (slot.place != 0)
        return slot.place - 1;
    slot = {hash, place + 1};
    return NOT_FOUND;
}

// Where the key is entered, or the free slot where it would be.
uint32_t MemberIndex::slotOf(NodeList<Value::Member> const& members, String const& key, uint32_t hash) const
{
    uint32_t i = hash & m_mask;
    while (m_slots[i].place != 0 && (m_slots[i].hash != hash || !(members[m_slots[i].place - 1].key == key)))
        i = (i + 1) & m_mask;
    return i;
}

void MemberIndex::addLast(NodeList<Value::Member> const& members)
{
    makeRoomFor(members.size());
    uint32_t const last = members.size() - 1;
    enter(hashOf(members[last].key), last);
}

void MemberIndex::remove(NodeList<Value::Member> const& members, unsigned int place)
{
    uint32_t i = hashOf(members[place].key) & m_mask;
    while (m_slots[i].place != place + 1)
        i = (i + 1) & m_mask;
    closeGap(i);
    if (place == members.size() - 1)
        return;
    for (uint32_t slot = 0; slot <= m_mask; slot++)
        m_slots[slot].place -= m_slots[slot].place > place + 1;
}

// Starts behind a free slot, so that members with one key come in their order.
void MemberIndex::makeRoomFor(uint32_t count)
{
    if (count <= m_mask - m_mask / 4)
        return;
    std::unique_ptr<Slot[]> const old = std::move(m_slots);
    uint32_t const oldMask = std::exchange(m_mask, m_mask * 2 + 1);
    m_slots = std::make_unique<Slot[]>(std::size_t{m_mask} + 1);
    uint32_t start = 0;
    while (old[start].place != 0)
        start++;
    for (uint32_t i = 1; i <= oldMask; i++)
    {
        Slot const slot = old[(start + i) & oldMask];
        if (slot.place != 0)
            enter(slot.hash, slot.place - 1);
    }
}

void MemberIndex::enter(uint32_t hash, uint32_t place)
{
    uint32_t i = hash & m_mask;
    while (m_slots[i].place != 0)
        i = (i + 1) & m_mask;
    m_slots[i] = {hash, place + 1};
}

// Moves entries back that went past the freed slot, so that every chain stays without holes.
void MemberIndex::closeGap(uint32_t gap)
{
    for (uint32_t i = (gap + 1) & m_mask; m_slots[i].place != 0; i = (i + 1) & m_mask)
    {
        uint32_t const distance = (i - (m_slots[i].hash & m_mask)) & m_mask;
        if (distance >= ((i - gap) & m_mask))
        {
            m_slots[gap] = m_slots[i];
            gap = i;
        }
    }
    m_slots[gap].place = 0;
}
}
