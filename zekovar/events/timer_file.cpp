#include "zekovar/events/timer_file.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/system_code.h"

#include <cstdint>
#include <sys/timerfd.h>
#include <syslog.h>

namespace ZK::Detail
{
XCode openTimer(ZKFile& file)
{
    XCode code = file.setValidFd(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
    if (code.isErr())
        logToSystemMonitor(LOG_EMERG, "OUT OF TIMER DESCRIPTORS");
    return code;
}

XCode armTimer(ZKFile const& file, unsigned int milliseconds, bool periodic)
{
    itimerspec timer{};
    timer.it_value.tv_sec = milliseconds / 1000;
    timer.it_value.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    if (periodic)
        timer.it_interval = timer.it_value;
    return codeOfResult(timerfd_settime(file.getFd(), 0, &timer, nullptr));
}

XCode takeExpiries(ZKFile const& file)
{
    uint64_t expiries;
    return file.readFixedSize(&expiries, sizeof expiries, true);
}
}
