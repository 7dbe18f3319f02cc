#include "zekovar/files/file.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/foundation/system_code.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <optional>
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
    ASSERT_TRUE(file.open(O_RDONLY, 0, ZKFile::XO_NONE));
    EXPECT_EQ(file.getFd(), first) << "the old descriptor is closed first";
    EXPECT_TRUE(file.close() && !isDescriptorOpen(first));
    EXPECT_TRUE(file.setPath("/elsewhere") && file.getPath() == "/elsewhere");
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
    third = second;
    EXPECT_FALSE(isDescriptorOpen(fd) || ZKFile::EXISTS(m_path));

    second.destruct();
    EXPECT_EQ(second.getPath(), "");
    EXPECT_EQ(second.open(O_RDONLY, 0, ZKFile::XO_NONE), XCODE_FAILURE);
    EXPECT_EQ(third.setFd(0, false), XCODE_FAILURE);
}

TEST_F(File, TakenDescriptorsBringTheirPath)
{
    ZKFile readEnd;
    ZKFile file;
    ASSERT_TRUE(ZKFile::CREATE_PIPE(readEnd, file, true));
    EXPECT_TRUE(readEnd.isFifo() && readEnd.isAutoClose() && readEnd.getPath().startsWith("pipe:["));
    int const old = file.getFd();
    EXPECT_EQ(::fcntl(old, F_GETFD), FD_CLOEXEC);
    EXPECT_TRUE(file.setCloseOnExec(false) && ::fcntl(old, F_GETFD) == 0);
    EXPECT_TRUE(file.isBlocking() && file.setBlocking(false) && !file.isBlocking());
    EXPECT_TRUE(file.setBlocking(true) && file.isBlocking());

    errno = EMFILE;
    EXPECT_EQ(file.setValidFd(-1), codeOfErrno(EMFILE));
    int const taken = ::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_TRUE(file.setFd(taken, false));
    EXPECT_EQ(file.getPath(), m_path);
    EXPECT_TRUE(isDescriptorOpen(old)) << "the old one is the caller's";
    ASSERT_TRUE(file.setValidFd(old));
    EXPECT_FALSE(isDescriptorOpen(taken));
}

TEST_F(File, PropertiesAreThoseOfTheOpenDescriptorFirst)
{
    ZKFile file(m_path, true, false);
    EXPECT_FALSE(file.exists() || file.isRegular());
    EXPECT_TRUE(file.getMode() == 0 && file.getSize() == -1 && file.getDevMajor() == -1);
    ASSERT_TRUE(file.open(O_RDWR | O_CREAT, 0600, ZKFile::XO_NONE));
    ASSERT_TRUE(file.writef("%d-%s", 42, "x"));
    EXPECT_EQ(file.getSize(), 4);
    ::unlink(m_path.c_str());
    EXPECT_TRUE(file.exists() && file.isRegular());
    EXPECT_EQ(file.remove(), codeOfErrno(ENOENT));
    EXPECT_FALSE(file.exists());

    int major = 0, minor = 0;
    ZKFile const null("/dev/null", false, false);
    EXPECT_TRUE(null.isCharDev(nullptr, nullptr) && null.isCharDev(&major, &minor) && major == 1 && minor == 3);
    EXPECT_TRUE(null.getDevMajor() == 1 && null.getDevMinor() == 3);
    EXPECT_FALSE(null.isBlockDev(nullptr, nullptr) || null.isSocket() || null.isDirectory());
}

TEST_F(File, NodesAreMadeWithTheirFullModeAndRenamed)
{
    mode_t const mask = ::umask(077);
    auto const previous = std::signal(SIGPIPE, SIG_DFL);
    ZKFile file(m_path, false, true);
    EXPECT_TRUE(file.createFifo(0622));
    EXPECT_EQ(file.getMode(), S_IFIFO | 0622u);
    EXPECT_EQ(std::signal(SIGPIPE, previous), SIG_IGN);
    ::umask(mask);

    EXPECT_EQ(file.create(0666, 0), codeOfErrno(EEXIST));
    ASSERT_TRUE(file.rename(m_directory / "other"));
    EXPECT_EQ(file.rename(m_directory / "no/where"), codeOfErrno(ENOENT));
    EXPECT_EQ(file.getPath(), m_directory / "other");
    EXPECT_TRUE(file.isFifo() && !ZKFile::EXISTS(m_path));
}
