#include "zekovar/net/mac_address.h"

#include <cstdio>

bool MacAddr::set(String const& text)
{
    int const fields = std::sscanf(text.c_str(), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx", &m_bytes[0], &m_bytes[1],
                                   &m_bytes[2], &m_bytes[3], &m_bytes[4], &m_bytes[5]);
    return fields == SIZE;
}

String MacAddr::toString() const
{
    return String::stringOfFormat("%02x:%02x:%02x:%02x:%02x:%02x", m_bytes[0], m_bytes[1], m_bytes[2], m_bytes[3],
                                  m_bytes[4], m_bytes[5]);
}
