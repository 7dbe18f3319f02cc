#pragma once

#include "zekovar/foundation/time.h"
#include "zekovar/threads/lock.h"

#include <cerrno>

namespace ZK::Detail
{
/// Takes the lock under `lock` with the notifications that go with it, and returns the error number, 0 once it is held.
///
/// `tryLock` and `timedLock(deadline)` are those of the POSIX lock and return error numbers; the deadline is a real-time
/// one. The wait is cut into slices of one second only to show it growing in the report. The clock isn't read unless the
/// thread has to wait, and just once then.
template <class TryLock, class TimedLock>
int lockInSlices(ZKLock& lock, TryLock tryLock, TimedLock timedLock)
{
    constexpr int SLICE_MILLISECONDS = 1000;

    lock.onWait(0);
    int result = tryLock();
    if (result == EBUSY)
    {
        Time deadline = Time::NOW(Time::Source::REALTIME);
        deadline.addMilliseconds(SLICE_MILLISECONDS);
        unsigned int waited = 0;
        while ((result = timedLock(static_cast<timespec const&>(deadline))) == ETIMEDOUT)
        {
            lock.onWait(waited += SLICE_MILLISECONDS);
            deadline.addMilliseconds(SLICE_MILLISECONDS);
        }
    }
    lock.onWaitCanceled();
    if (result == 0)
        lock.onLocked();
    return result;
}
}
