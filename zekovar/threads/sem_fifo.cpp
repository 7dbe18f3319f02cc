#include "zekovar/threads/sem_fifo.h"

#include "zekovar/foundation/random.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/no_cancellation.h"

#include <climits>
#include <fcntl.h>
#include <syslog.h>

constinit int ZKSemFifo::s_nextId = 0;

ZKSemFifo::ZKSemFifo(int id, int initial)
    : ZKLock(Type::SEMAPHORE), m_id(id), m_file(String(), true, false), m_created(false)
{
    XCode code = createFifo();
    if (code.isSuccess())
        code = m_file.open(O_RDWR | O_CREAT, 0644, ZKFile::XO_NONE);
    for (int i = 0; i < initial && code.isSuccess(); i++)
        code = signal();
    if (code.isErr())
        syslog(LOG_ERR, "SEMFIFO %d CREATION FAILED: %s\n", m_id, code.toString().c_str());
}

ZKSemFifo::~ZKSemFifo()
{
    leaveReport();
    ZK::Detail::NoCancellation const noCancellation;
    m_file.close();
    removeFifo();
}

String ZKSemFifo::getLockName() const
{
    return String::stringOfFormat("%s (%p)", m_file.getPath().c_str(), static_cast<void const*>(this));
}

String ZKSemFifo::BUILD_FIFO_PATH(int id)
{
    return String::stringOfFormat("/tmp/semfifo_%d", id);
}

XCode ZKSemFifo::wait()
{
    char unit = 0;
    XCode code;
    do
    {
        onWait(0);
        code = m_file.readFixedSize(&unit, sizeof(unit), false);
        onWaitCanceled();
    } while (code == ZK::Detail::codeOfErrno(EINTR));
    if (code.isErr())
        syslog(LOG_ERR, "SEMFIFO %d WAIT FAILED: %s (FD=%d): %s\n", m_id, m_file.getPath().c_str(), m_file.getFd(),
               code.toString().c_str());
    return code;
}

XCode ZKSemFifo::signal()
{
    XCode code = m_file.writeFixedSizeBlocking("x", 1, true);
    if (code.isErr())
        syslog(LOG_ERR, "SEMFIFO %d SIGNAL FAILED: %s (FD=%d): %s\n", m_id, m_file.getPath().c_str(), m_file.getFd(),
               code.toString().c_str());
    return code;
}

XCode ZKSemFifo::getUniqueId(int& id)
{
    ZKAutoLock<ZKMutex> guard(s_mutex);
    if (s_nextId == 0)
    {
        ZKRandom const random(false);
        int seed = -1;
        while (seed < 0)
        {
            XCode const code = random.readFixedSize(&seed, sizeof(seed), true);
            if (code.isErr())
                return code;
            if (seed == -1)
                seed++;
        }
        s_nextId = seed;
    }
    id = s_nextId;
    s_semIdList.add(id, id);
    do
    {
        s_nextId = s_nextId < INT_MAX ? s_nextId + 1 : 1;
    } while (s_semIdList.contains(s_nextId));
    return XCODE_SUCCESS;
}

void ZKSemFifo::putUniqueId(int id)
{
    ZKAutoLock<ZKMutex> guard(s_mutex);
    s_semIdList.remove(id);
}

XCode ZKSemFifo::createFifo()
{
    if (m_id > 0)
    {
        XCode const code = m_file.setPath(BUILD_FIFO_PATH(m_id));
        return code.isErr() ? code : testExpression(m_file.isFifo());
    }
    XCode code = getUniqueId(m_id);
    if (code.isErr())
        return code;
    code = m_file.setPath(BUILD_FIFO_PATH(m_id));
    if (code.isSuccess())
        code = m_file.createFifo(0644);
    if (code.isErr())
        putUniqueId(m_id);
    m_created = code.isSuccess();
    return code;
}

void ZKSemFifo::removeFifo()
{
    if (!m_created)
        return;
    m_file.remove();
    putUniqueId(m_id);
    m_created = false;
}
