#include "zekovar/testing/test_manager.h"

#include "zekovar/testing/self_tests.h"
#include "zekovar/threads/auto_lock.h"

#include <chrono>

namespace
{
constexpr long long NANOSECONDS = 1000000000; // a second

/// Names are typed with a dot between fixture and test.
bool isName(String const& text)
{
    return !text.isEmpty() && text.indexOf('.') < 0;
}

XCode failure(char const* text)
{
    XCode code(XCODE_FAILURE);
    code.setString(text);
    return code;
}

String fullName(String const& fixture, String const& test)
{
    return String(String::Formatted(), "%s.%s", fixture.c_str(), test.c_str());
}

/// Runs one test and prints how it went.
bool runTest(String const& fixture, String const& name, ZK::Test::Fixture::Test const& test,
             ZK::Test::Manager::Print const& print)
{
    auto const start = std::chrono::steady_clock::now();
    XCode const code = test();
    std::chrono::nanoseconds const taken = std::chrono::steady_clock::now() - start;

    String line(String::Formatted(), "%6s - %llu.%9.9llu - %s.%s\n", code.isErr() ? "FAILED" : "PASSED",
                static_cast<unsigned long long>(taken.count() / NANOSECONDS),
                static_cast<unsigned long long>(taken.count() % NANOSECONDS), fixture.c_str(), name.c_str());
    if (code.isErr())
        line.concatf("%6s   %s\n", "", code.toString().c_str());
    print(line);
    return code.isSuccess();
}
}

XCode ZK::Test::Fixture::add(String const& name, Test const& test)
{
    if (!isName(name) || !test)
        return XCODE_FAILURE;
    for (Entry const& each : m_tests)
    {
        if (each.name == name)
            return XCODE_FAILURE;
    }
    m_tests.push_back({name, test});
    return XCODE_SUCCESS;
}

ZK::Test::Manager::Manager() : m_mutex(false), m_fixtures(Detail::selfTests())
{
}

XCode ZK::Test::Manager::addFixture(Fixture const& fixture)
{
    if (!isName(fixture.getName()))
        return failure("A FIXTURE NEEDS A NAME WITHOUT A DOT");
    ZKAutoLock<ZKMutex> guard(m_mutex);
    for (Fixture const& each : m_fixtures)
    {
        if (each.getName() == fixture.getName())
            return failure("THERE IS A FIXTURE OF THIS NAME");
    }
    m_fixtures.push_back(fixture);
    return XCODE_SUCCESS;
}

XCode ZK::Test::Manager::removeFixture(String const& name)
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    return testExpression(std::erase_if(m_fixtures, [&name](Fixture const& each) { return each.getName() == name; }) !=
                          0);
}

std::vector<ZK::Test::Fixture> ZK::Test::Manager::fixtures() const
{
    ZKAutoLock<ZKMutex> guard(m_mutex);
    return m_fixtures;
}

ZKVector<String> ZK::Test::Manager::getNames() const
{
    ZKVector<String> names;
    for (Fixture const& fixture : fixtures())
    {
        for (auto const& each : fixture.m_tests)
            names.add(fullName(fixture.getName(), each.name));
    }
    return names;
}

unsigned int ZK::Test::Manager::run(Print const& print) const
{
    ZKVector<String> names;
    for (Fixture const& fixture : fixtures())
        names.add(fixture.getName());
    return run(names, print);
}

unsigned int ZK::Test::Manager::run(ZKVector<String> const& names, Print const& print) const
{
    std::vector<Fixture> const all = fixtures();
    unsigned int failures = 0;
    for (String const& name : names)
    {
        bool isKnown = false;
        for (Fixture const& fixture : all)
        {
            bool const isWhole = name == fixture.getName();
            isKnown = isKnown || isWhole;
            for (auto const& each : fixture.m_tests)
            {
                if (!isWhole && name != fullName(fixture.getName(), each.name))
                    continue;
                isKnown = true;
                failures += runTest(fixture.getName(), each.name, each.test, print) ? 0 : 1;
            }
        }
        if (!isKnown)
        {
            ++failures;
            print(String(String::Formatted(), "there is no test %s\n", name.c_str()));
        }
    }
    return failures;
}
