#include "zekovar/threads/assertion.h"

#include "zekovar/foundation/string.h"

#include <cstdarg>

constinit std::atomic<ZKAssertionHandler> s_assertionHandler = nullptr;

extern "C"
{
    void onAssertionFailed(std::uintptr_t first, std::uintptr_t second, std::uintptr_t third, std::uintptr_t fourth,
                           char const* format, ...)
    {
        ZKAssertionHandler const handler = s_assertionHandler.load();
        if (handler == nullptr)
            return;
        if (format == nullptr)
        {
            handler(first, second, third, fourth, nullptr);
            return;
        }
        String text;
        std::va_list arguments;
        va_start(arguments, format);
        text.vformat(format, arguments);
        va_end(arguments);
        handler(first, second, third, fourth, text.c_str());
    }

#if __has_attribute(noipa)
    // a program may define this function: no optimiser may take the empty body for what runs
    __attribute__((noipa)) void Q_onAssert(char const* module, int line);
#endif

    void Q_onAssert(char const*, int)
    {
    }
}
