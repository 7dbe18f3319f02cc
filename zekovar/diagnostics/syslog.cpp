#include "zekovar/diagnostics/syslog.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <syslog.h>
#include <utility>

namespace
{
constexpr std::size_t COLUMN = 10;
constexpr unsigned int LINE_BUDGET = 900;

struct SeverityNames
{
    char const* usual;
    char const* abbreviated;
    char const* full;
};

constexpr SeverityNames s_severities[] = {
    {"emerg", "EMR", "emergency"}, {"alert", "ALR", "alert"},   {"crit", "CRT", "critical"}, {"err", "ERR", "error"},
    {"warn", "WRN", "warning"},    {"notice", "not", "notice"}, {"info", "inf", "info"},     {"debug", "dbg", "debug"},
};

char const* severityName(int severity, char const* SeverityNames::*form)
{
    if (severity < 0 || severity >= static_cast<int>(std::size(s_severities)))
        return String::s_empty.c_str();
    return s_severities[severity].*form;
}

/// `name` in its column with " # " behind it, and room for `extra` more characters.
String promptOf(String const& name, int extra)
{
    char prompt[] = "           # ";
    std::memcpy(prompt, name.c_str(), ::strnlen(name.c_str(), COLUMN));
    String result;
    result.reserve(static_cast<int>(sizeof prompt) - 1 + extra);
    return result.concat(prompt, sizeof prompt - 1);
}

/// The output of a format, for writing.
class Message
{
public:
    Message(char const* format, std::va_list arguments) __attribute__((format(printf, 2, 0)))
    {
        if (format == nullptr)
            std::strcpy(m_short, NULL_FORMAT);
        else
            formatText(format, arguments);
    }

    Message(Message const&) = delete;
    Message& operator=(Message const&) = delete;

    /// Empty if there was no output.
    char* text() { return m_long != nullptr ? m_long.get() : m_short; }

private:
    // The C library needs longer to measure what doesn't fit than to format it, so nearly everything should.
    static constexpr int SHORT_LENGTH = 2047;
    static constexpr char NULL_FORMAT[] = "VSYSLOG: NULL FORMAT; DID YOU CHANGE FROM RTD_DEBUG() to RTD::XYZ() AND "
                                          "FORGOT TO REMOVE THE DETAIL LEVEL ARGUMENT?";

    void formatText(char const* format, std::va_list arguments) __attribute__((format(printf, 2, 0)))
    {
        std::va_list again;
        va_copy(again, arguments);
        int const length = std::vsnprintf(m_short, sizeof m_short, format, arguments);
        if (length < 1)
            m_short[0] = '\0';
        else if (length > SHORT_LENGTH)
            formatLong(static_cast<std::size_t>(length) + 1, format, again);
        va_end(again);
    }

    void formatLong(std::size_t bytes, char const* format, std::va_list arguments) __attribute__((format(printf, 3, 0)))
    {
        m_long.reset(new (std::nothrow) char[bytes]);
        if (m_long != nullptr && std::vsnprintf(m_long.get(), bytes, format, arguments) < 1)
            m_long[0] = '\0';
    }

    char m_short[SHORT_LENGTH + 1];
    std::unique_ptr<char[]> m_long;
};

/// The breaks of a text, in their order. However many lines there are, each character is looked at three times.
class Breaks
{
public:
    explicit Breaks(char* text)
        : m_end(text + std::strlen(text)), m_lineFeed(find(text, '\n')), m_carriageReturn(find(text, '\r'))
    {
    }

    /// The first break at or behind `line`, or the end of the text. `line` only moves on.
    char* behind(char* line)
    {
        if (m_lineFeed < line)
            m_lineFeed = find(line, '\n');
        if (m_carriageReturn < line)
            m_carriageReturn = find(line, '\r');
        return std::min(m_lineFeed, m_carriageReturn);
    }

private:
    char* find(char* from, char character) const
    {
        void* const found = std::memchr(from, character, static_cast<std::size_t>(m_end - from));
        return found != nullptr ? static_cast<char*>(found) : m_end;
    }

    char* m_end;
    char* m_lineFeed;
    char* m_carriageReturn;
};

/// Writes what doesn't fit the budget of the line at `line`, which has `length` characters. Returns where the rest of
/// it begins, which does.
char* writeCutLines(int severity, String const& prefix, char* line, std::size_t length)
{
    // a prefix that leaves nothing takes the whole line with it
    auto const used = static_cast<unsigned int>(prefix.length());
    std::size_t const budget = used < LINE_BUDGET ? LINE_BUDGET - used : SIZE_MAX;
    for (; length > budget; length -= budget)
    {
        char const next = std::exchange(line[budget], '\0');
        ::syslog(severity, "%s%s%s\n", prefix.c_str(), line, "<CONTINUED>");
        line += budget;
        *line = next;
    }
    return line;
}
}

namespace RTD
{
String& BUILD_MONITOR_NAME(String& out, String const& name, unsigned slot, unsigned port, String const& slotSeparator,
                           String const& portSeparator)
{
    String built = name;
    if (slot != NO_SLOT)
    {
        built.concatf("%s%u", slotSeparator.c_str(), slot);
        if (port != NO_PORT)
            built.concatf("%s%u", portSeparator.c_str(), port);
    }
    return out = std::move(built);
}

String& BUILD_LOG_PROMPT(String& out, String const& name, unsigned slot, unsigned port)
{
    return BUILD_LOG_PREFIX(out, name, slot, port, LOG_DEBUG, String::s_empty);
}

String& BUILD_LOG_PROMPT(String& out, String const& name)
{
    return BUILD_LOG_PREFIX(out, name, LOG_DEBUG, String::s_empty);
}

String& BUILD_LOG_PREFIX(String& out, String const& name, unsigned slot, unsigned port, int severity,
                         String const& extra)
{
    String full;
    return BUILD_LOG_PREFIX(out, BUILD_MONITOR_NAME(full, name, slot, port, ":", "/"), severity, extra);
}

String& BUILD_LOG_PREFIX(String& out, String const& name, int, String const& extra)
{
    String prefix = promptOf(name, extra.length());
    prefix.concat(extra);
    return out = std::move(prefix);
}

String& BUILD_LOG_MATCH_PREFIX(String& out, String const& name, unsigned slot, unsigned port)
{
    if (slot == ANY_SLOT || port == ANY_PORT)
    {
        out = name;
        return out += ':';
    }
    if (slot != NO_SLOT && port != NO_PORT)
        return BUILD_LOG_PROMPT(out, name, slot, port);
    return BUILD_LOG_PROMPT(out, name);
}

String& BUILD_LOG_MATCH_PREFIX(String& out, String const& name)
{
    return BUILD_LOG_MATCH_PREFIX(out, name, NO_SLOT, NO_PORT);
}

String& BUILD_LOG_FILTER_NAME(String& out, String const& name, unsigned slot, unsigned port)
{
    return BUILD_MONITOR_NAME(out, name, slot, port, "_", "_");
}

void VSYSLOG_PREFIX(String const& prompt, int severity, String const& extra, char const* format, std::va_list arguments)
{
    int const savedErrno = errno;
    Message message(format, arguments); // before anything that may change what "%m" stands for
    String prefix;
    BUILD_LOG_PREFIX(prefix, prompt, severity, extra);
    char* line = message.text();
    Breaks breaks(line);
    while (*line != '\0')
    {
        char* next = breaks.behind(line);
        line = writeCutLines(severity, prefix, line, static_cast<std::size_t>(next - line));
        if (char const end = std::exchange(*next, '\0'); end != '\0')
        {
            ++next;
            if ((*next == '\r' || *next == '\n') && *next != end)
                ++next;
        }
        ::syslog(severity, "%s%s\n", prefix.c_str(), line);
        line = next;
    }
    errno = savedErrno;
}

char const* GET_SYSLOG_SEVERITY(int severity)
{
    return severityName(severity, &SeverityNames::usual);
}

char const* GET_SYSLOG_SEVERITY_SHORT(int severity)
{
    return severityName(severity, &SeverityNames::abbreviated);
}

char const* GET_SYSLOG_SEVERITY_LONG(int severity)
{
    return severityName(severity, &SeverityNames::full);
}

int GET_SYSLOG_SEVERITY(String const& name)
{
    for (int severity = 0; severity < static_cast<int>(std::size(s_severities)); severity++)
    {
        if (name == s_severities[severity].usual)
            return severity;
    }
    return -1;
}
}
