#pragma once

#include <cstdarg>
#include <cstdio>
#include <dlfcn.h>
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

    /// From now on lines go to the C library's own `vsyslog`, whether there is an object or not. For a child process.
    static void PASS_ON() { s_passOn = reinterpret_cast<decltype(s_passOn)>(::dlsym(RTLD_NEXT, "vsyslog")); }

    static void WRITE(int priority, char const* format, std::va_list arguments)
    {
        if (s_passOn != nullptr)
            return s_passOn(priority, format, arguments);
        char text[1024];
        std::vsnprintf(text, sizeof(text), format, arguments);
        std::lock_guard guard(s_mutex);
        if (s_active != nullptr)
            s_active->m_lines.push_back(std::to_string(priority) + " " + text);
    }

private:
    static inline std::mutex s_mutex;
    static inline CapturedSyslog* s_active = nullptr;
    static inline void (*s_passOn)(int, char const*, std::va_list) = nullptr;

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
