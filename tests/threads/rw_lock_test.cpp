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
    Door in(0), out(0), end(0);
    FunctionThread first(
        [&]
        {
            EXPECT_TRUE(reader.lock().isSuccess());
            in.release();
            out.acquire();
            reader.unlock();
            in.release();
            end.acquire();
        });
    first.start("");
    in.acquire();
    EXPECT_TRUE(reader.lock().isSuccess());
    EXPECT_EQ(reader.getLockCount(), 2u);
    out.release();
    in.acquire();
    EXPECT_EQ(reader.getHolder(), &first);
    EXPECT_EQ(reader.getLockCount(), 1u);
    reader.unlock();
    EXPECT_EQ(reader.getHolder(), nullptr);
    end.release();
}

TEST(RWLock, LockThatWouldWaitForItselfFailsAndIsLogged)
{
    ZKRWLock lock;
    ZKRWLock::Lock& writer = lock.getWriteLock();
    ASSERT_TRUE(writer.lock().isSuccess());
    XCode const code = ZK::Detail::codeOfErrno(EDEADLK);
    CapturedSyslog captured;
    EXPECT_EQ(lock.getReadLock().lock(), code);
    EXPECT_EQ(lock.getReadLock().getLockCount(), 0u);
    EXPECT_EQ(writer.lock(), code);
    EXPECT_EQ(writer.getLockCount(), 1u);
    EXPECT_STREQ(captured.lines().back().c_str(),
                 String::stringOfFormat("%d WriteLock %p: FAILED TO LOCK: %s\n", LOG_CRIT, static_cast<void*>(&writer),
                                        code.toString().c_str())
                     .c_str());
    writer.unlock();
}
