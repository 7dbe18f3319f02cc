#include "tests/captured_syslog.h"
#include "tests/string_printer.h"
#include "tests/temporary_directory.h"
#include "zekovar/diagnostics/syslog.h"

#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
void write(String const& prompt, int severity, String const& extra, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    RTD::VSYSLOG_PREFIX(prompt, severity, extra, format, arguments);
    va_end(arguments);
}

/// What the log shows of a text, character by character.
std::vector<std::string> expectedLines(std::string const& prefix, std::string const& text)
{
    std::vector<std::string> lines;
    std::string line;
    for (std::size_t i = 0; i < text.size(); i++)
    {
        if (text[i] == '\r' || text[i] == '\n')
        {
            lines.push_back(prefix + line + "\n");
            line.clear();
            if (i + 1 < text.size() && text[i] + text[i + 1] == '\r' + '\n')
                i++;
            continue;
        }
        if (prefix.size() < 900 && prefix.size() + line.size() == 900)
        {
            lines.push_back(prefix + line + "<CONTINUED>\n");
            line.clear();
        }
        line += text[i];
    }
    if (!line.empty())
        lines.push_back(prefix + line + "\n");
    return lines;
}

struct Text
{
    std::string extra;
    std::string text;
};

/// Texts of all lengths around one and two lines, and at random with breaks of all kinds.
std::vector<Text> manyTexts()
{
    std::minstd_rand random(1);
    std::vector<Text> texts;
    auto const add = [&](std::size_t length, unsigned int breaks)
    {
        std::string text;
        while (text.size() < length)
            text += random() % 1000 < breaks ? "\r\n"[random() % 2] : static_cast<char>('a' + text.size() % 26);
        texts.push_back({std::string(random() % 20, '+'), text});
    };
    for (std::size_t length = 860; length < 900; length++)
    {
        add(length, 0);
        add(2 * length, 0);
        add(length, 1);
    }
    for (int i = 0; i < 200; i++)
        add(random() % 10, 500);
    for (int i = 0; i < 100; i++)
        add(random() % 3000, 5);
    for (std::size_t length = 2046; length < 2050; length++)
        add(length, 0);
    add(100 * 1024, 0);
    add(100 * 1024, 2);
    texts.push_back({std::string(887, 'x'), "a prefix that leaves no room\nis no reason to cut"});
    return texts;
}

/// The receiver of the log of a child process whose root is a temporary directory.
class Receiver
{
public:
    static constexpr char END[] = "end of the log";

    Receiver() : m_socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        ::mkdir((m_root / "dev").c_str(), 0755);
        std::strcpy(m_address.sun_path, (m_root / "dev/log").c_str());
        EXPECT_EQ(::bind(m_socket, reinterpret_cast<sockaddr*>(&m_address), sizeof m_address), 0);
        timeval const limit{120, 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }

    ~Receiver() { ::close(m_socket); }

    /// Runs `logger` in the child and gives the datagrams; none if the process may not change its root.
    template <class Logger>
    std::vector<std::string> receive(Logger logger)
    {
        pid_t const child = ::fork();
        if (child == 0)
        {
            CapturedSyslog::PASS_ON();
            bool const isInside = changeRoot();
            if (isInside)
                logger();
            int const sender = ::socket(AF_UNIX, SOCK_DGRAM, 0);
            if (isInside)
                std::strcpy(m_address.sun_path, "/dev/log");
            ::sendto(sender, END, sizeof END - 1, 0, reinterpret_cast<sockaddr*>(&m_address), sizeof m_address);
            ::_exit(0);
        }
        std::vector<std::string> datagrams;
        char buffer[2048];
        for (ssize_t size; (size = ::recv(m_socket, buffer, sizeof buffer, 0)) >= 0;)
        {
            datagrams.emplace_back(buffer, static_cast<std::size_t>(size));
            if (datagrams.back() == END)
                break;
        }
        ::waitpid(child, nullptr, 0);
        return datagrams;
    }

private:
    bool changeRoot() const
    {
        if (::chroot(m_root.path().c_str()) != 0 &&
            (::unshare(CLONE_NEWUSER) != 0 || ::chroot(m_root.path().c_str()) != 0))
            return false;
        return ::chdir("/") == 0;
    }

    TemporaryDirectory m_root;
    int m_socket;
    sockaddr_un m_address{AF_UNIX, {}};
};
}

TEST(Syslog, LinesReachAReceiverAsTheTextSays)
{
    std::vector<Text> const texts = manyTexts();
    std::vector<std::string> const datagrams = Receiver().receive(
        [&texts]
        {
            for (Text const& text : texts)
                write("SIP-STK-TRNSCT", LOG_NOTICE, text.extra.c_str(), "%s", text.text.c_str());
        });
    ASSERT_FALSE(datagrams.empty()) << "the child never came to its end";
    if (datagrams.size() == 1)
        GTEST_SKIP() << "this process may neither change its root nor have a user namespace of its own";

    std::size_t received = 0;
    for (Text const& text : texts)
    {
        for (std::string const& line : expectedLines("SIP-STK-TR # " + text.extra, text.text))
        {
            ASSERT_LT(received, datagrams.size());
            std::string const& datagram = datagrams[received++];
            ASSERT_EQ(datagram.substr(0, 4), "<13>");
            ASSERT_EQ(datagram.substr(datagram.find(": ") + 2), line) << "text of " << text.text.size();
        }
    }
    EXPECT_EQ(received + 1, datagrams.size());
}

TEST(Syslog, WritesNothingForNoTextAndLeavesErrnoAlone)
{
    CapturedSyslog log;
    char const* const missing = nullptr;
    write("JOB", LOG_ERR, "", "%s", "");
    write("JOB", LOG_ERR, "", "%c", '\0');
    EXPECT_TRUE(log.lines().empty());
    errno = ENOENT;
    write("JOB", 3, "x ", "%m");
    EXPECT_EQ(errno, ENOENT);
    write("JOB", 3, "", missing);
    std::string const text = "3 JOB        # ";
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               text + "x No such file or directory\n",
                               text + "VSYSLOG: NULL FORMAT; DID YOU CHANGE FROM RTD_DEBUG() to RTD::XYZ() AND FORGOT "
                                      "TO REMOVE THE DETAIL LEVEL ARGUMENT?\n"}));
}

TEST(Syslog, NamesAndPromptsShowSlotAndPort)
{
    struct Case
    {
        char const* name;
        unsigned int slot, port;
        char const* prompt;
        char const* match;
        char const* filter;
    };

    for (Case const& one : std::initializer_list<Case>{
             {"SIP-TR", 2, 14, "SIP-TR:2/1 # ", "SIP-TR:2/1 # ", "SIP-TR_2_14"},
             {"SIP-TR", 2, RTD::NO_PORT, "SIP-TR:2   # ", "SIP-TR     # ", "SIP-TR_2"},
             {"CC", RTD::NO_SLOT, 7, "CC         # ", "CC         # ", "CC"},
             {"SIP-TR", 3, RTD::ANY_PORT, "SIP-TR:3/6 # ", "SIP-TR:", "SIP-TR_3_65533"},
             {"SIP-STK-TRNSCT", RTD::ANY_SLOT, 1, "SIP-STK-TR # ", "SIP-STK-TRNSCT:", "SIP-STK-TRNSCT_253_1"}})
    {
        String text;
        EXPECT_EQ(RTD::BUILD_LOG_PROMPT(text, one.name, one.slot, one.port), one.prompt);
        EXPECT_EQ(RTD::BUILD_LOG_PREFIX(text, text, LOG_ERR, "[x] "), String(one.prompt) += "[x] ");
        EXPECT_EQ(RTD::BUILD_LOG_MATCH_PREFIX(text, one.name, one.slot, one.port), one.match);
        EXPECT_EQ(RTD::BUILD_LOG_FILTER_NAME(text = one.name, text, one.slot, one.port), one.filter);
    }
}

TEST(Syslog, SeveritiesHaveThreeNames)
{
    char const* const names[8][3] = {{"emerg", "EMR", "emergency"}, {"alert", "ALR", "alert"},
                                     {"crit", "CRT", "critical"},   {"err", "ERR", "error"},
                                     {"warn", "WRN", "warning"},    {"notice", "not", "notice"},
                                     {"info", "inf", "info"},       {"debug", "dbg", "debug"}};
    for (int severity = -1; severity <= 8; severity++)
    {
        bool const isKnown = severity >= 0 && severity < 8;
        EXPECT_STREQ(RTD::GET_SYSLOG_SEVERITY(severity), isKnown ? names[severity][0] : "");
        EXPECT_STREQ(RTD::GET_SYSLOG_SEVERITY_SHORT(severity), isKnown ? names[severity][1] : "");
        EXPECT_STREQ(RTD::GET_SYSLOG_SEVERITY_LONG(severity), isKnown ? names[severity][2] : "");
        EXPECT_EQ(RTD::GET_SYSLOG_SEVERITY(String(isKnown ? names[severity][0] : "")), isKnown ? severity : -1);
    }
    for (char const* unknown : {"DEBUG", "warning", "ERR", "debug "})
        EXPECT_EQ(RTD::GET_SYSLOG_SEVERITY(String(unknown)), -1) << unknown;
}
