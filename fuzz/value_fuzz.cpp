// A few values are copied, read, moved into one another and written to, as the bytes say. No write through one shows in
// another, an array and an object keep their sizes and orders, and what is written as UBJSON comes back.

#include "zekovar/property/value.h"

#include <algorithm>

using ZK::Property::Value;

namespace
{
constexpr unsigned int VALUES = 4;
// copies of copies grow fast
constexpr int LONGEST_TEXT = 20000;
constexpr unsigned int LARGEST = 1000;

void check(bool holds)
{
    if (!holds)
        __builtin_trap();
}

/// The next byte, 0 behind the last.
class Bytes
{
public:
    Bytes(uint8_t const* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isAtEnd() const { return m_next == m_end; }

    unsigned int next(unsigned int end) { return isAtEnd() ? 0 : *m_next++ % end; }

    String key()
    {
        return String("a key that is long or ", 0, static_cast<int>(next(3)) * 11).concat(String::stringOf(next(30)));
    }

private:
    uint8_t const* m_next;
    uint8_t const* m_end;
};

void addElements(Value& target, Value const& other, unsigned int place)
{
    bool const wasArray = target.isArray();
    unsigned int const size = target.size();
    target.insert(place, other);
    check(!wasArray || target.size() == std::max(size, place) + 1);
    target.add(static_cast<int>(size));
}

void setMembers(Value& target, String const& key, Value const& other, bool bySubscript)
{
    bool const isNew = target.isObject() && !target.contains(key);
    unsigned int const size = target.size();
    if (bySubscript)
        target[key] = other;
    else
        target.setMember(key, other);
    check(!isNew || other.isInvalid() || target.memberAt(size)->key == key);
    check(other.isInvalid() || *target.find(key) == other);
}

void change(Value& target, Value& other, Bytes& bytes)
{
    Value const taken = other;
    switch (bytes.next(12))
    {
    case 0:
        target = other;
        break;
    case 1:
        return addElements(target, taken, bytes.next(20));
    case 2:
        return setMembers(target, bytes.key(), taken, false);
    case 3:
        return setMembers(target, bytes.key(), taken, true);
    case 4:
        return target.remove(bytes.next(20));
    case 5:
        return target.remove(bytes.key());
    case 6:
        target[bytes.next(20)] = taken;
        break;
    case 7:
        target = String("a text that may be long", 0, static_cast<int>(bytes.next(24)));
        break;
    case 8:
        return target.merge(taken, bytes.next(2) != 0);
    case 9:
        return target.clear();
    case 10:
        target.fromUbjson(target.toUbjson());
        break;
    default:
        target.setByPath(bytes.key(), taken);
    }
}
}

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size)
{
    Bytes bytes(data, size);
    Value values[VALUES];
    while (!bytes.isAtEnd())
    {
        unsigned int const written = bytes.next(VALUES);
        String before[VALUES];
        for (unsigned int i = 0; i < VALUES; i++)
            before[i] = values[i].toJson();
        change(values[written], values[bytes.next(VALUES)], bytes);
        for (unsigned int i = 0; i < VALUES; i++)
            check(i == written || values[i].toJson() == before[i]);

        // the first time several members of one key, which an array that becomes an object may have, turn into one
        Value again, third;
        if (again.fromUbjson(values[written].toUbjson()).isSuccess())
            check(third.fromUbjson(again.toUbjson()).isSuccess() && third == again);
        if (values[written].toJson().length() > LONGEST_TEXT || values[written].size() > LARGEST)
            values[written] = Value();
    }
    return 0;
}
