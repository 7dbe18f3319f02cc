#include "zekovar/threads/thread.h"

#include "zekovar/foundation/system_code.h"
#include "zekovar/foundation/time.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/backtrace.h"
#include "zekovar/threads/no_cancellation.h"
#include "zekovar/threads/thread_supervisor.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <sched.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{
/// The calling thread's stack for signal handlers that ask for one, for a scope.
class AlternateSignalStack
{
public:
    AlternateSignalStack() : m_memory(std::malloc(BYTES))
    {
        if (m_memory == nullptr)
            return;
        stack_t stack{};
        stack.ss_sp = m_memory;
        stack.ss_size = BYTES;
        sigaltstack(&stack, &m_before);
    }

    ~AlternateSignalStack()
    {
        if (m_memory == nullptr)
            return;
        sigaltstack(&m_before, nullptr);
        std::free(m_memory);
    }

    AlternateSignalStack(AlternateSignalStack const&) = delete;
    AlternateSignalStack& operator=(AlternateSignalStack const&) = delete;

private:
    static constexpr std::size_t BYTES = 16384;

    void* m_memory;
    stack_t m_before{};
};
}

/// The thread's time in the registry. Leaves it also when the thread is cancelled, which unwinds it.
class ZKThread::Life
{
public:
    explicit Life(ZKThread& thread) : m_thread(thread)
    {
        thread.m_pDestroyed = &m_destroyed;
        ZKThreadSupervisor::INSTANCE().addThread(&thread);
    }

    ~Life()
    {
        if (!m_destroyed)
            m_thread.leave(m_returned);
    }

    Life(Life const&) = delete;
    Life& operator=(Life const&) = delete;

    void run()
    {
        (void)m_thread.m_runnable->runThread();
        m_returned = true;
    }

private:
    ZKThread& m_thread;
    bool m_destroyed = false;
    bool m_returned = false;
};

ZKThread::ZKThread(String const& name, ZKRunnable* runnable)
    : m_name(name),
      m_runnable(runnable != nullptr ? runnable : this),
      m_id(0),
      m_attributes{},
      m_tid(0),
      m_running(false),
      m_priority(0),
      m_waitLocks{},
      m_waitMilliseconds{},
      m_obtainedLocks(2),
      m_startMutex(false),
      m_state(ENDED | GONE),
      m_processId(0),
      m_pDestroyed(nullptr),
      m_pins(0),
      m_heldLocks(nullptr),
      m_nextObject(nullptr),
      m_previousObject(nullptr)
{
    ZKThreadSupervisor::INSTANCE();
    linkObject();
}

ZKThread::~ZKThread()
{
    if (CURRENT_HAS_ID(m_id))
        giveUpSelf();
    else if (m_processId == getpid()) // else never started, or the child of a fork, where the thread doesn't exist
        stopAndAwaitEnd();
    ZKThreadSupervisor::INSTANCE().removeThread(this);
    unlinkObject();
}

XCode ZKThread::runThread()
{
    return XCODE_FAILURE;
}

bool ZKThread::isAlive() const
{
    return m_id != 0;
}

bool ZKThread::isRunning() const
{
    return m_running;
}

unsigned long ZKThread::getId() const
{
    return m_id;
}

int ZKThread::getTid() const
{
    return m_tid;
}

String ZKThread::getName() const
{
    ZKAutoLock<ZKMutexPrivate> guard(m_startMutex);
    return m_name;
}

XCode ZKThread::start(String const& name)
{
    if (m_running)
        return XCODE_FAILURE;
    if (m_id != 0)
        join();
    if (m_id != 0)
        return XCODE_FAILURE;
    m_priority = 0;
    if (int const result = pthread_attr_init(&m_attributes); result != 0)
        return ZK::Detail::codeOfErrno(result);
    XCode const code = create(name);
    pthread_attr_destroy(&m_attributes);
    return code;
}

XCode ZKThread::create(String const& name)
{
    sched_param const parameter{};
    int result = pthread_attr_setinheritsched(&m_attributes, PTHREAD_EXPLICIT_SCHED);
    if (result == 0)
        result = pthread_attr_setschedpolicy(&m_attributes, SCHED_OTHER);
    if (result == 0)
        result = pthread_attr_setschedparam(&m_attributes, &parameter);
    if (result != 0)
        return ZK::Detail::codeOfErrno(result);

    // the new thread takes this mutex too before it runs, so that it finds its id and its name
    ZKAutoLock<ZKMutexPrivate> guard(m_startMutex);
    m_state = 0;
    m_processId = getpid();
    pthread_t id = 0;
    result = pthread_create(&id, &m_attributes, RUN, this);
    if (result != 0)
    {
        m_state = ENDED | GONE;
        return ZK::Detail::codeOfErrno(result);
    }
    m_id = id;
    if (!name.isEmpty())
        m_name = name;
    if (m_name.isEmpty())
        m_name.format("%p", reinterpret_cast<void*>(id));
    return XCODE_SUCCESS;
}

void* ZKThread::RUN(void* argument)
{
    ZKThread& thread = *static_cast<ZKThread*>(argument);
    AlternateSignalStack const signalStack;
    thread.m_tid = CURRENT_TID();
    thread.m_running = true;
    thread.setKernelName();
    s_selfAttribute.set(&thread);
    Life(thread).run();
    return nullptr;
}

void ZKThread::setKernelName() const
{
    prctl(PR_SET_NAME, getName().replace(' ', '_').c_str());
}

void ZKThread::leave(bool returned)
{
    ZK::Detail::NoCancellation noCancellation;
    m_pDestroyed = nullptr;
    {
        ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
        m_state |= ENDED;
    }
    ZKThreadSupervisor::INSTANCE().removeThread(this);
    s_selfAttribute.set(nullptr);

    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
    if (has(DETACHED))
        m_id = 0;
    if (returned)
        m_running = false;
    m_state |= GONE;
}

void ZKThread::stop()
{
    if (m_id == 0)
        return;
    {
        ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex); // the thread can't end meanwhile
        if (!has(ENDED))
            pthread_cancel(m_id);
    }
    ZKThreadSupervisor::INSTANCE().removeThread(this);
}

void ZKThread::detach()
{
    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
    if (m_id == 0 || has(DETACHED))
        return;
    m_state |= DETACHED;
    pthread_detach(m_id);
    if (has(GONE))
        m_id = 0;
}

void ZKThread::join()
{
    joinUntil(nullptr);
}

XCode ZKThread::join(unsigned int milliseconds)
{
    if (m_id == 0)
        return XCODE_SUCCESS;
    ZK::Time deadline = ZK::Time::NOW(ZK::Time::Source::REALTIME);
    deadline += milliseconds;
    timespec const& time = deadline;
    return joinUntil(&time);
}

XCode ZKThread::joinUntil(timespec const* deadline)
{
    unsigned long id = m_id;
    if (id == 0)
        return XCODE_SUCCESS;
    if (CURRENT_HAS_ID(id))
        return ZK::Detail::codeOfErrno(EDEADLK);
    if (has(DETACHED))
        return ZK::Detail::codeOfErrno(EINVAL);
    int const result = deadline != nullptr ? pthread_timedjoin_np(id, nullptr, deadline) : pthread_join(id, nullptr);
    if (result == 0)
        m_id.compare_exchange_strong(id, 0);
    return ZK::Detail::codeOfErrno(result);
}

void ZKThread::giveUpSelf()
{
    ZKThread::detach();
    if (m_pDestroyed != nullptr)
        *m_pDestroyed = true;
    s_selfAttribute.set(nullptr);
}

void ZKThread::stopAndAwaitEnd()
{
    ZK::Detail::NoCancellation noCancellation;
    ZKThread::stop();
    ZKThread::join();
    while (!has(GONE))
        SLEEP(1);
}

XCode ZKThread::getBacktrace(ZKBacktrace& backtrace, unsigned int skip)
{
    return backtrace.obtainBacktraceOfThread(m_id, skip < UINT_MAX ? skip + 1 : skip);
}

XCode ZKThread::getSchedulingPolicy(int& policy, int& priority) const
{
    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex); // the thread can't end meanwhile
    if (m_id == 0)
        return XCODE_FAILURE;
    int found = SCHED_OTHER;
    sched_param parameter{};
    XCode const code =
        has(ENDED) ? XCODE_SUCCESS : ZK::Detail::codeOfResult(pthread_getschedparam(m_id, &found, &parameter));
    if (code.isErr())
        return code;
    policy = found;
    priority = parameter.sched_priority;
    return code;
}

XCode ZKThread::setSchedulingPolicy(int policy, int priority)
{
    bool const isRealTime = policy == SCHED_FIFO || policy == SCHED_RR;
    sched_param parameter{};
    parameter.sched_priority = isRealTime ? std::clamp(priority, 1, 99) : 0;
    ZKAutoLock<ZKMutexPrivate> guard(ZKLock::s_globalMutex);
    if (m_id == 0)
        return XCODE_FAILURE;
    XCode const code =
        has(ENDED) ? XCODE_SUCCESS : ZK::Detail::codeOfResult(pthread_setschedparam(m_id, policy, &parameter));
    if (code.isSuccess())
        m_priority = parameter.sched_priority;
    return code;
}
