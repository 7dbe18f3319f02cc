#include "zekovar/foundation/time.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/backtrace.h"
#include "zekovar/threads/thread.h"
#include "zekovar/threads/thread_supervisor.h"

#include <algorithm>
#include <climits>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
void sleepMilliseconds(long long milliseconds)
{
    constexpr long long LONGEST_MILLISECONDS = 1000000; // usleep takes 32 bits of microseconds
    while (milliseconds > 0)
    {
        long long part = milliseconds;
        if (part > LONGEST_MILLISECONDS)
            part = LONGEST_MILLISECONDS;
        if (usleep(static_cast<useconds_t>(part * 1000)) != 0)
            return;
        milliseconds -= part;
    }
}
}

void ZKThread::SLEEP(int milliseconds)
{
    sleepMilliseconds(milliseconds);
}

void ZKThread::SLEEP(ZK::Time const& time)
{
    long long const seconds = std::clamp<long long>(time.getSeconds(), LLONG_MIN / 2000, LLONG_MAX / 2000);
    sleepMilliseconds(seconds * 1000 + time.getNanoseconds() / 1000000);
}

unsigned long ZKThread::CURRENT_ID()
{
    return pthread_self();
}

int ZKThread::CURRENT_TID()
{
    return static_cast<int>(syscall(SYS_gettid));
}

bool ZKThread::CURRENT_HAS_ID(unsigned long id)
{
    return pthread_equal(pthread_self(), id) != 0;
}

ZKThread* ZKThread::GET_BY_ID(unsigned long id)
{
    return ZKThreadSupervisor::INSTANCE().getById(id);
}

ZKThread* ZKThread::GET_BY_TID(int tid)
{
    return ZKThreadSupervisor::INSTANCE().getByTid(tid);
}

ZKThread* ZKThread::GET_BY_NAME(String const& name)
{
    return ZKThreadSupervisor::INSTANCE().getByName(name);
}

String ZKThread::CURRENT_NAME()
{
    if (ZKThread const* const thread = CURRENT(); thread != nullptr)
        return thread->getName();
    return String::stringOfFormat("%p", reinterpret_cast<void*>(pthread_self()));
}

String ZKThread::NAME_BY_ID(unsigned long id)
{
    String name;
    if (!ZKThreadSupervisor::INSTANCE().getNameById(id, name))
        name.format("%p", reinterpret_cast<void*>(id));
    return name;
}

// The guard's end keeps this frame on the stack, so what is left out is the same in every build.
XCode ZKThread::GET_BACKTRACE(ZKBacktrace& backtrace, unsigned int skip)
{
    ZKAutoLock<ZKMutexPrivate> guard(ZKBacktrace::Info::INSTANCE().getMutex());
    return backtrace.obtainBacktraceOfCurrentThreadLocked(skip < UINT_MAX ? skip + 1 : skip);
}

String ZKThread::CURRENT_PROGRAM_PATH()
{
    char path[1024];
    String const link = String::stringOfFormat("/proc/%d/exe", static_cast<int>(getpid()));
    ssize_t const length = readlink(link.c_str(), path, sizeof(path));
    if (length < 0)
        return String();
    return String(path, static_cast<int>(length), 0, static_cast<int>(length));
}

String ZKThread::CURRENT_PROGRAM_NAME()
{
    String const path = CURRENT_PROGRAM_PATH();
    return path.substring(path.lastIndexOf('/') + 1);
}
