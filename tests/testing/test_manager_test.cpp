#include "zekovar/testing/test_manager.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

using ZK::Test::Fixture;
using ZK::Test::Manager;

namespace
{
class TestManager : public testing::Test
{
protected:
    ~TestManager() override { m_manager.removeFixture("Line"); }

    /// A fixture whose tests note that they have run.
    Fixture line()
    {
        Fixture fixture("Line");
        fixture.add("up",
                    [this]
                    {
                        m_ran.push_back("up");
                        return XCode(XCODE_SUCCESS);
                    });
        fixture.add("noise",
                    [this]
                    {
                        m_ran.push_back("noise");
                        XCode code(XCODE_FAILURE);
                        code.setString("TOO LOUD");
                        return code;
                    });
        fixture.add("down",
                    [this]
                    {
                        m_ran.push_back("down");
                        return XCode(XCODE_SUCCESS);
                    });
        return fixture;
    }

    unsigned int run(std::vector<char const*> const& names)
    {
        ZKVector<String> wanted;
        for (char const* name : names)
            wanted.add(name);
        return m_manager.run(wanted, [this](String const& text) { m_printed += text.c_str(); });
    }

    Manager& m_manager = Manager::INSTANCE();
    std::vector<std::string> m_ran;
    std::string m_printed;
};

TEST_F(TestManager, FailureShowsItsTextAndDoesntStopTheRest)
{
    ASSERT_TRUE(m_manager.addFixture(line()));
    EXPECT_EQ(run({"Line"}), 1u);
    EXPECT_THAT(m_ran, testing::ElementsAre("up", "noise", "down"));
    EXPECT_THAT(m_printed, testing::MatchesRegex("PASSED - 0\\.[0-9]+ - Line\\.up\n"
                                                 "FAILED - 0\\.[0-9]+ - Line\\.noise\n"
                                                 " +TOO LOUD\n"
                                                 "PASSED - 0\\.[0-9]+ - Line\\.down\n"));
}

TEST_F(TestManager, RunsOnlyWhatIsNamed)
{
    ASSERT_TRUE(m_manager.addFixture(line()));
    EXPECT_EQ(run({"Line.down", "Hash", "Line.up"}), 0u);
    EXPECT_THAT(m_ran, testing::ElementsAre("down", "up"));
    EXPECT_THAT(m_printed, testing::HasSubstr(" - Hash.sha1\n"));
    EXPECT_EQ(run({"Line.sideways", "Lin"}), 2u);
    EXPECT_THAT(m_printed, testing::EndsWith("there is no test Line.sideways\nthere is no test Lin\n"));
}

TEST_F(TestManager, TakesEachNameOnce)
{
    Fixture fixture = line();
    EXPECT_FALSE(fixture.add("up", [] { return XCode(XCODE_SUCCESS); }));
    EXPECT_FALSE(fixture.add("a.b", [] { return XCode(XCODE_SUCCESS); }));
    EXPECT_FALSE(fixture.add("empty", nullptr));
    EXPECT_TRUE(m_manager.addFixture(fixture));
    EXPECT_FALSE(m_manager.addFixture(fixture));
    EXPECT_FALSE(m_manager.addFixture(Fixture("a.b")));
    EXPECT_TRUE(m_manager.removeFixture("Line"));
    EXPECT_FALSE(m_manager.removeFixture("Line"));
    EXPECT_EQ(run({"Line"}), 1u);
}

TEST_F(TestManager, ContextsOfTheLibraryPassTheirTests)
{
    std::vector<std::string> passed;
    unsigned int const failures = m_manager.run(
        [&passed](String const& text)
        {
            std::string const line = text.c_str();
            if (line.starts_with("PASSED"))
                passed.push_back(line.substr(line.rfind(' ') + 1));
        });
    EXPECT_EQ(failures, 0u);
    EXPECT_THAT(passed, testing::ElementsAre("Hash.md5\n", "Hash.sha1\n", "Encryption.des\n", "Encryption.tripleDes\n",
                                             "RSA.keys\n"));
    EXPECT_EQ(m_manager.getNames().size(), passed.size());
}
}
