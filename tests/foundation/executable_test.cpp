#include "zekovar/foundation/executable.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <getopt.h>

namespace
{
option LONG_OPTIONS[] = {{"name", required_argument, nullptr, 'n'}, {nullptr, 0, nullptr, 0}};

struct Daemon : ZKExecutable
{
    Daemon() : ZKExecutable("hn:", LONG_OPTIONS) {}

    void start(std::vector<char const*> arguments = {"daemon"})
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
        stack_t stack{};
        sigaltstack(nullptr, &stack);
        isOnSignalStack = (stack.ss_flags & SS_ONSTACK) != 0;
        errno = ERANGE;
    }

    int handleException(int signalNumber) override
    {
        lastSignal = signalNumber;
        return isFaultHandled;
    }

    void subclassHookB() override {}

    String steps;
    volatile int lastSignal = 0;
    volatile bool isOnSignalStack = false;
    int isFaultHandled = 0;
};

/// Ends a forked child: 0 if everything held.
[[noreturn]] void leave()
{
    std::_Exit(testing::Test::HasFailure() ? 1 : 0);
}

void report(std::vector<char const*> arguments)
{
    Daemon daemon;
    daemon.start(std::move(arguments));
    std::fprintf(stderr, "[%s] %s", daemon.getName().c_str(), daemon.steps.c_str());
    leave();
}
}

TEST(Executable, TakesItsNameFromThePathAndOneStepMoreThanThereAreWords)
{
    EXPECT_EXIT(report({"/usr/bin/daemon"}), testing::ExitedWithCode(0), "^\\[daemon\\] ff: ff: $");
    EXPECT_EXIT(report({"/usr/bin/"}), testing::ExitedWithCode(0), "^\\[\\] ff: ff: $");
    EXPECT_EXIT(report({}), testing::ExitedWithCode(0), "^\\[\\] ff: $") << "one step even without a name";
    EXPECT_EXIT(report({"d", "-h", "--name", "x"}), testing::ExitedWithCode(0), "^\\[d\\] 68: 6e:x ff: ff: ff: $");
    EXPECT_EXIT(report({"d", "-q"}), testing::ExitedWithCode(0), "\\] 3f: ff: ff: $");
}

TEST(Executable, EveryQuitSignalReachesTheDaemonWhileItLives)
{
    auto const child = []
    {
        {
            Daemon daemon;
            daemon.start();
            raise(SIGTERM);
            EXPECT_TRUE(daemon.isOnSignalStack);
            raise(SIGTERM);
            EXPECT_FALSE(daemon.isOnSignalStack) << "armed again, for the normal stack";
            for (int signalNumber : {SIGHUP, SIGQUIT, SIGTSTP, SIGINT, SIGTERM, SIGPIPE, SIGALRM, SIGUSR1, SIGTTIN,
                                     SIGTTOU, SIGIO, SIGPROF, SIGTRAP, SIGVTALRM, SIGXCPU, SIGXFSZ, SIGSTKFLT, SIGPWR})
            {
                errno = EPERM;
                raise(signalNumber);
                EXPECT_EQ(daemon.lastSignal, signalNumber);
                EXPECT_EQ(errno, EPERM);
            }
        }
        raise(SIGTERM); // reaches nobody
        stack_t stack{};
        sigaltstack(nullptr, &stack);
        EXPECT_TRUE(stack.ss_flags & SS_DISABLE) << "its memory is gone";
        if (testing::Test::HasFailure())
            leave();
        raise(SIGBUS);
    };
    EXPECT_EXIT(child(), testing::KilledBySignal(SIGBUS), "");
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
        leave();
    };
    for (int signalNumber : {SIGSEGV, SIGABRT, SIGFPE})
    {
        EXPECT_EXIT(child(signalNumber, true), testing::ExitedWithCode(0), "");
        EXPECT_EXIT(child(signalNumber, false), testing::KilledBySignal(signalNumber), "");
    }
}
