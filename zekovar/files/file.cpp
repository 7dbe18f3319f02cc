#include "zekovar/files/file.h"

#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/no_cancellation.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/sysmacros.h>
#include <syslog.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;
using ZK::Detail::codeOfResult;

/// What the copies of a file share.
struct ZKFile::Record
{
    std::atomic<unsigned int> handleCount; // handles may go on several threads
    String path;
    std::atomic<int> fd; // -1 while closed; an active file is asked for it on several threads
    bool autoClose;
    bool autoRemove;
};

ZKFile::ZKFile(String const& path, bool autoClose, bool autoRemove)
    : m_record(new Record{1, path, -1, autoClose, autoRemove})
{
}

ZKFile::ZKFile(int fd, bool autoClose, bool autoRemove)
    : m_record(new Record{1, GET_PATH(fd), fd, autoClose, autoRemove})
{
}

ZKFile::ZKFile(ZKFile const& other)
{
    share(other);
}

ZKFile& ZKFile::operator=(ZKFile const& other)
{
    if (this != &other)
    {
        giveUp();
        share(other);
    }
    return *this;
}

ZKFile::~ZKFile()
{
    ZK::Detail::NoCancellation const noCancellation;
    giveUp();
}

void ZKFile::share(ZKFile const& other)
{
    m_record = other.m_record;
    if (m_record != nullptr)
        m_record->handleCount++;
}

void ZKFile::giveUp()
{
    if (m_record == nullptr)
        return;
    if (--m_record->handleCount == 0)
    {
        if (m_record->autoClose && isOpen())
            close();
        if (m_record->autoRemove && exists())
            remove();
        delete m_record;
    }
    m_record = nullptr;
}

void ZKFile::destruct()
{
    giveUp();
}

int ZKFile::getFd() const
{
    return m_record != nullptr ? m_record->fd.load(std::memory_order_relaxed) : -1;
}

String const& ZKFile::getPath() const
{
    return m_record != nullptr ? m_record->path : String::s_empty;
}

bool ZKFile::isAutoClose() const
{
    return m_record != nullptr && m_record->autoClose;
}

bool ZKFile::isAutoRemove() const
{
    return m_record != nullptr && m_record->autoRemove;
}

XCode ZKFile::setPath(String const& path)
{
    if (m_record == nullptr || isOpen())
        return XCODE_FAILURE;
    m_record->path = path;
    return XCODE_SUCCESS;
}

XCode ZKFile::create(unsigned int mode, unsigned long long device)
{
    XCode const code = codeOfResult(::mknod(getPath().c_str(), mode, device));
    if (code.isErr())
        return code;
    return codeOfResult(::chmod(getPath().c_str(), mode & ~S_IFMT));
}

XCode ZKFile::createFifo(unsigned int mode)
{
    XCode const code = create(mode | S_IFIFO, 0);
    std::signal(SIGPIPE, SIG_IGN);
    return code;
}

XCode ZKFile::createCharDev(int major, int minor, unsigned int mode)
{
    return create(mode | S_IFCHR, gnu_dev_makedev(static_cast<unsigned>(major), static_cast<unsigned>(minor)));
}

XCode ZKFile::createBlockDev(int major, int minor, unsigned int mode)
{
    return create(mode | S_IFBLK, gnu_dev_makedev(static_cast<unsigned>(major), static_cast<unsigned>(minor)));
}

XCode ZKFile::remove()
{
    if (isOpen())
    {
        XCode const code = close();
        if (code.isErr())
            return code;
    }
    return codeOfResult(::unlink(getPath().c_str()));
}

XCode ZKFile::rename(String const& path)
{
    XCode const code = codeOfResult(std::rename(getPath().c_str(), path.c_str()));
    if (code.isSuccess() && m_record != nullptr)
        m_record->path = path;
    return code;
}

XCode ZKFile::open(int flags, unsigned int mode, XOFlag extra)
{
    if (m_record == nullptr)
        return XCODE_FAILURE;
    if (isOpen())
    {
        XCode const code = close();
        if (code.isErr())
            return code;
    }
    String const& path = m_record->path;
    int const slash = path.lastIndexOf('/');
    if ((extra & XO_CREATE_DIRS) != 0 && slash > 0)
    {
        XCode const code = CREATE_DIR(path.substring(0, slash), mode);
        if (code.isErr())
            return code;
    }
    int const fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    m_record->fd = fd;
    return codeOfResult(fd);
}

XCode ZKFile::close()
{
    int const fd = getFd();
    if (fd < 0)
        return codeOfErrno(EBADFD);
    XCode code;
    do
    {
        code = codeOfResult(::close(fd));
    } while (code == codeOfErrno(EINTR));
    if (code.isErr())
        syslog(LOG_ERR, "FILE DESCRIPTOR %d CANNOT BE CLOSED: %s\n", fd, code.toString().c_str());
    m_record->fd = -1;
    return code;
}

XCode ZKFile::setFd(int fd, bool closeOld)
{
    if (m_record == nullptr)
        return XCODE_FAILURE;
    if (closeOld && isOpen())
    {
        XCode const code = close();
        if (code.isErr())
            return code;
    }
    m_record->path = GET_PATH(fd);
    m_record->fd = fd;
    return XCODE_SUCCESS;
}

XCode ZKFile::setValidFd(int fd)
{
    XCode const code = codeOfResult(fd);
    return code.isErr() ? code : setFd(fd, true);
}

XCode ZKFile::getFlags(int& flags) const
{
    int const result = ::fcntl(getFd(), F_GETFL);
    if (result >= 0)
        flags = result;
    return codeOfResult(result);
}

XCode ZKFile::setFlags(int flags)
{
    return codeOfResult(::fcntl(getFd(), F_SETFL, flags));
}

XCode ZKFile::setCloseOnExec(bool closeOnExec)
{
    return codeOfResult(::fcntl(getFd(), F_SETFD, closeOnExec ? FD_CLOEXEC : 0));
}

bool ZKFile::isBlocking() const
{
    int flags = 0;
    return getFlags(flags).isSuccess() && (flags & O_NONBLOCK) == 0;
}

XCode ZKFile::setBlocking(bool blocking)
{
    int flags = 0;
    XCode const code = getFlags(flags);
    if (code.isErr())
        return code;
    return setFlags(blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

XCode ZKFile::CREATE_PIPE(ZKFile& readEnd, ZKFile& writeEnd, bool autoClose)
{
    int ends[2];
    XCode const code = codeOfResult(::pipe2(ends, O_CLOEXEC));
    if (code.isErr())
        return code;
    readEnd = ZKFile(ends[0], autoClose, false);
    writeEnd = ZKFile(ends[1], autoClose, false);
    return code;
}
