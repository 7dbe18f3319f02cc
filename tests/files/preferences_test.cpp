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

using namespace std::string_literals;
using testing::ElementsAre;
using P = PREFERENCES;

namespace
{
constexpr char const* CHANGED = "6 EVENT      # Preferences file changed.\n";
constexpr char const* MISSING = "4 EVENT      # Preference File not available.\n";

class PreferencesFile : public testing::Test
{
protected:
    void write(std::string const& text) const { std::ofstream(m_path.c_str(), std::ios::binary) << text; }

    /// Loads the file as a new process does.
    String valueOf(char const* key) const
    {
        String value;
        Preferences(m_path).read(key, value, "(none)");
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
    EXPECT_EQ(listed(valueOf("a"), valueOf("key"), valueOf("c"), valueOf("last")), "1|value|3|one");
    EXPECT_EQ(listed(valueOf("section"), valueOf("b"), valueOf("KEY"), valueOf("")), "(none)|(none)|(none)|(none)");
}

TEST_F(PreferencesFile, ChangeIsNotedOnceAtTheFirstRead)
{
    write("1234\n56789\n"); // the sum is the well-known one of "123456789", CRC-32/MPEG-2
    Preferences preferences(m_path);
    EXPECT_TRUE(m_log.lines().empty()) << "loading doesn't log";
    String value;
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(preferences.read("1234", value, "default") == XCODE_FAILURE && value == "default");
    valueOf("");
    EXPECT_THAT(m_log.lines(), ElementsAre(CHANGED)) << "the second load found no change";
    std::ofstream(m_companion.c_str()) << "\x03\x76\xE6";
    valueOf("");
    std::ifstream companion(m_companion.c_str(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(companion), {}), "\x03\x76\xE6\xE7");
    write("1234\n56780\n");
    valueOf("");
    EXPECT_THAT(m_log.lines(), ElementsAre(CHANGED, CHANGED, CHANGED)) << "a short companion is none";
}

TEST_F(PreferencesFile, WhatIsNoFileFailsAndLeavesTheTable)
{
    write("a 1\n");
    ASSERT_EQ(::mkdir(m_companion.c_str(), 0700), 0);
    Preferences preferences(m_path);
    String const fifo = m_directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    for (String const& path : {m_directory / "missing", m_directory.path(), fifo})
        EXPECT_EQ(preferences.createPrefsFromFile(path), XCODE_FAILURE) << path.c_str();
    String value;
    EXPECT_TRUE(preferences.read("a", value, "") && value == "1") << "the companion is done without";
    EXPECT_THAT(m_log.lines(), ElementsAre(MISSING, MISSING, MISSING, CHANGED));
}

TEST_F(PreferencesFile, OversizeIsLeftOutWithANote)
{
    std::string const word(Preferences::MAX_WORD_LENGTH, 'x');
    std::string text = "longer " + word + "x\n" + std::string(3000000, 'y') + "\n";
    for (std::size_t i = 0; i <= Preferences::MAX_TABLE_SIZE / word.size(); ++i)
        text += std::to_string(i) + " " + word + "\n";
    write(text);
    EXPECT_EQ(valueOf("0"), word.c_str());
    EXPECT_EQ(listed(valueOf("longer"), valueOf("256")), "(none)|(none)");
    EXPECT_EQ(m_log.lines()[0], "4 EVENT      # PREFERENCES TOO LARGE, LINE 1 LEFT OUT\n");
}

TEST_F(PreferencesFile, ProcessWideTableConvertsOrGivesTheDefault)
{
    P::DESTROY();
    EXPECT_EQ(P::READPREF_STRING("a", "default"), "default");
    write("on ON\nmaybe maybe\noff Disabled\nfive 5\nminus -5\n");
    std::thread reader([] { P::READPREF_BOOL("on", true); });
    EXPECT_TRUE(P::CREATEPREF(m_path) && P::CREATEPREF(m_path));
    reader.join();
    EXPECT_EQ(listed(P::EXISTSPREF("maybe"), P::EXISTSPREF("missing")), "true|false");
    EXPECT_EQ(listed(P::READPREF_BOOL("on", false), P::READPREF_BOOL("maybe", true), P::READPREF_BOOL("missing", true),
                     P::READPREF_BOOL("off", true), P::READPREF_BOOL("maybe", false)),
              "true|true|true|false|false");
    EXPECT_EQ(listed(P::READPREF_UNSIGNED("five", 1, 5, 5), P::READPREF_UINT("five", 1, 6, 9),
                     P::READPREF_UINT("missing", 77, 0, 9)),
              "5|1|77");
    EXPECT_EQ(listed(P::READPREF_SIGNED("minus", 1, -5, 0), P::READPREF_SIGNED("minus", 1, -4, 0)), "-5|1");
}
