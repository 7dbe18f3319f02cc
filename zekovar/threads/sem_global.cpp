#include "zekovar/threads/sem_global.h"

#include "zekovar/foundation/string.h"

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <syslog.h>
#include <unistd.h>

namespace
{
constexpr unsigned int POLL_MICROSECONDS = 100000;
constexpr unsigned int LARGEST_REFUSED = 65535;

/// The last argument of `semctl`, which the caller has to define.
union SemaphoreArgument
{
    int value;
    semid_ds* info;
    unsigned short* values;
};

int makeSemaphore()
{
    return ::semget(IPC_PRIVATE, 1, 0666 | IPC_CREAT);
}
}

_ZKSemGlobal::_ZKSemGlobal() : ZKLock(Type::SEMAPHORE), m_creator(false), m_semId(0)
{
}

_ZKSemGlobal::~_ZKSemGlobal()
{
    leaveReport();
    _ZKSemGlobal::destroy();
}

String _ZKSemGlobal::getLockName() const
{
    return String::stringOfFormat("%d (%p)", m_semId, static_cast<void const*>(this));
}

String _ZKSemGlobal::getLockStatus() const
{
    return m_creator ? "creator" : "user";
}

XCode _ZKSemGlobal::setup(int key)
{
    if (m_semId != 0)
        return XCODE_FAILURE;
    if (key != 0)
    {
        m_semId = key;
        m_creator = false;
        return XCODE_SUCCESS;
    }
    int id = makeSemaphore();
    if (id == 0)
    {
        id = makeSemaphore(); // 0 stands for none
        ::semctl(0, 0, IPC_RMID);
    }
    if (id < 1)
    {
        int const error = errno;
        syslog(LOG_ERR, "Failed execute semget in ZKSemGlobal: %d %d: %s", id, error,
               String::stringOfErrno(error).c_str());
        return XCODE_FAILURE;
    }
    m_semId = id;
    m_creator = true;
    return XCODE_SUCCESS;
}

XCode _ZKSemGlobal::destroy()
{
    bool const isRemoved = !m_creator || m_semId == 0 || ::semctl(m_semId, 0, IPC_RMID) >= 0;
    m_creator = false;
    m_semId = 0;
    return testExpression(isRemoved);
}

XCode _ZKSemGlobal::initialiseWithValue(int value)
{
    if (m_semId <= 0)
        return XCODE_FAILURE;
    SemaphoreArgument argument;
    argument.value = value;
    return testExpression(::semctl(m_semId, 0, SETVAL, argument) >= 0);
}

XCode _ZKSemGlobal::waitForMinValue(int value)
{
    if (m_semId <= 0)
        return XCODE_FAILURE;
    onWait(0);
    int present = ::semctl(m_semId, 0, GETVAL);
    while (present >= 0 && present < value)
    {
        ::usleep(POLL_MICROSECONDS);
        present = ::semctl(m_semId, 0, GETVAL);
    }
    onWaitCanceled();
    return testExpression(present >= 0);
}

XCode _ZKSemGlobal::operation(int delta)
{
    if (m_semId == 0 || static_cast<unsigned int>(delta) <= LARGEST_REFUSED)
        return XCODE_FAILURE;
    sembuf change{};
    change.sem_op = static_cast<short>(delta);
    onWait(0);
    int result = 0;
    int error = 0;
    do
    {
        result = ::semop(m_semId, &change, 1);
        error = errno;
    } while (result < 0 && error == EINTR);
    onWaitCanceled();
    if (result >= 0)
        return XCODE_SUCCESS;
    syslog(LOG_ERR, "Failed execute semop in ZKSemGlobal: %d %d: %s", m_semId, error,
           String::stringOfErrno(error).c_str());
    return XCODE_FAILURE;
}

XCode _ZKSemGlobal::waitForZero()
{
    return operation(0);
}

XCode _ZKSemGlobal::decrementOne()
{
    return operation(-1);
}

XCode _ZKSemGlobal::incrementOne()
{
    return operation(1);
}

XCode _ZKSemGlobal::startBallAtA()
{
    return initialiseWithValue(0);
}

XCode _ZKSemGlobal::aThrowsBallToB()
{
    XCode const code = waitForZero();
    return code.isErr() ? code : incrementOne();
}

XCode _ZKSemGlobal::bThrowsBallToA()
{
    return decrementOne();
}
