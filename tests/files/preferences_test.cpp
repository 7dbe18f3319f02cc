#include "zekovar/files/preferences.h"

#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace std::string_literals;

namespace
{
constexpr char const* CHANGED = "6 EVENT      # Preferences file changed.\n";
constexpr char const* MISSING = "4 EVENT      # Preference File not available.\n";

class PreferencesFile : public testing::Test
{
protected:
    void write(std::string const& text) const { std::ofstream(m_path.c_str(), std::ios::binary) << text; }

    std::string companion() const
    {
        std::ifstream file(m_companion.c_str(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Loads the file as a new process does, and reads `key`.
    String valueOf(char const* key) const
    {
        Preferences preferences(m_path);
        String value;
        preferences.read(key, value, "(none)");
        return value;
    }

    TemporaryDirectory m_directory;
    String m_path = m_directory / "preferences";
    String m_companion = m_directory / "preferences.crc32";
    CapturedSyslog m_log;
};
}

TEST_F(PreferencesFile, LineIsTheFirstTwoWordsAndTheFirstValueOfAKeyCounts)
{
    write("a 1\na 2\n\nsection\n \t key\v value behind it\r\nb\0 hidden\nc 3\0 4\nlast one"s);
    Preferences preferences(m_path);
    String value;
    for (auto const& [key, expected] :
         std::vector<std::pair<char const*, char const*>>{{"a", "1"}, {"key", "value"}, {"c", "3"}, {"last", "one"}})
        EXPECT_TRUE(preferences.read(key, value, "default") && value == expected) << key << " is " << value.c_str();
    for (char const* key : {"section", "b", "value", "KEY", ""})
        EXPECT_TRUE(preferences.read(key, value, "default") == XCODE_FAILURE && value == "default") << key;
}

TEST_F(PreferencesFile, ChangeIsNotedOnceAtTheFirstRead)
{
    write("1234\n56789\n"); // the sum is the well-known one of "123456789", CRC-32/MPEG-2
    {
        Preferences preferences(m_path);
        EXPECT_EQ(companion(), "\x03\x76\xE6\xE7");
        EXPECT_THAT(m_log.lines(), testing::IsEmpty()) << "loading doesn't log";
        String value;
        preferences.read("", value, "");
        preferences.read("", value, "");
        EXPECT_THAT(m_log.lines(), testing::ElementsAre(CHANGED));
    }
    valueOf("");
    EXPECT_EQ(m_log.lines().size(), 1u) << "the file is as it was";
    std::ofstream(m_companion.c_str()) << "\x03\x76\xE6";
    valueOf("");
    EXPECT_EQ(m_log.lines().size(), 2u) << "a short companion is none";
    EXPECT_EQ(companion(), "\x03\x76\xE6\xE7");
    write("1234\n56780\n");
    valueOf("");
    EXPECT_EQ(m_log.lines().size(), 3u);
}

TEST_F(PreferencesFile, CompanionThatCannotBeWrittenIsDoneWithout)
{
    write("a 1\n");
    ASSERT_EQ(::mkdir(m_companion.c_str(), 0700), 0);
    EXPECT_EQ(valueOf("a"), "1");
    EXPECT_EQ(valueOf("a"), "1");
    EXPECT_THAT(m_log.lines(), testing::ElementsAre(CHANGED, CHANGED));
}

TEST_F(PreferencesFile, WhatIsNoFileFailsAndLeavesTheTable)
{
    write("a 1\n");
    Preferences preferences(m_path);
    String value;
    preferences.read("a", value, "");
    String const fifo = m_directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (String const& path : {m_directory / "missing", m_directory.path(), fifo})
        EXPECT_EQ(preferences.createPrefsFromFile(path), XCODE_FAILURE) << path.c_str();
    EXPECT_TRUE(preferences.read("a", value, "") && value == "1");
    EXPECT_THAT(m_log.lines(), testing::ElementsAre(CHANGED, MISSING, MISSING, MISSING));
    EXPECT_NE(::access((m_directory / "fifo.crc32").c_str(), F_OK), 0);
}

TEST_F(PreferencesFile, OversizeIsLeftOutWithANote)
{
    std::string const word(Preferences::MAX_WORD_LENGTH, 'x');
    write("long " + word + "\nlonger " + word + "x\n" + std::string(3000000, 'y') + "\nb 2\n");
    EXPECT_EQ(valueOf("long"), word.c_str());
    EXPECT_EQ(valueOf("longer"), "(none)");
    EXPECT_EQ(valueOf("b"), "2");
    EXPECT_EQ(m_log.lines()[0], "4 EVENT      # PREFERENCES TOO LARGE, LINE 2 LEFT OUT\n");

    std::string text;
    std::size_t const lines = Preferences::MAX_TABLE_SIZE / word.size() + 1;
    for (std::size_t i = 0; i < lines; ++i)
        text += std::to_string(1000 + i) + " " + word + "\n";
    write(text);
    EXPECT_EQ(valueOf("1000"), word.c_str());
    EXPECT_EQ(valueOf(std::to_string(1000 + lines - 1).c_str()), "(none)");
}

TEST_F(PreferencesFile, ProcessWideTableConvertsOrGivesTheDefault)
{
    String value = "kept";
    PREFERENCES::DESTROY();
    EXPECT_EQ(PREFERENCES::READPREF("a", value, "default"), XCODE_FAILURE);
    EXPECT_EQ(value, "kept");
    EXPECT_EQ(PREFERENCES::READPREF_STRING("a", "default"), "default");

    write("on ON\nmaybe maybe\noff Disabled\nfive 5\nbad 05\nminus -5\n");
    std::thread reader([] { PREFERENCES::READPREF_BOOL("on", true); });
    EXPECT_TRUE(PREFERENCES::CREATEPREF(m_path) && PREFERENCES::CREATEPREF(m_path));
    reader.join();
    EXPECT_TRUE(PREFERENCES::EXISTSPREF("maybe") && !PREFERENCES::EXISTSPREF("missing"));
    EXPECT_EQ(listed(PREFERENCES::READPREF_STRING("maybe", ""), PREFERENCES::READPREF_STRING("missing", "x")),
              "maybe|x");
    EXPECT_TRUE(PREFERENCES::READPREF_BOOL("on", false) && !PREFERENCES::READPREF_BOOL("off", true));
    for (bool preset : {false, true})
    {
        EXPECT_EQ(PREFERENCES::READPREF_BOOL("maybe", preset), preset);
        EXPECT_EQ(PREFERENCES::READPREF_BOOL("missing", preset), preset);
    }
    EXPECT_EQ(PREFERENCES::READPREF_UNSIGNED("five", 1, 5, 5), 5u);
    EXPECT_EQ(PREFERENCES::READPREF_UINT("five", 1, 6, 9), 1u) << "out of range";
    EXPECT_EQ(PREFERENCES::READPREF_UNSIGNED("bad", 1, 0, 9), 1u);
    EXPECT_EQ(PREFERENCES::READPREF_UNSIGNED("missing", 77, 0, 9), 77u);
    EXPECT_EQ(PREFERENCES::READPREF_SIGNED("minus", 1, -5, 0), -5);
    EXPECT_EQ(PREFERENCES::READPREF_SIGNED("minus", 1, -4, 0), 1);
    EXPECT_TRUE(PREFERENCES::DESTROY());
}
