#include "zekovar/files/file.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/tstring.h"
#include "zekovar/foundation/vector.h"

#include <gmock/gmock.h>
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
    void touch(char const* name)
    {
        ASSERT_TRUE(ZKFile(m_directory / name, true, false).open(O_CREAT | O_WRONLY, 0700, ZKFile::XO_CREATE_DIRS));
    }

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
    ZKFile second(*first), third;
    third = second;
    ZKFile const& alias = third;
    third = alias;
    first.reset();
    second.destruct();
    EXPECT_TRUE(isDescriptorOpen(fd) && third.exists());
    third = second;
    EXPECT_FALSE(isDescriptorOpen(fd) || ZKFile::EXISTS(m_path));

    second.destruct();
    EXPECT_EQ(second.open(O_RDONLY, 0, ZKFile::XO_NONE), XCODE_FAILURE);
}

TEST_F(File, TakenDescriptorsBringTheirPath)
{
    ZKFile readEnd, file;
    ASSERT_TRUE(ZKFile::CREATE_PIPE(readEnd, file, true));
    EXPECT_TRUE(readEnd.getPath().startsWith("pipe:["));
    int const old = file.getFd();
    EXPECT_EQ(::fcntl(old, F_GETFD), FD_CLOEXEC);
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
    EXPECT_EQ(file.getSize(), -1);
    ASSERT_TRUE(file.open(O_RDWR | O_CREAT, 0600, ZKFile::XO_NONE));
    ASSERT_TRUE(file.writef("%d-%s", 42, "x"));
    ::unlink(m_path.c_str());
    EXPECT_TRUE(file.isRegular() && file.getSize() == 4);
    EXPECT_EQ(file.remove(), codeOfErrno(ENOENT));
    EXPECT_FALSE(file.exists());

    int major = 0, minor = 0;
    ZKFile const null("/dev/null", false, false);
    EXPECT_TRUE(null.isCharDev(&major, &minor) && major == 1 && minor == 3);
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

TEST_F(File, CreateDirTellsWhatIsInTheWay)
{
    touch("file");
    EXPECT_TRUE(ZKFile::CREATE_DIR(m_directory / "file", 0755)) << "what exists is a success";
    EXPECT_EQ(ZKFile::CREATE_DIR("", 0755), codeOfErrno(ENOENT));
    String const hostile = (m_directory / "file").concat(String::repeat("/x", 200000));
    EXPECT_EQ(ZKFile::CREATE_DIR(hostile, 0755), codeOfErrno(ENOTDIR)) << "and no stack overflow";
}

TEST_F(File, RemoveTakesWholeTreesAndWhatIsMissingIsGone)
{
    EXPECT_TRUE(ZKFile::REMOVE(m_directory / "missing"));
    touch("tree/a/file");
    touch("target/file");
    ASSERT_EQ(::symlink("../target", (m_directory / "tree/link").c_str()), 0);
    EXPECT_TRUE(ZKFile::REMOVE(m_directory / "tree"));
    EXPECT_FALSE(ZKFile::EXISTS(m_directory / "tree") || ZKFile::EXISTS(m_directory / "target/file"));
    ASSERT_EQ(::symlink(".", (m_directory / "target/loop").c_str()), 0);
    EXPECT_EQ(ZKFile::REMOVE(m_directory / "target"), codeOfErrno(ENOENT)) << "the link went from below itself";

    ASSERT_EQ(::symlink("nowhere", (m_directory / "dangling").c_str()), 0);
    EXPECT_TRUE(ZKFile::REMOVE(m_directory / "dangling") && ZKFile::IS_SOFTLINK(m_directory / "dangling"));
}

TEST_F(File, ListsOfDirectoriesAddTheirEntries)
{
    touch("one");
    ASSERT_TRUE(ZKFile::CREATE_DIR(m_directory / "two", 0755));
    ZKVector<String> entries;
    ASSERT_TRUE(ZKFile::GET_SUBDIRECTORIES(m_directory / "two", entries, false));
    ASSERT_TRUE(ZKFile::LIST_DIRECTORY(m_directory.path(), entries, false));
    EXPECT_THAT(std::vector<String>(entries.begin(), entries.end()),
                testing::UnorderedElementsAre(".", "..", "one", "two"));
    entries.clear();
    ASSERT_TRUE(ZKFile::GET_FILES(m_directory.path(), entries, true));
    EXPECT_TRUE(ZKFile::GET_FILES(m_directory / "missing", entries, false));
    EXPECT_EQ(ZKFile::LIST_DIRECTORY(m_directory / "missing", entries, false), codeOfErrno(ENOENT));
    EXPECT_TRUE(entries.size() == 1 && entries[0] == m_directory / "one");
}

TEST_F(File, PathsAndLinksAreTakenApart)
{
    EXPECT_EQ(listed(ZKFile::BASENAME("/"), ZKFile::BASENAME("/a/b"), ZKFile::BASENAME("a/"), ZKFile::BASENAME("a")),
              "/|b||a");

    String const link = m_directory / "link";
    ASSERT_EQ(::symlink("some/where", link.c_str()), 0);
    EXPECT_TRUE(ZKFile::IS_SOFTLINK(link) && !ZKFile::EXISTS(link));
    String target("old");
    EXPECT_TRUE(ZKFile::GET_SOFTLINK(link, target) && target == "some/where");
    EXPECT_EQ(ZKFile::GET_SOFTLINK(m_directory.path(), target), codeOfErrno(EINVAL));
    EXPECT_EQ(target, "");

    bool isInside = false;
    EXPECT_TRUE(ZKFile::IS_FILE_IN_DIR(link, m_directory.path(), isInside) && isInside);
    EXPECT_TRUE(ZKFile::IS_FILE_IN_DIR(m_directory / "../file", m_directory.path(), isInside) && !isInside);
    isInside = true;
    EXPECT_TRUE(ZKFile::IS_FILE_IN_DIR(m_directory / "missing/file", m_directory.path(), isInside) && !isInside);
}

TEST_F(File, WholeFilesAreWrittenAndReadBack)
{
    TString<char> back;
    ASSERT_TRUE(ZKFile::WRITE_TSTRING(m_path, TString<char>("what was there", 14), 0, true));
    ASSERT_TRUE(ZKFile::WRITE_TSTRING(m_path, TString<char>("new", 3), 0, true));
    ASSERT_TRUE(ZKFile::READ_TSTRING(m_path, back, O_RDONLY, true));
    EXPECT_EQ(std::string(back.data(), back.length()), "new");
}
