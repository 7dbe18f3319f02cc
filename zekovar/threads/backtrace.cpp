#include "zekovar/threads/backtrace.h"

#include "zekovar/diagnostics/system_monitor.h"
#include "zekovar/foundation/string.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/backtrace_capture.h"
#include "zekovar/threads/lock.h"
#include "zekovar/threads/symbol_line.h"
#include "zekovar/threads/thread.h"
#include "zekovar/threads/thread_supervisor.h"

#include <climits>
#include <cstdlib>
#include <execinfo.h>
#include <new>
#include <sched.h>
#include <syslog.h>

namespace
{
using Guard = ZKAutoLock<ZKMutexPrivate>;

constexpr unsigned int LARGEST_CAPACITY = 0x1FFFFFFF;

/// The frames to leave out, those of this file's own operations included.
unsigned int skipWith(unsigned int skip, unsigned int ownFrames)
{
    return skip < UINT_MAX - ownFrames ? skip + ownFrames : UINT_MAX;
}
}

/// Offers a record to the handler on the target's thread, for a scope. No handler touches the record after it, and the
/// frames of one that did have their symbols, also if the caller was cancelled meanwhile.
class ZKBacktrace::Request
{
public:
    Request(ZKBacktrace& record, unsigned long target) : m_info(Info::INSTANCE()), m_target(target)
    {
        m_info.m_current = &record;
        m_info.m_done = false;
        m_info.m_target = target;
    }

    ~Request()
    {
        if (!withdraw())
        {
            while (!m_info.m_done)
                sched_yield();
            m_info.m_current.load()->resolveSymbols();
        }
        m_info.m_current = nullptr;
    }

    Request(Request const&) = delete;
    Request& operator=(Request const&) = delete;

    /// False if the handler has begun, and then it will be done soon.
    bool withdraw()
    {
        unsigned long expected = m_target;
        m_isWithdrawn = m_isWithdrawn || m_info.m_target.compare_exchange_strong(expected, Info::NONE);
        return m_isWithdrawn;
    }

    /// Asks the target and waits until the handler is done. The target may end before it gets to that.
    XCode perform()
    {
        bool isOurs = false;
        if (XCode const code = send(isOurs); code.isErr())
            return code;
        while (!m_info.m_done)
        {
            ZKThread::SLEEP(1);
            if (isOurs && hasEnded() && withdraw())
                return ZK::Detail::codeOfErrno(ESRCH);
        }
        return XCODE_SUCCESS;
    }

private:
    XCode send(bool& isOurs)
    {
        if (ZKThread::CURRENT_HAS_ID(m_target)) // the handler runs within the call: no lock may be held
            return ZK::Detail::codeOfErrno(pthread_kill(m_target, SIGUSR2));
        Guard guard(ZKLock::s_globalMutex); // a thread of ours can't end meanwhile
        ZKThread::Presence const presence = ZKThread::PRESENCE_OF(m_target);
        if (presence == ZKThread::Presence::ENDED)
            return ZK::Detail::codeOfErrno(ESRCH);
        isOurs = presence == ZKThread::Presence::PRESENT;
        return ZK::Detail::codeOfErrno(pthread_kill(m_target, SIGUSR2));
    }

    bool hasEnded() const
    {
        Guard guard(ZKLock::s_globalMutex);
        return ZKThread::PRESENCE_OF(m_target) != ZKThread::Presence::PRESENT;
    }

    Info& m_info;
    unsigned long m_target;
    bool m_isWithdrawn = false;
};

ZKBacktrace::Info::Info() : m_mutex(false), m_current(nullptr), m_done(false), m_target(NONE)
{
    struct sigaction action = {};
    action.sa_sigaction = HANDLE_BACKTRACE_SIGNAL;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(SIGUSR2, &action, nullptr);

    void* frame = nullptr;
    backtrace(&frame, 1); // the first call loads a library, which no handler may do
}

ZKBacktrace::ZKBacktrace(unsigned int capacity)
    : m_capacity(capacity), m_count(0), m_frames(nullptr), m_symbols(nullptr), m_skip(0), m_threadId(0)
{
    if (capacity > LARGEST_CAPACITY)
        throw std::bad_array_new_length();
    m_frames = new void*[capacity];
}

ZKBacktrace::~ZKBacktrace()
{
    Guard guard(Info::INSTANCE().m_mutex);
    std::free(m_symbols);
    delete[] m_frames;
}

XCode ZKBacktrace::obtainBacktraceOfCurrentThread(unsigned int skip)
{
    Guard guard(Info::INSTANCE().m_mutex);
    return obtainBacktraceOfCurrentThreadLocked(skip);
}

[[gnu::noinline]] XCode ZKBacktrace::obtainBacktraceOfCurrentThreadLocked(unsigned int skip)
{
    m_skip = skipWith(skip, 1);
    m_threadId = pthread_self();
    m_count = backtrace(m_frames, static_cast<int>(m_capacity));
    resolveSymbols();
    return XCODE_SUCCESS;
}

XCode ZKBacktrace::obtainBacktraceOfThread(unsigned long threadId, unsigned int skip)
{
    if (threadId == 0)
        return XCODE_FAILURE;
    Guard guard(Info::INSTANCE().m_mutex);
    return obtainBacktraceOfThreadLocked(threadId, skip);
}

XCode ZKBacktrace::obtainBacktraceOfThreadLocked(unsigned long threadId, unsigned int skip)
{
    if (threadId == 0)
        return XCODE_FAILURE;
    XCode const code = Request(*this, threadId).perform();
    if (code.isErr())
        return code;
    m_skip = skipWith(skip, 2); // the handler's own operation leaves out one more
    m_threadId = threadId;
    return code;
}

void ZKBacktrace::HANDLE_BACKTRACE_SIGNAL(int, siginfo_t*, void* context)
{
    int const savedErrno = errno;
    Info& info = Info::INSTANCE();
    unsigned long expected = pthread_self();
    if (info.m_target.compare_exchange_strong(expected, Info::RUNNING))
    {
        ZKBacktrace& record = *info.m_current;
        ZK::Detail::captureInterrupted(record.m_frames, record.m_capacity, record.m_count, context);
        info.m_target = Info::NONE;
        info.m_done = true;
    }
    errno = savedErrno;
}

void ZKBacktrace::resolveSymbols()
{
    std::free(m_symbols);
    m_symbols = backtrace_symbols(m_frames, m_count);
    if (m_symbols == nullptr)
        m_count = 0;
}

String ZKBacktrace::headerLine() const
{
    String name;
    if (ZKThreadSupervisor::INSTANCE().getNameById(m_threadId, name))
        return String::stringOfFormat("%s (%p):\n", name.c_str(), reinterpret_cast<void*>(m_threadId));
    return String::stringOfFormat("%p:\n", reinterpret_cast<void*>(pthread_self()));
}

String ZKBacktrace::printToString(bool header) const
{
    Guard guard(Info::INSTANCE().m_mutex);
    return printToStringLocked(header);
}

String ZKBacktrace::printToStringLocked(bool header) const
{
    String text;
    if (header)
        text = headerLine();
    auto const count = static_cast<unsigned int>(m_count);
    for (unsigned int i = m_skip; i < count; i++)
    {
        String const line = ZK::Detail::demangleSymbolLine(m_symbols[i]);
        text.concatf("  %2d %s\n", static_cast<int>(count - i), line.c_str());
    }
    return text;
}

void ZKBacktrace::printToSyslog(int priority) const
{
    Guard guard(Info::INSTANCE().m_mutex);
    printToSyslogLocked(priority);
}

void ZKBacktrace::printToSyslogLocked(int priority) const
{
    syslog(priority, "%s", headerLine().c_str());
    auto const count = static_cast<unsigned int>(m_count);
    for (unsigned int i = m_skip; i < count; i++)
        syslog(priority, "  %2d %s\n", static_cast<int>(count - i), m_symbols[i]);
}

void ZKBacktrace::printToRtd(RtdMonitorID monitor, int severity) const
{
    Guard guard(Info::INSTANCE().m_mutex);
    printToRtdLocked(monitor, severity);
}

void ZKBacktrace::printToRtdLocked(RtdMonitorID monitor, int severity) const
{
    ZK::Detail::logToMonitor(monitor, severity, "%s", headerLine().c_str());
    auto const count = static_cast<unsigned int>(m_count);
    for (unsigned int i = m_skip; i < count; i++)
        ZK::Detail::logToMonitor(monitor, severity, "  %2d %s", static_cast<int>(count - i), m_symbols[i]);
}

void ZKBacktrace::clearBacktrace()
{
    Guard guard(Info::INSTANCE().m_mutex);
    clearBacktraceLocked();
}

void ZKBacktrace::clearBacktraceLocked()
{
    std::free(m_symbols);
    m_symbols = nullptr;
    m_count = 0;
}
