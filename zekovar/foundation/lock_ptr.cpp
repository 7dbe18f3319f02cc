#include "zekovar/foundation/lock_ptr.h"

#include "zekovar/threads/lock.h"

namespace ZK::Detail
{
void lockObject(ZKLock& lock)
{
    lock.lock();
}

void unlockObject(ZKLock& lock)
{
    lock.unlock();
}
}
