#include "zekovar/foundation/singleton.h"

#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/mutex.h"

namespace ZK::Detail
{
void underFastMutex(void (*action)())
{
    ZKAutoLock<ZKMutex> guard(FAST_MUTEX());
    action();
}
}
