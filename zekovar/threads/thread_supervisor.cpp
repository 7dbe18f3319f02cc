#include "zekovar/threads/thread_supervisor.h"

#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/backtrace.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/thread.h"

namespace
{
constexpr unsigned int BACKTRACE_FRAMES = 100;

void appendLocks(String& text, ZKThreadSupervisor::Report const& report)
{
    if (report.obtained.isEmpty() && report.waiting.isEmpty())
        return;
    text.concatf("\n%s (%lu):\n", report.name.c_str(), report.id);
    for (auto const& lock : report.obtained)
        text.concatf(" + holding %s %s\n", ZKLock::Type::NAME(lock.type), lock.name.c_str());
    for (auto const& lock : report.waiting)
    {
        char const* const type = ZKLock::Type::NAME(lock.type);
        text.concatf(" - waiting for %s %s\n", type, lock.name.c_str());
        if (!lock.status.isEmpty())
            text.concatf("               %s\n", lock.status.c_str());
        if (lock.waitMilliseconds != 0)
            text.concatf("               waiting for %u s\n", lock.waitMilliseconds / 1000);
        if (!lock.holderName.isEmpty())
            text.concatf("               %s (%lu) is holding the %s\n", lock.holderName.c_str(), lock.holderId, type);
    }
}
}

/// Keeps a registered thread from ending for a scope.
class ZKThreadSupervisor::Pin
{
public:
    explicit Pin(unsigned long id) : m_supervisor(INSTANCE())
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_supervisor.m_mutex);
        m_thread = m_supervisor.findById(id);
        if (m_thread != nullptr)
            m_thread->m_pins++;
    }

    ~Pin()
    {
        if (m_thread == nullptr)
            return;
        ZKAutoLock<ZKMutexPrivate> guard(m_supervisor.m_mutex);
        m_thread->m_pins--;
    }

    Pin(Pin const&) = delete;
    Pin& operator=(Pin const&) = delete;

    ZKThread* getThread() const { return m_thread; }

private:
    ZKThreadSupervisor& m_supervisor;
    ZKThread* m_thread;
};

ZKThreadSupervisor::ZKThreadSupervisor() : m_globalMutex(ZKLock::s_globalMutex), m_mutex(false)
{
}

ZKThreadSupervisor& ZKThreadSupervisor::INSTANCE()
{
    // never destroyed: detached threads leave the registry while the process exits
    static ZKThreadSupervisor& s_instance = *new ZKThreadSupervisor;
    return s_instance;
}

void ZKThreadSupervisor::addThread(ZKThread* thread)
{
    if (thread == nullptr)
        return;
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    m_threads.add(thread, thread);
}

void ZKThreadSupervisor::removeThread(ZKThread* thread)
{
    ZK::Detail::NoCancellation noCancellation; // the callers are destructors
    {
        ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
        if (!m_threads.remove(thread))
            return;
    }
    while (isPinned(*thread))
        ZKThread::SLEEP(1);
}

bool ZKThreadSupervisor::isPinned(ZKThread const& thread)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return thread.m_pins != 0;
}

ZKThread* ZKThreadSupervisor::findById(unsigned long id) const
{
    for (auto const& entry : m_threads)
    {
        if (entry.value()->getId() == id)
            return entry.value();
    }
    return nullptr;
}

ZKThread* ZKThreadSupervisor::getById(unsigned long id)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    return findById(id);
}

ZKThread* ZKThreadSupervisor::getByTid(int tid)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    for (auto const& entry : m_threads)
    {
        if (entry.value()->getTid() == tid)
            return entry.value();
    }
    return nullptr;
}

ZKThread* ZKThreadSupervisor::getByName(String const& name)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    for (auto const& entry : m_threads)
    {
        if (entry.value()->getName() == name)
            return entry.value();
    }
    return nullptr;
}

bool ZKThreadSupervisor::getNameById(unsigned long id, String& name)
{
    ZKAutoLock<ZKMutexPrivate> guard(m_mutex);
    ZKThread const* const thread = findById(id);
    if (thread != nullptr)
        name = thread->getName();
    return thread != nullptr;
}

void ZKThreadSupervisor::getStatus(ZKVector<Report>& reports)
{
    reports.clear();
    ZKAutoLock<ZKMutexPrivate> registryGuard(m_mutex);
    ZKAutoLock<ZKMutexPrivate> globalGuard(m_globalMutex);
    for (auto const& entry : m_threads)
        reports.add(REPORT_OF(*entry.value()));
}

ZKThreadSupervisor::Report ZKThreadSupervisor::REPORT_OF(ZKThread const& thread)
{
    Report report;
    report.id = thread.getId();
    report.name = thread.getName();
    for (ZKLock const* const lock : thread.m_obtainedLocks)
    {
        if (lock != nullptr) // else it was destroyed
            report.obtained.add({lock->getType(), lock->getLockName()});
    }
    for (unsigned int type = 0; type < ZKLock::Type::COUNT; type++)
    {
        ZKLock const* const lock = thread.m_waitLocks[type];
        if (lock == nullptr)
            continue;
        Report::WaitLock wait;
        wait.type = lock->getType();
        wait.name = lock->getLockName();
        wait.status = lock->getLockStatus();
        wait.waitMilliseconds = thread.m_waitMilliseconds[type];
        if (ZKThread const* const holder = lock->getHolder(); holder != nullptr)
        {
            wait.holderId = holder->getId();
            wait.holderName = holder->getName();
        }
        report.waiting.add(wait);
    }
    return report;
}

void ZKThreadSupervisor::GET_STATUS(String& text, ZKVector<Report> const& reports)
{
    text += "Lock status:\n";
    text += "------------\n";
    for (Report const& report : reports)
        appendLocks(text, report);

    text += "\n";
    text += "Thread backtraces:\n";
    text += "------------------\n";
    for (Report const& report : reports)
    {
        text += "\n";
        Pin const pin(report.id);
        if (pin.getThread() == nullptr)
        {
            text.format("%s (%lu): THREAD DOES NOT EXIST\n", report.name.c_str(), report.id);
            continue;
        }
        ZKBacktrace backtrace(BACKTRACE_FRAMES);
        if (pin.getThread()->getBacktrace(backtrace, 0).isSuccess())
            text += backtrace.printToString(true);
    }
}
