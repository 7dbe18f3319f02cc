#pragma once

#include "zekovar/foundation/string.h"

#include <cstdlib>

/// Sets TZ for a scope. The POSIX form, such as "CET-1CEST,M3.5.0,M10.5.0/3", needs no files.
class TimeZone
{
public:
    explicit TimeZone(char const* zone) : m_before(std::getenv("TZ")) { ::setenv("TZ", zone, 1); }

    ~TimeZone() { m_before.isEmpty() ? ::unsetenv("TZ") : ::setenv("TZ", m_before.c_str(), 1); }

    TimeZone(TimeZone const&) = delete;
    TimeZone& operator=(TimeZone const&) = delete;

private:
    String m_before;
};
