#include "zekovar/files/file.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/vector.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <libgen.h>
#include <memory>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;

namespace
{
constexpr int ANY_TYPE = -1;

struct Closer
{
    void operator()(DIR* directory) const { ::closedir(directory); }
};

struct Freer
{
    void operator()(char* text) const { std::free(text); }
};

using Directory = std::unique_ptr<DIR, Closer>;
using Text = std::unique_ptr<char, Freer>;

String entryPath(String const& directory, char const* name)
{
    return String::stringOfFormat("%s/%s", directory.c_str(), name);
}

bool isDotOrDotDot(char const* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

/// The next entry, or null at the end, which `code` tells from a failure.
dirent const* nextEntry(Directory const& directory, XCode& code)
{
    errno = 0;
    dirent const* const entry = ::readdir(directory.get());
    code = entry == nullptr ? codeOfErrno(errno) : XCode();
    return entry;
}

/// Adds the entries of one `d_type`, "." and ".." among the directories.
XCode addEntries(String const& path, ZKVector<String>& entries, bool fullPath, int type)
{
    Directory const directory(::opendir(path.c_str()));
    if (directory == nullptr)
        return codeOfErrno(errno);
    XCode code;
    while (dirent const* const entry = nextEntry(directory, code))
    {
        bool const isWanted = type == ANY_TYPE ? !isDotOrDotDot(entry->d_name) : entry->d_type == type;
        if (isWanted)
            entries.add(fullPath ? entryPath(path, entry->d_name) : String(entry->d_name));
    }
    return code;
}

XCode removeEntries(String const& path)
{
    Directory const directory(::opendir(path.c_str()));
    if (directory == nullptr)
        return codeOfErrno(errno);
    XCode code;
    while (dirent const* const entry = nextEntry(directory, code))
    {
        if (isDotOrDotDot(entry->d_name))
            continue;
        code = ZKFile::REMOVE(entryPath(path, entry->d_name));
        if (code.isErr())
            break;
    }
    return code;
}
}

XCode ZKFile::CREATE_DIR(String const& path, unsigned int mode)
{
    if (EXISTS(path))
        return XCODE_SUCCESS;
    // down to the longest part that exists; no longer one than PATH_MAX does
    int end = path.length();
    do
    {
        end = path.lastIndexOf('/', end - 1);
    } while (end > 0 && (end >= PATH_MAX || !EXISTS(path.substring(0, end))));
    end = std::max(end, 0);
    do
    {
        int const slash = path.indexOf('/', end + 1);
        end = slash < 0 ? path.length() : slash;
        XCode const code = codeOfResult(::mkdir(path.substring(0, end).c_str(), mode));
        if (code.isErr())
            return code;
    } while (end < path.length());
    return XCODE_SUCCESS;
}

XCode ZKFile::REMOVE(String const& path)
{
    struct stat info;
    if (GET_INFO(path, info).isErr())
        return XCODE_SUCCESS;
    if (S_ISDIR(info.st_mode))
    {
        XCode const code = removeEntries(path);
        if (code.isErr())
            return code;
    }
    return codeOfResult(std::remove(path.c_str()));
}

XCode ZKFile::IS_FILE_IN_DIR(String const& file, String const& directory, bool& result)
{
    result = false;
    Text const copy(::strdup(file.c_str()));
    if (copy == nullptr)
        return XCODE_SUCCESS;
    Text const resolved(::realpath(::dirname(copy.get()), nullptr));
    result = resolved != nullptr && String(resolved.get()).startsWith(directory);
    return XCODE_SUCCESS;
}

XCode ZKFile::LIST_DIRECTORY(String const& path, ZKVector<String>& entries, bool fullPath)
{
    return addEntries(path, entries, fullPath, ANY_TYPE);
}

XCode ZKFile::GET_FILES(String const& path, ZKVector<String>& entries, bool fullPath)
{
    addEntries(path, entries, fullPath, DT_REG);
    return XCODE_SUCCESS;
}

XCode ZKFile::GET_SUBDIRECTORIES(String const& path, ZKVector<String>& entries, bool fullPath)
{
    return addEntries(path, entries, fullPath, DT_DIR);
}
