#include "zekovar/files/file.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/foundation/system_code.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <optional>
#include <sys/sysmacros.h>
#include <unistd.h>

using ZK::Detail::codeOfErrno;

namespace
{
bool isDescriptorOpen(int fd)
{
    return ::fcntl(fd, F_GETFD) >= 0;
}

class File : public testing::Test
{
protected:
    TemporaryDirectory m_directory;
    String m_path = m_directory / "file";
};
}

TEST_F(File, OpeningAndClosingMoveBetweenTheTwoStates)
{
    ZKFile file(m_path, true, false);
    EXPECT_EQ(file.close(), codeOfErrno(EBADFD));
    EXPECT_EQ(file.open(O_RDWR, 0644, ZKFile::XO_NONE), codeOfErrno(ENOENT));
    EXPECT_EQ(file.getFd(), -1);
    ASSERT_TRUE(file.open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE));
    int const first = file.getFd();
    EXPECT_EQ(::fcntl(first, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(file.setPath("/elsewhere"), XCODE_FAILURE);
    int const keeper = ::dup(first); // so that the next descriptor has another number
    ASSERT_TRUE(file.open(O_RDONLY, 0, ZKFile::XO_NONE));
    EXPECT_EQ(file.getFd(), first) << "the old descriptor is closed first";
    ::close(keeper);
    EXPECT_TRUE(file.close());
    EXPECT_FALSE(isDescriptorOpen(first));
    EXPECT_TRUE(file.setPath("/elsewhere"));
    EXPECT_EQ(file.getPath(), "/elsewhere");
}

TEST_F(File, FailedCloseForgetsTheDescriptorAndLeavesALine)
{
    CapturedSyslog log;
    ZKFile file(m_path, false, false);
    ASSERT_TRUE(file.open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE));
    int const fd = file.getFd();
    ::close(fd);
    EXPECT_EQ(file.open(O_RDWR, 0644, ZKFile::XO_NONE), codeOfErrno(EBADF)) << "closing the old one fails";
    EXPECT_EQ(file.getFd(), -1);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"3 FILE DESCRIPTOR " + std::to_string(fd) +
                                                    " CANNOT BE CLOSED: BAD FILE DESCRIPTOR (9)\n"});
}

TEST_F(File, LastHandleClosesAndRemoves)
{
    std::optional<ZKFile> first(std::in_place, m_path, true, true);
    ASSERT_TRUE(first->open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE));
    int const fd = first->getFd();
    ZKFile second(*first);
    ZKFile third;
    third = second;
    ZKFile const& alias = third;
    third = alias;
    first.reset();
    second.destruct();
    EXPECT_TRUE(isDescriptorOpen(fd) && third.exists());
    third = ZKFile();
    EXPECT_FALSE(isDescriptorOpen(fd) || ZKFile::EXISTS(m_path));

    second.destruct();
    EXPECT_EQ(second.getFd(), -1);
    EXPECT_EQ(second.getPath(), "");
    EXPECT_EQ(second.open(O_RDONLY, 0, ZKFile::XO_NONE), XCODE_FAILURE);
    EXPECT_EQ(second.setFd(0, false), XCODE_FAILURE);
    EXPECT_EQ(ZKFile(second).close(), codeOfErrno(EBADFD));
}

TEST_F(File, TakenDescriptorsBringTheirPath)
{
    ZKFile readEnd;
    ZKFile writeEnd;
    ASSERT_TRUE(ZKFile::CREATE_PIPE(readEnd, writeEnd, true));
    EXPECT_TRUE(readEnd.isFifo() && readEnd.isAutoClose() && readEnd.getPath().startsWith("pipe:["));
    EXPECT_EQ(::fcntl(writeEnd.getFd(), F_GETFD), FD_CLOEXEC);
    EXPECT_TRUE(writeEnd.setCloseOnExec(false) && ::fcntl(writeEnd.getFd(), F_GETFD) == 0);
    EXPECT_TRUE(readEnd.isBlocking() && readEnd.setBlocking(false) && !readEnd.isBlocking());
    EXPECT_TRUE(readEnd.setBlocking(true) && readEnd.isBlocking() && !ZKFile().isBlocking());

    ZKFile file;
    errno = EMFILE;
    EXPECT_EQ(file.setValidFd(-1), codeOfErrno(EMFILE));
    ASSERT_TRUE(file.setValidFd(::dup(readEnd.getFd())));
    int const old = file.getFd();
    ASSERT_TRUE(file.setFd(::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600), false));
    EXPECT_EQ(file.getPath(), m_path);
    EXPECT_TRUE(isDescriptorOpen(old)) << "the old one is the caller's";
    int const replaced = file.getFd();
    ASSERT_TRUE(file.setValidFd(old));
    EXPECT_FALSE(isDescriptorOpen(replaced));
    EXPECT_TRUE(file.close());
}

TEST_F(File, PropertiesAreThoseOfTheOpenDescriptorFirst)
{
    ZKFile file(m_path, true, false);
    EXPECT_FALSE(file.exists() || file.isRegular() || file.isDirectory());
    EXPECT_EQ(file.getMode(), 0u);
    EXPECT_EQ(file.getSize(), -1);
    EXPECT_EQ(file.getDevMajor(), -1);
    ASSERT_TRUE(file.open(O_RDWR | O_CREAT, 0600, ZKFile::XO_NONE));
    ASSERT_TRUE(file.writef("%d-%s", 42, "x"));
    EXPECT_EQ(file.getSize(), 4);
    EXPECT_EQ(file.getMode(), S_IFREG | 0600u);
    ::unlink(m_path.c_str());
    EXPECT_TRUE(file.exists() && file.isRegular());
    EXPECT_EQ(file.remove(), codeOfErrno(ENOENT));
    EXPECT_FALSE(file.exists());

    int major = 0;
    int minor = 0;
    ZKFile const null("/dev/null", false, false);
    EXPECT_TRUE(null.isCharDev(&major, &minor) && null.isCharDev(nullptr, nullptr));
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 3);
    EXPECT_FALSE(null.isBlockDev(&major, &minor) || null.isSocket());
    EXPECT_TRUE(ZKFile(m_directory.path(), false, false).isDirectory());
}

TEST_F(File, NodesAreMadeWithTheirFullModeAndRenamed)
{
    mode_t const mask = ::umask(077);
    ZKFile file(m_path, false, false);
    EXPECT_TRUE(file.create(0666, 0));
    EXPECT_EQ(file.getMode(), S_IFREG | 0666u);
    EXPECT_EQ(file.createFifo(0644), codeOfErrno(EEXIST));
    ASSERT_TRUE(file.rename(m_directory / "other"));
    EXPECT_EQ(file.getPath(), m_directory / "other");
    EXPECT_TRUE(file.isRegular() && !ZKFile::EXISTS(m_path));
    EXPECT_EQ(file.rename(m_directory / "no/where"), codeOfErrno(ENOENT));
    EXPECT_EQ(file.getPath(), m_directory / "other");

    auto const previous = std::signal(SIGPIPE, SIG_DFL);
    ZKFile fifo(m_path, false, true);
    EXPECT_TRUE(fifo.createFifo(0622));
    EXPECT_EQ(fifo.getMode(), S_IFIFO | 0622u);
    EXPECT_EQ(std::signal(SIGPIPE, previous), SIG_IGN);
    ::umask(mask);
}
