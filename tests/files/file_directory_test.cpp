#include "zekovar/files/file.h"

#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/vector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

using testing::UnorderedElementsAre;
using ZK::Detail::codeOfErrno;

namespace
{
class FileDirectory : public testing::Test
{
protected:
    void touch(char const* name)
    {
        ASSERT_TRUE(ZKFile(m_directory / name, true, false).open(O_CREAT | O_WRONLY, 0600, ZKFile::XO_NONE));
    }

    TemporaryDirectory m_directory;
};
}

TEST_F(FileDirectory, CreateMakesAllThatIsMissing)
{
    EXPECT_TRUE(ZKFile::CREATE_DIR(m_directory / "a/b/c", 0755));
    EXPECT_TRUE(ZKFile(m_directory / "a/b/c", false, false).isDirectory());
    touch("file");
    EXPECT_TRUE(ZKFile::CREATE_DIR(m_directory / "file", 0755)) << "what exists is a success";
    EXPECT_EQ(ZKFile::CREATE_DIR("", 0755), codeOfErrno(ENOENT));
    String const hostile = (m_directory / "file").concat(String::repeat("/x", 200000));
    EXPECT_EQ(ZKFile::CREATE_DIR(hostile, 0755), codeOfErrno(ENOTDIR)) << "and no stack overflow";

    ZKFile file(m_directory / "p/q/file", true, false);
    EXPECT_EQ(file.open(O_CREAT | O_WRONLY, 0700, ZKFile::XO_NONE), codeOfErrno(ENOENT));
    EXPECT_TRUE(file.open(O_CREAT | O_WRONLY, 0700, ZKFile::XO_CREATE_DIRS));
}

TEST_F(FileDirectory, RemoveTakesWholeTreesAndWhatIsMissingIsGone)
{
    EXPECT_TRUE(ZKFile::REMOVE(m_directory / "missing"));
    ASSERT_TRUE(ZKFile::CREATE_DIR(m_directory / "tree/a", 0755));
    ASSERT_TRUE(ZKFile::CREATE_DIR(m_directory / "target", 0755));
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

TEST_F(FileDirectory, ListsAddTheirEntries)
{
    touch("one");
    ASSERT_TRUE(ZKFile::CREATE_DIR(m_directory / "two", 0755));
    ZKVector<String> entries;
    ASSERT_TRUE(ZKFile::GET_SUBDIRECTORIES(m_directory / "two", entries, false));
    ASSERT_TRUE(ZKFile::LIST_DIRECTORY(m_directory.path(), entries, false));
    EXPECT_THAT(std::vector<String>(entries.begin(), entries.end()), UnorderedElementsAre(".", "..", "one", "two"));
    entries.clear();
    ASSERT_TRUE(ZKFile::GET_FILES(m_directory.path(), entries, true));
    String const missing = m_directory / "missing";
    EXPECT_TRUE(ZKFile::GET_FILES(missing, entries, false));
    EXPECT_EQ(ZKFile::LIST_DIRECTORY(missing, entries, false), codeOfErrno(ENOENT));
    EXPECT_EQ(ZKFile::GET_SUBDIRECTORIES(missing, entries, false), codeOfErrno(ENOENT));
    EXPECT_TRUE(entries.size() == 1 && entries[0] == m_directory / "one");
}

TEST_F(FileDirectory, PathsAndLinks)
{
    EXPECT_TRUE(ZKFile::BASENAME("/") == "/" && ZKFile::BASENAME("/a/b") == "b");
    EXPECT_TRUE(ZKFile::BASENAME("a/") == "" && ZKFile::BASENAME("a") == "a");
    EXPECT_EQ(ZKFile::GET_PATH(-1), "");

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
