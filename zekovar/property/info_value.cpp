#include "zekovar/property/info.h"
#include "zekovar/property/info_rows.h"
#include "zekovar/property/value.h"

#include <vector>

namespace
{
using ZK::Detail::InfoRows;
using ZK::Property::Value;

constexpr unsigned int ALL_COLUMNS = 7; // offset, bytes and characters of a hexadecimal dump

/// A container that is being walked.
struct Open
{
    Value const* container;
    uint64_t level; // of what is in it
    String key;     // what the indices of an array stand behind
    unsigned int next = 0;
};

String indexedKey(String const& key, unsigned int index)
{
    return key.isEmpty() ? String::stringOf(index) : String::stringOfFormat("%s[%u]", key.c_str(), index);
}

/// Has `add` add the line of each value and open those that are containers. A list instead of recursion, because values
/// are nested as deep as they like and stacks are small.
template <class Add>
void walk(Value const& root, uint64_t level, String const& key, Add add)
{
    std::vector<Open> open;
    add(open, root, level, key);
    while (!open.empty())
    {
        Open& top = open.back();
        if (top.next >= top.container->size())
        {
            open.pop_back();
            continue;
        }
        unsigned int const index = top.next++;
        uint64_t const inside = top.level;
        if (Value::Member const* member = top.container->memberAt(index); member != nullptr)
            add(open, member->value, inside, member->key);
        else
            add(open, (*top.container)[index], inside, indexedKey(top.key, index));
    }
}

void enter(std::vector<Open>& open, Value const& container, uint64_t level, String const& key)
{
    if (open.size() < ZK::Property::MAX_DEPTH)
        open.push_back({&container, level, key});
}
}

void addInfoProperty(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                     unsigned int detail, String const& key, Value const& value)
{
    InfoRows rows(container, maxLevel, maxDetail);
    walk(value, level, key,
         [&](std::vector<Open>& open, Value const& inner, uint64_t innerLevel, String const& innerKey)
         {
             if (!rows.isWanted(innerLevel, detail))
                 return;
             bool const isContainer = inner.isArray() || inner.isObject();
             rows.add(innerLevel, detail, innerKey, isContainer ? String::s_empty : inner.toString());
             if (isContainer)
                 enter(open, inner, innerLevel + 1, String::s_empty);
         });
}

void Value::getInfo(InfoContainer& container, unsigned int maxLevel, unsigned int level, unsigned int maxDetail,
                    unsigned int detail, String const& key) const
{
    InfoRows rows(container, maxLevel, maxDetail);
    auto const addPrimitive = [&](Value const& inner, uint64_t innerLevel, String const& innerKey)
    {
        TString<char> const* bytes = inner.asBinary();
        String const text =
            bytes != nullptr ? String::HEX_DUMP(bytes->data(), bytes->length(), ALL_COLUMNS) : inner.toString();
        rows.add(innerLevel, detail, innerKey.isEmpty() ? text : innerKey, innerKey.isEmpty() ? String::s_empty : text);
    };
    walk(*this, level, key,
         [&](std::vector<Open>& open, Value const& inner, uint64_t innerLevel, String const& innerKey)
         {
             if (!rows.isWanted(innerLevel, detail))
                 return;
             if (inner.isArray())
                 return enter(open, inner, innerLevel, innerKey);
             if (!inner.isObject())
                 return addPrimitive(inner, innerLevel, innerKey);
             rows.add(innerLevel, detail, innerKey, String::s_empty);
             enter(open, inner, innerLevel + 1, String::s_empty);
         });
}
