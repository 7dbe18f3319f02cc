#pragma once

#include "zekovar/foundation/string.h"

#include <cstdlib>
#include <filesystem>

/// An empty directory that goes away, with all that is in it, at the end.
class TemporaryDirectory
{
public:
    TemporaryDirectory() : m_path(::mkdtemp(m_name)) {}

    ~TemporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_name, ignored);
    }

    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    String const& path() const { return m_path; }

    /// The path of `name` in here.
    String operator/(char const* name) const { return String::stringOfFormat("%s/%s", m_name, name); }

private:
    char m_name[32] = "/tmp/zekovar_test_XXXXXX";
    String m_path;
};
