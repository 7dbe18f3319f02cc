#include "zekovar/property/info.h"

void InfoContainer::add(unsigned int level, unsigned int detail, String const& key, String const& value)
{
    InfoLine line{level, detail, key, value}; // the texts may be those of a line that moves
    if (size() == capacity())
        enlarge(size() * 2); // so that long reports aren't moved again for each line or two
    ZKVector<InfoLine>::add(std::move(line));
}
