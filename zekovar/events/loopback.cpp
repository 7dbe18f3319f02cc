#include "zekovar/events/loopback.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/system_code.h"

#include <syslog.h>

ZKFileObserverLoopback::ZKFileObserverLoopback(ZKEventLoop& loop, bool enable, void (*handler)(void*), void* argument)
    : _ZKFileObserver(loop, handler, argument, nullptr), m_writeEnd(String(), true, false)
{
    ZKFile readEnd(String(), true, false);
    if (XCode const code = ZKFile::CREATE_PIPE(readEnd, m_writeEnd, true); code.isErr())
        ZK::Detail::logToSystemMonitor(LOG_CRIT, "OUT OF PIPE DESCRIPTORS: %s", code.toString().c_str());
    readEnd.setBlocking(false);
    m_writeEnd.setBlocking(false);
    setFile(readEnd, READ);
    if (enable)
        _ZKFileObserver::enable();
}

ZKFileObserverLoopback::~ZKFileObserverLoopback()
{
    disable();
}

XCode ZKFileObserverLoopback::trigger()
{
    unsigned int count = 0;
    XCode const code = m_writeEnd.writeOnce("x", 1, count, true);
    // Waiting for room could be for ever: the loop may be waiting for the caller.
    return code == ZK::Detail::codeOfErrno(EAGAIN) ? XCode(XCODE_SUCCESS) : code;
}

void ZKFileObserverLoopback::onFileReady()
{
    for (;;)
    {
        char bytes[64];
        unsigned int count = 0;
        XCode code = m_file.readOnce(bytes, sizeof(bytes), count, true);
        if (code.isSuccess() && count == 0)
            code = XCODE_FAILURE; // the end of the input, which only a write end closed behind our back brings about
        for (unsigned int i = 0; i < count; ++i)
            onTrigger();
        if (code.isErr() && code != ZK::Detail::codeOfErrno(EAGAIN))
        {
            ZK::Detail::logToSystemMonitor(LOG_CRIT, "Event triggering pipe read error: %s", code.toString().c_str());
        }
        // Less than asked for means that the pipe was empty; a byte written since is an edge of its own.
        if (count < sizeof(bytes))
            return;
    }
}

void ZKFileObserverLoopback::onTrigger()
{
    _ZKFileObserver::onFileReady();
}
