#pragma once

#include "zekovar/foundation/singleton.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/vector.h"
#include "zekovar/foundation/xcode.h"
#include "zekovar/threads/mutex.h"

#include <functional>
#include <vector>

namespace ZK::Test
{
/// Named tests that belong together.
///
///     ZK::Test::Fixture line("Line");
///     line.add("loopback", [&line] { return line.testLoopback(); });
///     ZK::Test::Manager::INSTANCE().addFixture(line);
class Fixture
{
public:
    /// Succeeds, or fails with a text that says what is wrong. Runs on the thread that runs the manager's tests, on several at
    /// once if several do that.
    using Test = std::function<XCode()>;

    explicit Fixture(String const& name = String()) : m_name(name) {}

    String const& getName() const { return m_name; }

    /// Adds a test behind the others. A name may be there once; an empty one, one with a dot and a test without a target are
    /// refused by the general failure.
    XCode add(String const& name, Test const& test);

private:
    friend class Manager;

    struct Entry
    {
        String name;
        Test test;
    };

    String m_name;
    std::vector<Entry> m_tests;
};

/// Runs the self-tests of a daemon on the device: those of its fixtures, and those that the library's own classes carry.
///
/// All operations are safe from every thread; tests run without a lock.
///
///     unsigned int const failures = ZK::Test::Manager::INSTANCE().run(
///         [](String const& line) { std::fputs(line.c_str(), stdout); });
class Manager : private ZKSingleton<Manager>
{
    friend class ZKSingleton<Manager>;

public:
    /// Gets each line, with its line end, as soon as the test is over.
    using Print = std::function<void(String const& line)>;

    /// Has the library's fixtures from the start: "Hash", "Encryption" and "RSA".
    static Manager& INSTANCE() { return ZKSingleton<Manager>::INSTANCE(); }

    /// Keeps a copy of the fixture behind the others. The general failure with a text if its name is empty, has a dot, or is
    /// taken.
    XCode addFixture(Fixture const& fixture);

    /// The general failure if there is none of that name. Tests of it that run go on.
    XCode removeFixture(String const& name);

    /// "fixture.test" of all tests, in the order in which they run.
    ZKVector<String> getNames() const;

    /// Runs all tests, one after the other, and prints a line for each: outcome, seconds taken, fixture and test, as in
    /// "PASSED - 0.000012345 - Hash.md5". Behind the line of one that fails stands its text. Returns how many failed.
    unsigned int run(Print const& print) const;

    /// As above, but for the tests named: "fixture" or "fixture.test". A name that there isn't is printed, and counts as a
    /// failure.
    unsigned int run(ZKVector<String> const& names, Print const& print) const;

private:
    Manager();

    std::vector<Fixture> fixtures() const;

    mutable ZKMutex m_mutex; // guards m_fixtures
    std::vector<Fixture> m_fixtures;
};
}
