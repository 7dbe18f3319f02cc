#include "zekovar/property/info.h"

#include <cstdio>

namespace
{
constexpr unsigned int MAX_LEVELS = 64; // of objects in one another
}

void InfoContainer::add(unsigned int level, unsigned int detail, String const& key, String const& value)
{
    InfoLine line{level, detail, key, value}; // the texts may be those of a line that moves
    if (size() == capacity())
        enlarge(size() * 2); // so that long reports aren't moved again for each line or two
    ZKVector<InfoLine>::add(std::move(line));
}

ZK::Property::Value InfoContainer::toPropertyValue() const
{
    using ZK::Property::Value;

    Value root = ZK::Property::object();
    Value* objects[MAX_LEVELS] = {&root};
    unsigned int levels = 1; // that have an object; those below a line that was added belong to an earlier one
    for (InfoLine const* line = begin(); line != end(); ++line)
    {
        if (line->level >= levels)
            continue;
        levels = line->level + 1;
        Value& parent = *objects[line->level];
        if (line + 1 == end() || line[1].level <= line->level)
        {
            parent.setMember(line->key, line->value.isEmpty() ? Value(nullptr) : Value(line->value));
            continue;
        }
        String name = line->key;
        if (!line->value.isEmpty())
            name.concat(": ", 2).concat(line->value);
        std::printf("*** Add header: %u: %s\n", line->level, name.c_str());
        Value& header = parent[name];
        header = ZK::Property::object();
        if (levels < MAX_LEVELS)
            objects[levels++] = &header;
    }
    return root;
}
