#pragma once

#include "zekovar/property/info.h"

#include <cstdint>

namespace ZK::Detail
{
/// Adds to a report what its reader wants to see. Levels and details are sums that may be above what a line can have;
/// such lines are left out as well.
class InfoRows
{
public:
    InfoRows(InfoContainer& container, unsigned int maxLevel, unsigned int maxDetail)
        : m_container(container), m_maxLevel(maxLevel), m_maxDetail(maxDetail)
    {
    }

    bool isWanted(uint64_t level, uint64_t detail) const { return level <= m_maxLevel && detail <= m_maxDetail; }

    void add(uint64_t level, uint64_t detail, String const& key, String const& value)
    {
        if (isWanted(level, detail))
            m_container.add(static_cast<unsigned int>(level), static_cast<unsigned int>(detail), key, value);
    }

private:
    InfoContainer& m_container;
    unsigned int m_maxLevel;
    unsigned int m_maxDetail;
};
}
