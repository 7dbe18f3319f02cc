#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/diagnostics/syslog.h"

#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
using Strings = std::vector<std::string>;

void write(String const& prompt, int severity, String const& extra, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    RTD::VSYSLOG_PREFIX(prompt, severity, extra, format, arguments);
    va_end(arguments);
}

/// Appends what the log shows of a text, character by character.
void addExpected(Strings& lines, std::string const& prefix, std::string const& text)
{
    std::string line = prefix;
    auto const endLine = [&](char const* mark) { lines.push_back("<13>" + std::exchange(line, prefix) + mark); };
    for (std::size_t i = 0; i < text.size(); i++)
    {
        if (text[i] == '\r' || text[i] == '\n')
        {
            endLine("\n");
            i += i + 1 < text.size() && text[i] + text[i + 1] == '\r' + '\n' ? 1 : 0;
            continue;
        }
        if (line.size() == 900)
            endLine("<CONTINUED>\n");
        line += text[i];
    }
    if (line != prefix)
        endLine("\n");
}

/// Texts of all lengths around one and two lines and the buffer, and with breaks of all kinds at random.
Strings manyTexts()
{
    std::minstd_rand random(1);
    Strings texts;
    auto const add = [&](std::size_t length, unsigned int breaksInThousand)
    {
        std::string& text = texts.emplace_back();
        while (text.size() < length)
            text += random() % 1000 < breaksInThousand ? "\r\n"[random() % 2] : char('a' + text.size() % 26);
    };
    for (std::size_t i = 0; i < 200; i++)
    {
        add(860 + i % 40, i % 2);
        add(i < 100 ? 1720 + i : 1900 + i, 0);
        add(random() % 10, 500);
        add(random() % 3000, 5);
    }
    add(100 * 1024, 1);
    return texts;
}

/// The datagrams that a receiver gets of the log of a child process, whose root is a temporary directory; nothing if the
/// child may not change its root.
template <class Logger>
std::optional<Strings> receivedOf(Logger logger)
{
    TemporaryDirectory root;
    sockaddr_un address{AF_UNIX, {}};
    ::mkdir((root / "dev").c_str(), 0755);
    std::strcpy(address.sun_path, (root / "dev/log").c_str());
    int const receiver = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    pid_t const child = ::fork();
    if (child == 0)
    {
        CapturedSyslog::PASS_ON();
        auto const enter = [&root] { return ::chroot(root.path().c_str()) == 0; };
        if (!enter() && (::unshare(CLONE_NEWUSER) != 0 || !enter()))
            ::_exit(EPERM);
        logger();
        ::_exit(0);
    }
    Strings datagrams;
    char buffer[2048];
    int status = 0;
    for (bool hasEnded = false;;)
    {
        ssize_t const size = ::recv(receiver, buffer, sizeof buffer, MSG_DONTWAIT);
        if (size >= 0)
            datagrams.emplace_back(buffer, static_cast<std::size_t>(size));
        else if (hasEnded)
            break;
        else
            hasEnded = ::waitpid(child, &status, WNOHANG) != 0;
    }
    ::close(receiver);
    return WIFEXITED(status) && WEXITSTATUS(status) == EPERM ? std::nullopt : std::optional(datagrams);
}
}

TEST(Syslog, LinesReachAReceiverAsTheTextSays)
{
    Strings const texts = manyTexts();
    Strings expected;
    auto const extraOf = [](std::string const& text) { return std::string(text.size() % 20, '+'); };
    for (std::string const& text : texts)
        addExpected(expected, "SIP-STK-TR # " + extraOf(text), text);
    auto received = receivedOf(
        [&]
        {
            for (std::string const& text : texts)
                write("SIP-STK-TRNSCT", LOG_NOTICE, extraOf(text).c_str(), "%s", text.c_str());
        });
    if (!received)
        GTEST_SKIP() << "this process may neither change its root nor have a user namespace of its own";
    for (std::string& line : *received)
        line.erase(4, line.find(": ") - 2); // the time and the program's name
    EXPECT_TRUE(*received == expected) << received->size() << " lines for " << expected.size();
}

TEST(Syslog, WritesNothingForNoTextAndLeavesErrnoAlone)
{
    CapturedSyslog log;
    char const* const missing = nullptr;
    String const longest = String::repeat("x", 887);
    write("JOB", LOG_ERR, "", "%s", "");
    errno = ENOENT;
    write("JOB", 3, longest, "%m"); // no character is left for the line
    EXPECT_EQ(errno, ENOENT);
    write("JOB", 3, "", missing);
    std::string const text = "3 JOB        # ";
    EXPECT_EQ(log.lines(), (Strings{text + longest.c_str() + "No such file or directory\n",
                                    text + "VSYSLOG: NULL FORMAT; DID YOU CHANGE FROM RTD_DEBUG() to RTD::XYZ() AND "
                                           "FORGOT TO REMOVE THE DETAIL LEVEL ARGUMENT?\n"}));
}

TEST(Syslog, NamesAndPromptsShowSlotAndPort)
{
    using namespace RTD;
    String text;
    EXPECT_EQ(BUILD_LOG_PROMPT(text, "SIP-TR", 2, 14), "SIP-TR:2/1 # ");
    EXPECT_EQ(BUILD_LOG_PREFIX(text, text, LOG_ERR, "[x] "), "SIP-TR:2/1 # [x] ");
    EXPECT_EQ(BUILD_LOG_PREFIX(text, "CC", 2, NO_PORT, LOG_ERR, text), "CC:2       # SIP-TR:2/1 # [x] ");
    EXPECT_EQ(BUILD_LOG_PROMPT(text, "CC", NO_SLOT, 7), "CC         # ");
    EXPECT_EQ(BUILD_LOG_MATCH_PREFIX(text, "CC", 2, 14), "CC:2/14    # ");
    EXPECT_EQ(BUILD_LOG_MATCH_PREFIX(text, "CC", 2, NO_PORT), "CC         # ");
    EXPECT_EQ(BUILD_LOG_MATCH_PREFIX(text, "SIP-TR", 3, ANY_PORT), "SIP-TR:");
    EXPECT_EQ(BUILD_LOG_FILTER_NAME(text = "SIP-TR", text, 2, 14), "SIP-TR_2_14");
}

TEST(Syslog, SeveritiesHaveThreeNames)
{
    String names;
    for (int severity = -1; severity <= 8; severity++)
    {
        String const name = RTD::GET_SYSLOG_SEVERITY(severity);
        EXPECT_EQ(RTD::GET_SYSLOG_SEVERITY(name), name.isEmpty() ? -1 : severity);
        names.concatf("%s %s %s,", name.c_str(), RTD::GET_SYSLOG_SEVERITY_SHORT(severity),
                      RTD::GET_SYSLOG_SEVERITY_LONG(severity));
    }
    EXPECT_EQ(names, "  ,emerg EMR emergency,alert ALR alert,crit CRT critical,err ERR error,warn WRN warning,"
                     "notice not notice,info inf info,debug dbg debug,  ,");
    EXPECT_EQ(RTD::GET_SYSLOG_SEVERITY(String("warning")), -1);
}
