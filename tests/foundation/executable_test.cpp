#include "zekovar/foundation/executable.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <getopt.h>

using testing::ExitedWithCode;
using testing::KilledBySignal;

namespace
{
option LONG_OPTIONS[] = {{"name", required_argument, nullptr, 'n'}, {nullptr, 0, nullptr, 0}};

class Daemon : public ZKExecutable
{
public:
    Daemon() : ZKExecutable("hn:", LONG_OPTIONS) {}

    void start(std::vector<char const*> arguments = {"/usr/bin/daemon"})
    {
        int const count = static_cast<int>(arguments.size());
        arguments.push_back(nullptr);
        EXPECT_TRUE(setup(count, const_cast<char**>(arguments.data())));
    }

    void subclassHookA() override {}

    XCode parseArgument(char letter, String const& argument) override
    {
        steps.concatf("%x:%s ", static_cast<unsigned char>(letter), argument.c_str());
        return XCODE_FAILURE;
    }

    void onQuitSignal(int signalNumber) override
    {
        lastSignal = signalNumber;
        quits = quits + 1;
        stack_t stack{};
        sigaltstack(nullptr, &stack);
        isOnSignalStack = (stack.ss_flags & SS_ONSTACK) != 0;
    }

    int handleException(int signalNumber) override
    {
        lastSignal = signalNumber;
        return isFaultHandled;
    }

    void subclassHookB() override {}

    String steps;
    volatile int lastSignal = 0;
    volatile int quits = 0;
    volatile bool isOnSignalStack = false;
    int isFaultHandled = 0;
};

/// Ends a forked child: 0 if everything held.
[[noreturn]] void leave()
{
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

[[noreturn]] void report(std::vector<char const*> arguments)
{
    Daemon daemon;
    daemon.start(std::move(arguments));
    std::fprintf(stderr, "[%s] %s", daemon.getName().c_str(), daemon.steps.c_str());
    leave();
}
}

TEST(Executable, NameIsTheLastPartOfThePath)
{
    EXPECT_EXIT(report({"/usr/bin/daemon"}), ExitedWithCode(0), "^\\[daemon\\]");
    EXPECT_EXIT(report({"daemon"}), ExitedWithCode(0), "^\\[daemon\\]");
    EXPECT_EXIT(report({"/usr/bin/"}), ExitedWithCode(0), "^\\[\\]");
    EXPECT_EXIT(report({""}), ExitedWithCode(0), "^\\[\\]");
    EXPECT_EXIT(report({}), ExitedWithCode(0), "^\\[\\] ff: $") << "one step even without a name";
}

TEST(Executable, WalksTheCommandLineInOneStepMoreThanItHasWords)
{
    EXPECT_EXIT(report({"d"}), ExitedWithCode(0), "\\] ff: ff: $");
    EXPECT_EXIT(report({"d", "-h", "--name", "x"}), ExitedWithCode(0), "\\] 68: 6e:x ff: ff: ff: $");
    EXPECT_EXIT(report({"d", "-q"}), ExitedWithCode(0), "\\] 3f: ff: ff: $");
}

TEST(Executable, EveryQuitSignalReachesTheDaemon)
{
    auto const child = []
    {
        Daemon daemon;
        daemon.start();
        raise(SIGTERM);
        EXPECT_TRUE(daemon.isOnSignalStack);
        raise(SIGTERM);
        EXPECT_FALSE(daemon.isOnSignalStack) << "armed again, for the normal stack";
        for (int signalNumber : {SIGHUP, SIGINT, SIGPIPE, SIGUSR1, SIGIO, SIGPWR, SIGTERM})
        {
            errno = EPERM;
            raise(signalNumber);
            EXPECT_EQ(daemon.lastSignal, signalNumber);
            EXPECT_EQ(errno, EPERM);
        }
        EXPECT_EQ(daemon.quits, 9);
        leave();
    };
    EXPECT_EXIT(child(), ExitedWithCode(0), "");
}

TEST(Executable, FatalSignalEndsTheProcessUnlessItIsHandled)
{
    auto const child = [](int signalNumber, bool isHandled)
    {
        Daemon daemon;
        daemon.start();
        daemon.isFaultHandled = isHandled;
        raise(signalNumber);
        EXPECT_EQ(daemon.lastSignal, signalNumber);
        EXPECT_EQ(daemon.quits, 0);
        leave();
    };
    for (int signalNumber : {SIGSEGV, SIGABRT, SIGFPE})
    {
        EXPECT_EXIT(child(signalNumber, true), ExitedWithCode(0), "");
        EXPECT_EXIT(child(signalNumber, false), KilledBySignal(signalNumber), "");
    }
}

TEST(Executable, SignalsAfterItsEndDoNoHarm)
{
    auto const child = [](int signalNumber)
    {
        {
            Daemon daemon;
            daemon.start();
            daemon.start();
        }
        raise(signalNumber);
        stack_t stack{};
        sigaltstack(nullptr, &stack);
        EXPECT_TRUE(stack.ss_flags & SS_DISABLE) << "its memory is gone";
        leave();
    };
    EXPECT_EXIT(child(SIGTERM), ExitedWithCode(0), "");
    EXPECT_EXIT(child(SIGBUS), KilledBySignal(SIGBUS), "");
}
