#include "zekovar/property/info.h"

#include <algorithm>
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
    Value* objects[MAX_LEVELS] = {&root}; // the latest of each level
    unsigned int levels = 1;              // that have one
    for (InfoLine const* line = begin(); line != end(); ++line)
    {
        unsigned int const level = line->level;
        if (level >= levels)
            continue;
        bool const isHeader = line + 1 != end() && line[1].level > level;
        String name = line->key;
        if (isHeader && !line->value.isEmpty())
            name.concat(": ", 2).concat(line->value);
        Value& parent = *objects[level];
        if (parent.contains(name))
            levels = level + 1; // what is replaced may hold the objects of the deeper levels
        if (!isHeader)
        {
            parent.setMember(name, line->value.isEmpty() ? Value(nullptr) : Value(line->value));
            continue;
        }
        std::printf("*** Add header: %u: %s\n", level, name.c_str());
        Value& header = parent[name];
        header = ZK::Property::object();
        if (level + 1 < MAX_LEVELS)
        {
            objects[level + 1] = &header;
            levels = std::max(levels, level + 2);
        }
    }
    return root;
}
