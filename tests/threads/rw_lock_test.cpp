#include "tests/captured_syslog.h"
#include "tests/threads/function_thread.h"
#include "zekovar/foundation/system_code.h"
#include "zekovar/threads/auto_lock.h"
#include "zekovar/threads/rw_lock.h"

#include <gtest/gtest.h>

TEST(RWLock, FirstReaderStaysHolderUntilTheLastOneLeaves)
{
    ZKRWLock lock;
    ZKRWLock::Lock& reader = lock.getReadLock();
    Door firstIn(0), firstOut(0), firstGone(0), end(0);
    FunctionThread first(
        [&]
        {
            EXPECT_TRUE(reader.lock().isSuccess());
            firstIn.release();
            firstOut.acquire();
            reader.unlock();
            firstGone.release();
            end.acquire();
        });
    first.start("");
    firstIn.acquire();
    FunctionThread(
        [&]
        {
            EXPECT_TRUE(reader.lock().isSuccess());
            EXPECT_EQ(reader.getHolder(), &first);
            EXPECT_EQ(reader.getLockCount(), 2u);
            firstOut.release();
            firstGone.acquire();
            EXPECT_EQ(reader.getHolder(), &first);
            EXPECT_EQ(reader.getLockCount(), 1u);
            reader.unlock();
            EXPECT_EQ(reader.getHolder(), nullptr);
        })
        .run();
    end.release();
}

TEST(RWLock, LockThatWouldWaitForItselfFailsAndIsLogged)
{
    ZKRWLock lock;
    ZKRWLock::Lock& writer = lock.getWriteLock();
    EXPECT_EQ(writer.getType(), ZKLock::Type::WRITE_LOCK);
    EXPECT_EQ(lock.getReadLock().getType(), ZKLock::Type::READ_LOCK);
    ASSERT_TRUE(writer.lock().isSuccess());
    XCode const code = ZK::Detail::codeOfErrno(EDEADLK);
    CapturedSyslog captured;
    for (ZKRWLock::Lock* side : {&lock.getReadLock(), &writer})
    {
        unsigned int const count = side->getLockCount();
        EXPECT_EQ(side->lock(), code);
        EXPECT_EQ(side->getLockCount(), count);
        EXPECT_STREQ(captured.lines().back().c_str(),
                     String::stringOfFormat("%d %sLock %p: FAILED TO LOCK: %s\n", LOG_CRIT,
                                            side == &writer ? "Write" : "Read", static_cast<void*>(side),
                                            code.toString().c_str())
                         .c_str());
    }
    writer.unlock();
}
