#include "zekovar/files/file.h"
#include "zekovar/foundation/system_code.h"

#include <cstdio>
#include <sys/sysmacros.h>
#include <unistd.h>

using ZK::Detail::codeOfResult;

namespace
{
constexpr int LINK_LIMIT = 1023; // characters of a link that are read

bool isOfType(ZKFile const& file, unsigned int type)
{
    return (file.getMode() & S_IFMT) == type;
}

bool isDevice(ZKFile const& file, unsigned int type, int* major, int* minor)
{
    struct stat info;
    if (file.getInfo(info).isErr() || (info.st_mode & S_IFMT) != type)
        return false;
    if (major != nullptr)
        *major = static_cast<int>(gnu_dev_major(info.st_rdev));
    if (minor != nullptr)
        *minor = static_cast<int>(gnu_dev_minor(info.st_rdev));
    return true;
}
}

bool ZKFile::exists() const
{
    struct stat info;
    return getInfo(info).isSuccess();
}

bool ZKFile::isRegular() const
{
    return isOfType(*this, S_IFREG);
}

bool ZKFile::isFifo() const
{
    return isOfType(*this, S_IFIFO);
}

bool ZKFile::isSocket() const
{
    return isOfType(*this, S_IFSOCK);
}

bool ZKFile::isDirectory() const
{
    return isOfType(*this, S_IFDIR);
}

bool ZKFile::isCharDev(int* major, int* minor) const
{
    return isDevice(*this, S_IFCHR, major, minor);
}

bool ZKFile::isBlockDev(int* major, int* minor) const
{
    return isDevice(*this, S_IFBLK, major, minor);
}

unsigned int ZKFile::getMode() const
{
    struct stat info;
    return getInfo(info).isSuccess() ? info.st_mode : 0;
}

long long ZKFile::getSize() const
{
    struct stat info;
    return getInfo(info).isSuccess() ? info.st_size : -1;
}

int ZKFile::getDevMajor() const
{
    struct stat info;
    return getInfo(info).isSuccess() ? static_cast<int>(gnu_dev_major(info.st_rdev)) : -1;
}

int ZKFile::getDevMinor() const
{
    struct stat info;
    return getInfo(info).isSuccess() ? static_cast<int>(gnu_dev_minor(info.st_rdev)) : -1;
}

XCode ZKFile::getInfo(struct stat& info) const
{
    return isOpen() ? GET_INFO(getFd(), info) : GET_INFO(getPath(), info);
}

XCode ZKFile::GET_INFO(String const& path, struct stat& info)
{
    return codeOfResult(::stat(path.c_str(), &info));
}

XCode ZKFile::GET_INFO(int fd, struct stat& info)
{
    return codeOfResult(::fstat(fd, &info));
}

XCode ZKFile::GET_LINK_INFO(String const& path, struct stat& info)
{
    return codeOfResult(::lstat(path.c_str(), &info));
}

bool ZKFile::EXISTS(String const& path)
{
    struct stat info;
    return GET_INFO(path, info).isSuccess();
}

bool ZKFile::IS_SOFTLINK(String const& path)
{
    struct stat info;
    return GET_LINK_INFO(path, info).isSuccess() && S_ISLNK(info.st_mode);
}

String ZKFile::GET_PATH(int fd)
{
    String path;
    if (fd >= 0) // the kernel takes its time to find that it has none
        GET_SOFTLINK(String::stringOfFormat("/proc/self/fd/%d", fd), path);
    return path;
}

String ZKFile::BASENAME(String const& path)
{
    return path == "/" ? path : path.substring(path.lastIndexOf('/') + 1);
}

XCode ZKFile::GET_SOFTLINK(String const& path, String& target)
{
    char text[LINK_LIMIT];
    ssize_t const length = ::readlink(path.c_str(), text, sizeof(text));
    XCode const code = codeOfResult(static_cast<int>(length));
    target = String(text, length > 0 ? static_cast<int>(length) : 0, 0, LINK_LIMIT);
    return code;
}
