#pragma once

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <syslog.h>
#include <vector>

/// Collects what the process writes to syslog, as "<priority> <text>". Without such an object the lines are dropped. One
/// at a time.
class CapturedSyslog
{
public:
    CapturedSyslog()
    {
        std::lock_guard guard(s_mutex);
        s_active = this;
    }

    ~CapturedSyslog()
    {
        std::lock_guard guard(s_mutex);
        s_active = nullptr;
    }

    CapturedSyslog(CapturedSyslog const&) = delete;
    CapturedSyslog& operator=(CapturedSyslog const&) = delete;

    std::vector<std::string> lines() const
    {
        std::lock_guard guard(s_mutex);
        return m_lines;
    }

    static void WRITE(int priority, char const* format, std::va_list arguments)
    {
        char text[1024];
        std::vsnprintf(text, sizeof(text), format, arguments);
        std::lock_guard guard(s_mutex);
        if (s_active != nullptr)
            s_active->m_lines.push_back(std::to_string(priority) + " " + text);
    }

private:
    static inline std::mutex s_mutex;
    static inline CapturedSyslog* s_active = nullptr;

    std::vector<std::string> m_lines;
};

// The program's own definitions come before those of the C library, for the library under test as well.
extern "C" __attribute__((used)) inline void vsyslog(int priority, char const* format, std::va_list arguments)
{
    CapturedSyslog::WRITE(priority, format, arguments);
}

extern "C" __attribute__((used)) inline void syslog(int priority, char const* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    CapturedSyslog::WRITE(priority, format, arguments);
    va_end(arguments);
}
