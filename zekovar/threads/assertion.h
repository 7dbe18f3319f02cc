#pragma once

#include <atomic>
#include <cstdint>

/// Receives a failed assertion: the four values as they were given, and the formatted text, or null without a format.
using ZKAssertionHandler = void (*)(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third,
                                    std::uintptr_t fourth, char const* text);

/// What `onAssertionFailed` calls, on the thread that failed; null until a client sets it.
extern std::atomic<ZKAssertionHandler> s_assertionHandler;

extern "C"
{
    /// Reports a failed assertion to `s_assertionHandler` and returns; without a handler nothing happens. `format` is
    /// that of `printf`, or null.
    void onAssertionFailed(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third, std::uintptr_t fourth,
                           char const* format, ...) __attribute__((format(printf, 5, 6)));

    /// Called by the event processor on a violated limit, on the machine's thread. Does nothing: the code after it goes
    /// on. A program that wants to know defines this function itself; the library then calls that one.
    void Q_onAssert(char const* module, int line);
}
