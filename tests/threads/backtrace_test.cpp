#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/assertion.h"
#include "zekovar/threads/backtrace.h"

#include <climits>

namespace
{
constexpr unsigned int FRAMES = 60;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned int SANITIZER_FRAMES = 1; // it stands between the library and the unwinder
#else
constexpr unsigned int SANITIZER_FRAMES = 0;
#endif
}

/// A frame to look for: exported, so that it has a symbol, and on the stack for as long as it spins.
[[gnu::noinline]] void spinInNamedFrame(std::atomic<bool>& isBegun, std::atomic<bool>& isOver)
{
    isBegun = true;
    while (!isOver)
        ZKThread::SLEEP(1);
    asm volatile("");
}

[[gnu::noinline]] String takeOwnBacktrace(unsigned int skip)
{
    ZKBacktrace backtrace(FRAMES);
    EXPECT_TRUE(ZKThread::GET_BACKTRACE(backtrace, skip));
    return backtrace.printToString(false);
}

TEST(Backtrace, OwnStackBeginsWithTheCallerAndCountsDownToOne)
{
    String const text = takeOwnBacktrace(SANITIZER_FRAMES);
    ZKVector<String> lines;
    text.splitAtString(lines, "\n");
    ASSERT_GT(lines.size(), 3u);
    EXPECT_GE(lines[0].indexOf("takeOwnBacktrace(unsigned int)+0x"), 0) << text.c_str();
    for (unsigned int i = 0; i < lines.size(); i++)
        EXPECT_TRUE(lines[i].startsWith(String::stringOfFormat("  %2u ", lines.size() - i))) << lines[i].c_str();
    EXPECT_LT(takeOwnBacktrace(SANITIZER_FRAMES + 1).indexOf("takeOwnBacktrace"), 0);
    EXPECT_TRUE(takeOwnBacktrace(UINT_MAX).isEmpty());
}

TEST(Backtrace, OtherThreadFillsInItsOwnStack)
{
    std::atomic<bool> isBegun = false, isOver = false;
    FunctionThread thread([&] { spinInNamedFrame(isBegun, isOver); }, "spinner");
    ASSERT_TRUE(eventually([&] { return isBegun.load(); }));
    ZKBacktrace backtrace(FRAMES);
    String const header = String::stringOfFormat("spinner (%p):\n", reinterpret_cast<void*>(thread.getId()));
    for (int i = 0; i < 20; i++)
    {
        EXPECT_TRUE(thread.getBacktrace(backtrace, 0));
        String const text = backtrace.printToString(true);
        EXPECT_TRUE(text.startsWith(header)) << text.c_str();
        EXPECT_GE(text.indexOf("spinInNamedFrame(std::atomic<bool>&, std::atomic<bool>&)+0x"), 0) << text.c_str();
        EXPECT_LT(text.indexOf("HANDLE_BACKTRACE_SIGNAL"), 0) << text.c_str();
    }
    EXPECT_TRUE(thread.getBacktrace(backtrace, FRAMES));
    EXPECT_EQ(backtrace.printToString(true), header);
    isOver = true;
}

TEST(Backtrace, SelfCanBeAskedThroughTheSignalWhichIsIgnoredOtherwise)
{
    errno = EXDEV;
    EXPECT_EQ(raise(SIGUSR2), 0);
    EXPECT_EQ(errno, EXDEV);
    ZKBacktrace backtrace(FRAMES);
    EXPECT_TRUE(backtrace.obtainBacktraceOfThread(pthread_self(), 1));
    String const text = backtrace.printToString(true);
    EXPECT_TRUE(text.startsWith(String::stringOfFormat("%p:\n", reinterpret_cast<void*>(pthread_self()))))
        << text.c_str();
    EXPECT_GE(text.indexOf("obtainBacktraceOfThread"), 0) << text.c_str();

    CapturedSyslog log;
    backtrace.printToSyslog(LOG_INFO);
    backtrace.printToRtd(MON_JOB, LOG_INFO);
    std::vector<std::string> const lines = log.lines();
    ASSERT_GT(lines.size(), 4u);
    for (std::size_t i = 0, count = lines.size() / 2; i < count; i++)
        EXPECT_EQ(lines[count + i], "6 JOB        # " + lines[i].substr(2));
    backtrace.clearBacktrace();
    EXPECT_TRUE(backtrace.printToString(false).isEmpty());
}

TEST(Backtrace, ThreadThatEndsOrIsNotThereIsRefused)
{
    ZKBacktrace backtrace(FRAMES);
    EXPECT_EQ(backtrace.obtainBacktraceOfThread(0, 0), XCODE_FAILURE);
    EXPECT_THROW(ZKBacktrace(0x20000000), std::bad_array_new_length);
    for (int i = 0; i < 300; i++)
    {
        FunctionThread thread([] {});
        XCode code;
        while (code.isSuccess())
            code = thread.getBacktrace(backtrace, 0);
        EXPECT_EQ(code, ZK::Detail::codeOfErrno(ESRCH));
    }
}

TEST(Assertion, ReachesTheHandlerWithItsValuesAndText)
{
    onAssertionFailed(1, 2, 3, 4, "nobody listens");
    static std::string s_calls;
    s_assertionHandler = [](auto first, auto second, auto third, auto fourth, char const* text)
    { s_calls += std::to_string(first * 1000 + second * 100 + third * 10 + fourth) + (text ? text : "(null)"); };
    onAssertionFailed(1, 2, 3, 4, " %s %d; ", "text", 5);
    onAssertionFailed(1, 2, 3, 5, nullptr);
    EXPECT_EQ(s_calls, "1234 text 5; 1235(null)");
    s_assertionHandler = nullptr;
}
